#!/usr/bin/env bash
# Runs the tests. Prints the branches of the library that they don't take, and the percentage of
# those that they take. Generated code is left out.
#   scripts/coverage.sh [PERCENT]   fails below that percentage, 95 by default
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh

need_packages "coverage" "${test_packages[@]}" gcovr
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
./test.sh coverage
# The compiler adds a branch for an exception to every call. These are left out: the fault tests take
# those that matter.
gcovr --root . --object-directory build/coverage --branches --exclude-throw-branches \
  --exclude-unreachable-branches --filter 'api/' --filter 'core/' --filter 'riff/' \
  --filter 'strtonum/' --exclude '.*\.(l|yy)$' --fail-under-branch "${1:-95}" --print-summary
