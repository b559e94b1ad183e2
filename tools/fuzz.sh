#!/usr/bin/env bash
# Builds the libFuzzer targets (ASan+UBSan) and runs each for a bounded time
# on a copy of its seed corpus:  tools/fuzz.sh [seconds per target, default 30]
# FUZZ_SEED fixes the mutation sequence (CI sets it, so a run there explores
# what the same seed explored on a developer's machine); unset, each run
# draws its own.
# Any crash, leak or broken invariant fails the script; the input that led
# there is left in build-fuzz/artifacts/ for a regression test.
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-30}
# FUZZ_BUILD may name the ASan+UBSan suite's build directory: same flags, so
# only the fuzz targets are compiled.
BUILD=${FUZZ_BUILD:-build-fuzz}
cmake -S . -B $BUILD -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DORB_BUILD_FUZZ=ON -DORB_SANITIZE=address,undefined -DORB_BUILD_EXAMPLES=OFF >/dev/null
# The sanitized suite's leak suppression holds here too (the singular
# not-a-knot path keeps its scratch by design).
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
targets=$(cd tests/fuzz && ls fuzz_*.cpp | sed 's/\.cpp$//')
cmake --build $BUILD -j2 --target $targets
mkdir -p $BUILD/artifacts
# An input may take seconds under the sanitizers and coverage counters (a
# descriptor of several Bluestein lengths recommitted a dozen times takes
# about 4 s on an idle machine), so the per-input limit leaves room for a
# loaded one; a real hang still ends the run.
# The targets run side by side, one per core.
run_target() {
  local t=$1 name=${1#fuzz_} work
  work=$(mktemp -d)
  cp -r tests/fuzz/corpus/$name/. "$work"/ 2>/dev/null || true
  if ! "$BUILD/tests/fuzz/$t" -max_total_time="$secs" -timeout=30 -print_final_stats=1 ${FUZZ_SEED:+-seed=$FUZZ_SEED} \
      -artifact_prefix="$BUILD/artifacts/$name-" "$work" >"$work.log" 2>&1; then
    echo "== $t for ${secs}s: FAILED"
    grep -v '^INFO' "$work.log" | tail -n 40
    echo "fuzz.sh: $t failed; input in $BUILD/artifacts/" >&2
    rm -rf "$work" "$work.log"
    return 1
  fi
  echo "== $t for ${secs}s"
  grep -E '^(Done|stat::number_of_executed_units)' "$work.log" || true
  rm -rf "$work" "$work.log"
}
jobs=$(nproc)
failed=0
running=0
for t in $targets; do
  if [ "$running" -ge "$jobs" ]; then
    wait -n || failed=1
    running=$((running - 1))
  fi
  run_target "$t" &
  running=$((running + 1))
done
while [ "$running" -gt 0 ]; do
  wait -n || failed=1
  running=$((running - 1))
done
exit $failed
