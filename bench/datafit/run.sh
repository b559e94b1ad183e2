#!/usr/bin/env bash
# Data-fitting benchmark at the top extended level, one and two threads.
set -euo pipefail
BUILD=${1:-build-bench}
for t in 1 2; do
  ORB_EXT_LEVEL=9 ORB_NUM_THREADS=$t OMP_NUM_THREADS=$t "$BUILD/bench/datafit/bench_datafit"
done
