#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for a bounded time on a copy of
# its seed corpus:  tools/fuzz.sh [seconds per target, default 30]
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-30}
BUILD=build-fuzz
cmake -S . -B $BUILD -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DORB_BUILD_FUZZ=ON -DORB_SANITIZE=address,undefined -DORB_BUILD_EXAMPLES=OFF >/dev/null
targets=$(cd tests/fuzz && ls fuzz_*.cpp | sed 's/\.cpp$//')
cmake --build $BUILD -j "$(nproc)" --target $targets
for t in $targets; do
  name=${t#fuzz_}
  work=$(mktemp -d)
  cp -r tests/fuzz/corpus/$name/. "$work"/ 2>/dev/null || true
  echo "== $t for ${secs}s"
  "$BUILD/tests/fuzz/$t" -max_total_time="$secs" -print_final_stats=1 "$work" 2>&1 | tail -n 3
  rm -rf "$work"
done
