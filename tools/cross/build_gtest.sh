#!/usr/bin/env bash
# Builds GoogleTest from Debian's source package (/usr/src/googletest) for a
# cross or -m32 target and installs it under a prefix.
#   tools/cross/build_gtest.sh <toolchain-file> <prefix>
# Nothing is done when the prefix already holds a build for that toolchain.
set -euo pipefail
toolchain=$(realpath "$1")
prefix=$(realpath -m "$2")
stamp="$prefix/.built-with"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$toolchain" ]; then exit 0; fi
src=/usr/src/googletest
[ -f "$src/CMakeLists.txt" ] || { echo "build_gtest: $src missing (package googletest)" >&2; exit 1; }
work="$prefix.build"
rm -rf "$work" "$prefix"
cmake -S "$src" -B "$work" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
  -DBUILD_GMOCK=OFF -Dgtest_disable_pthreads=OFF >/dev/null
cmake --build "$work" -j2 >/dev/null
cmake --install "$work" >/dev/null
rm -rf "$work"
echo "$toolchain" > "$stamp"
