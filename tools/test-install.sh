#!/bin/sh
# Installs the build in BUILD into a temporary prefix, then builds and runs
# the consumer under tests/install twice: through find_package(Qelon) and
# through pkg-config. Both draw headless.
set -e
BUILD=$(cd "$1" && pwd)
SRC=$(cd "$(dirname "$0")/../tests/install" && pwd)
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT
cmake --install "$BUILD" --prefix "$TMP/prefix" >/dev/null
export EGL_PLATFORM=surfaceless
echo "== find_package"
cmake -S "$SRC" -B "$TMP/cmake" -DCMAKE_PREFIX_PATH="$TMP/prefix" >/dev/null
cmake --build "$TMP/cmake" >/dev/null
"$TMP/cmake/consumer"
echo "== pkg-config"
PKG_CONFIG_PATH="$TMP/prefix/lib/pkgconfig:$TMP/prefix/lib/x86_64-linux-gnu/pkgconfig"
export PKG_CONFIG_PATH
c++ -std=c++20 "$SRC/consumer.cpp" -o "$TMP/consumer-pc" $(pkg-config --cflags --libs qelon)
LD_LIBRARY_PATH="$(pkg-config --variable=libdir qelon)" "$TMP/consumer-pc"
echo "== the installed program"
"$TMP/prefix/bin/qelon" render -o "$TMP/demo.png" --size 64x48
