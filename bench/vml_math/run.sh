#!/usr/bin/env bash
# Runs the root/power/arc-tangent benchmark: ratios against SLEEF and libm
# at the top level (ORB_EXT_LEVEL=9), then at the default extended level.
# `--costs` prints the measured cost rows instead.
set -euo pipefail
BUILD=${1:-build-bench}
shift || true
exe="$BUILD/bench/vml_math/vml_math_bench"
[ -x "$exe" ] || { echo "vml_math: benchmark not built (libsleef-dev missing?)"; exit 0; }
if [ "${1:-}" = "--costs" ]; then exec "$exe" "$@"; fi
ORB_EXT_LEVEL=9 "$exe" "$@"
# The same run at this machine's default level, for comparison.
env -u ORB_EXT_LEVEL "$exe" "$@"
