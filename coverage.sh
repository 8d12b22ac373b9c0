#!/usr/bin/env bash
# Runs the tests with coverage counted, and prints the share of branches taken in the library and
# which are not. Generated code apart.
#   ./coverage.sh [PERCENT]   fails below that share, 95 by default
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. scripts/packages.sh

need_packages "coverage" "${test_packages[@]}" gcovr
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
./test.sh coverage
# Branches that only an exception takes are the compiler's, at every call; the fault tests see to
# those that matter.
gcovr --root . --object-directory build/coverage --branches --exclude-throw-branches \
  --exclude-unreachable-branches --filter 'api/' --filter 'core/' --filter 'riff/' \
  --filter 'strtonum/' --exclude '.*\.(l|yy)$' --fail-under-branch "${1:-95}" --print-summary
