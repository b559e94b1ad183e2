#!/usr/bin/env bash
# Descriptor interface against FFTW at the forced top level and at this
# machine's default level. Argument: the build directory.
set -euo pipefail
BUILD=${1:-build-bench}
BIN="$BUILD/bench/dfti/bench_dfti"
[ -x "$BIN" ] || { echo "bench/dfti: $BIN not built (libfftw3-dev missing?)"; exit 0; }
echo "-- level forced: ORB_DEBUG_CPU_TYPE=7"
ORB_DEBUG_CPU_TYPE=7 "$BIN" "${@:2}"
echo "-- default level"
env -u ORB_DEBUG_CPU_TYPE "$BIN" "${@:2}"
