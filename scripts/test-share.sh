#!/usr/bin/env bash
# Prints the number of lines of tests, in per cent of the lines of other code.
#   scripts/test-share.sh [LIMIT]   fails above LIMIT per cent
# Blank lines and data files do not count. The build files of the tests count as tests. Other build
# files do not count.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tests='^(tests|fuzz|python/tests)/'
sources='\.(c|h|cpp|hpp|cc|l|yy|py|sh|awk)$'
builds='\.cmake$|(^|/)CMakeLists\.txt$'

# Counts the non-blank lines of the files named on standard input.
count() { tr '\n' '\0' | xargs -0 -r cat | grep -c '[^[:space:]]'; }

test_lines=$(git ls-files | grep -E "$tests" | grep -E "$sources|$builds" | count)
code_lines=$(git ls-files | grep -vE "$tests" | grep -E "$sources" | count)
awk -v tests="$test_lines" -v code="$code_lines" -v limit="${1:-100}" 'BEGIN {
  printf "%.1f %% (%d lines of tests, %d lines of other code)\n", 100 * tests / code, tests, code
  exit 100 * tests > limit * code
}' || { echo "above $1 %: remove weaker tests" >&2; exit 1; }
