#!/usr/bin/env bash
# Builds the programs, puts them side by side into workspace/ and starts the estimator there.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

need programs
{
  cmake --preset release
  cmake --build --preset programs -j "$(nproc)"
  cmake --install build/release --prefix workspace
} </dev/null >&2

cd workspace
exec ./kel_estimator
