#!/usr/bin/env bash
# Builds the programs and runs all tests, plain and under the sanitizers.
# With CI set, compiler warnings are errors.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

# check PRESET: builds the programs and, for release, the tests as well, which run the programs of
# the preset.
check() {
  {
    cmake --preset "$1" -DCMAKE_COMPILE_WARNING_AS_ERROR="${CI:+ON}"
    cmake --build --preset "$1" -j "$(nproc)"
  } </dev/null >&2
  ctest --preset "$1" -j "$(($(nproc) + 1))"  # they also wait
}

need tests
check release
echo "asan: without the failing system calls, since a traced program cannot be searched for leaks"
check asan
echo "tsan: the tools alone, since the estimator has one thread"
check tsan
