#!/usr/bin/env bash
# Memcheck of the tour and of the cross-family stress test on the plain
# (unsanitized) build: any memory error or definite leak fails the script.
# The OpenMP runtime's own start-up blocks show as "possibly lost" and are
# not counted.   tools/valgrind.sh [build dir, default build]
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${1:-build}
cmake -S . -B "$BUILD" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
if grep -q '^ORB_SANITIZE:STRING=.\+' "$BUILD/CMakeCache.txt"; then
  echo "valgrind.sh: $BUILD is a sanitized build" >&2
  exit 2
fi
cmake --build "$BUILD" -j2 --target tour stress_test
memcheck() {
  valgrind -q --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
    --show-leak-kinds=definite "$@"
}
echo "== memcheck: tour"
memcheck "$BUILD/examples/tour" >/dev/null
echo "== memcheck: stress_test (2 s of jobs)"
STRESS_SECONDS=2 memcheck "$BUILD/tests/stress/stress_test" --gtest_brief=1
