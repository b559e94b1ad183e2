#!/usr/bin/env bash
# Builds the benchmarks and runs every family's bench/<family>/run.sh with
# the build directory as its argument. `make bench` calls this; one family:
#   bench/run.sh blas1
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${BENCH_BUILD:-build-bench}
cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DORB_BUILD_BENCH=ON -DORB_BUILD_TESTS=OFF >/dev/null
cmake --build "$BUILD" -j "$(nproc)"
for script in bench/*/run.sh; do
  family=$(basename "$(dirname "$script")")
  if [ $# -gt 0 ] && [[ " $* " != *" $family "* ]]; then continue; fi
  echo "== $family"
  bash "$script" "$BUILD"
done
