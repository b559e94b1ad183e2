#!/usr/bin/env bash
# Runs the memory microbenchmark from the build directory given as $1.
set -euo pipefail
"${1:-build-bench}/bench/memory/bench_memory"
