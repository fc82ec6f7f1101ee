#!/usr/bin/env bash
# Builds the programs and runs all tests, plain and under the sanitizers.
# With CI set, compiler warnings are errors.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need tests
for preset in release asan tsan; do
  {
    cmake --preset "$preset" -DCMAKE_COMPILE_WARNING_AS_ERROR="${CI:+ON}"
    cmake --build --preset "$preset"
  } </dev/null >&2
  ctest --preset "$preset"
done
