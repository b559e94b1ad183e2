#!/usr/bin/env bash
# BLAS-1 benchmark: ratios against OpenBLAS / reference LAPACK at this
# machine's default level and at the top level, single-threaded and with
# the domain's threads. Usage: bench/blas1/run.sh <build-dir> [quick]
set -euo pipefail
BUILD=${1:-build-bench}
MODE=${2:-}
BIN="$BUILD/bench/blas1/bench_blas1"
run() {  # label, then environment assignments
    local label=$1; shift
    env -u ORB_NUM_THREADS -u ORB_DOMAIN_NUM_THREADS -u OMP_NUM_THREADS "$@" "$BIN" "$label" $MODE
}
echo "# ratio = ours / peer throughput (>1: ours faster). Levels: default = this machine's CpuLevel;"
echo "# top = ORB_DEBUG_CPU_TYPE=7 ORB_EXT_LEVEL=9. 1t: ORB_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1."
run default-1t ORB_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1
run top-1t ORB_DEBUG_CPU_TYPE=7 ORB_EXT_LEVEL=9 ORB_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1
run top-domain ORB_DEBUG_CPU_TYPE=7 ORB_EXT_LEVEL=9
