#!/usr/bin/env bash
# Builds everything and runs all tests; ends with the runner's summary.
#   ./test.sh [PRESET]   release (default), debug, asan, tsan, coverage or clang
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. scripts/packages.sh

preset=${1:-release}
need_packages "the tests" "${test_packages[@]}"
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
