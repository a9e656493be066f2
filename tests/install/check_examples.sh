#!/usr/bin/env bash
# Builds and runs every example under examples/ against an installed tree:
# the C host with cc and pkg-config, the C++ host with find_package, and the
# Python crawl piped to ffmpeg. Outputs are checked.
set -euo pipefail
prefix=$1 examples=$2 work=$3 cc=$4 cxx=$5
rm -rf "$work" && mkdir -p "$work"
version=$(sed -n 's/^#define FLOWER_VERSION_STRING "\(.*\)"/\1/p' "$prefix/include/flower/version.h")
pc_dir=$(dirname "$(find "$prefix" -name flower.pc | head -n 1)")
libdir=$(PKG_CONFIG_PATH=$pc_dir pkg-config --variable=libdir flower)

expect() { # name, expected-output file, command...
  local name=$1 expected=$2
  shift 2
  "$@" >"$work/$name.out"
  sed "s/@VERSION@/$version/" "$expected" | diff -u - "$work/$name.out" ||
    { echo "$name: unexpected output"; exit 1; }
}

# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Wextra -Werror -pedantic "$examples/c/host.c" \
  $(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs flower) -o "$work/c-host"
expect c-host "$examples/c/expected-output.txt" env LD_LIBRARY_PATH="$libdir" "$work/c-host"

cmake -S "$examples/cpp" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$work/cpp" >/dev/null
expect cpp-host "$examples/cpp/expected-output.txt" "$work/cpp/flower_host"

PYTHONPATH=$(dirname "$(find "$prefix" -path '*/flower/__init__.py' | head -n 1)")/.. \
  /usr/bin/python3 "$examples/python/crawl_to_ffmpeg.py" --size 320x72 --fps 25 --seconds 1 \
  --text "Test crawl" -o "$work/crawl.y4m"
probe=$(ffprobe -v error -count_frames -select_streams v:0 \
  -show_entries stream=width,height,nb_read_frames -of csv=p=0 "$work/crawl.y4m")
[ "$probe" = "320,72,25" ] || { echo "crawl_to_ffmpeg.py: expected 25 frames of 320x72, got $probe"; exit 1; }
echo "every example builds and runs against the installed tree"
