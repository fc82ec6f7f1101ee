#!/usr/bin/env bash
# Makes the packages: this machine's in build/package, that for aarch64 in build/package-aarch64.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

need packages
CMAKE_BUILD_PARALLEL_LEVEL=$(nproc)
export CMAKE_BUILD_PARALLEL_LEVEL
cmake --workflow --preset package </dev/null >&2
[ "$(uname -m)" = aarch64 ] || cmake --workflow --preset package-aarch64 </dev/null >&2
