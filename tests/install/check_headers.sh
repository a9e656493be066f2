#!/usr/bin/env bash
# Every installed public header, included alone, compiles as C99 and as
# C++11, C++17 and C++20 without a warning, and C and C++ agree on the size
# and layout of every public record.
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
[ -f "$include/flower.h" ] || { echo "no umbrella header flower.h"; exit 1; }

layout() { # record member...: its size, alignment and member offsets
  local record=$1
  shift
  printf '    printf("%s %%zu", sizeof(%s));\n' "$record" "$record"
  for member in "$@"; do
    printf '    printf(" %%zu", offsetof(%s, %s));\n' "$record" "$member"
  done
  printf '    printf("\\n");\n'
}
{
  printf '#include <flower.h>\n#include <stddef.h>\n#include <stdio.h>\nint main(void)\n{\n'
  layout LayerRegion x y width height
  layout LayerAccess pixels rowBytes region layer token
  layout LayerIntersectAccess width height first second
  layout PartialScanline pels x width end
  layout tagMMXState words
  layout tagScaleList count advance firstWeight ratio lastWeight
  layout tagScaleIP_SCALE inWidth inHeight outWidth outHeight horizontal vertical
  layout ScanlineControl outputReady needInput valid row height scale lines rowPointers \
    lineCount lineBytes held firstColumn width runWidth head
  layout BackgroundScanlineState outputReady needInput access capacity row column tileX tileY \
    runWidth
  layout Channel data width height rowBytes parent ownsData
  printf '    return 0;\n}\n'
} >"$work/layout.c"
cp "$work/layout.c" "$work/layout.cpp"
"$cc" -std=c99 -Wall -Wextra -Werror -I"$include" "$work/layout.c" -o "$work/layout-c"
"$cxx" -std=c++11 -Wall -Wextra -Werror -I"$include" "$work/layout.cpp" -o "$work/layout-cxx"
"$work/layout-c" >"$work/layout-c.txt"
"$work/layout-cxx" >"$work/layout-cxx.txt"
diff -u "$work/layout-c.txt" "$work/layout-cxx.txt" ||
  { echo "C and C++ lay out the public records differently"; failed=1; }
[ $failed = 0 ] && echo "every installed header compiles alone as C99, C++11, C++17 and C++20;" \
  "C and C++ agree on every record's layout"
exit $failed
