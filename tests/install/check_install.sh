#!/usr/bin/env bash
# Installs the build tree into a scratch prefix and builds a tiny host
# program against it twice: through find_package(flower) and through pkg-config.
set -euo pipefail
build=$1 consumer=$2 work=$3 cxx=$4
rm -rf "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$work/cmake" >/dev/null
LD_LIBRARY_PATH=$prefix/lib:$prefix/lib64 "$work/cmake/consumer"

pc_dir=$(dirname "$(find "$prefix" -name flower.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs flower)
# shellcheck disable=SC2086
"$cxx" -std=c++17 "$consumer/consumer.cpp" $flags -o "$work/pkgconfig-consumer" $(sed -n 's/^# *link-extra: //p' "$consumer/consumer.cpp")
LD_LIBRARY_PATH=$(PKG_CONFIG_PATH=$pc_dir pkg-config --variable=libdir flower) "$work/pkgconfig-consumer"
# The package files carry the version the headers state.
header_version=$(sed -n 's/^#define FLOWER_VERSION_STRING "\(.*\)"/\1/p' "$prefix/include/flower/version.h")
pc_version=$(PKG_CONFIG_PATH=$pc_dir pkg-config --modversion flower)
[ "$pc_version" = "$header_version" ] || { echo "pkg-config says $pc_version, version.h $header_version"; exit 1; }
echo "installed tree serves CMake and pkg-config consumers"
