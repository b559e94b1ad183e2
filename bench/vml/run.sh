#!/usr/bin/env bash
# Runs the vector-math benchmark at the top extended level (set and reported
# by the program) with its build directory as the argument.
set -euo pipefail
BUILD=${1:-build-bench}
ORB_EXT_LEVEL=9 ORB_DEBUG_CPU_TYPE=7 "$BUILD/bench/vml/bench_vml" "${@:2}"
