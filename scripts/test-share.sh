#!/usr/bin/env bash
# How much of the sources is tests: lines that are not blank below tests/ and fuzz/, without data,
# against those of all other sources.
#   scripts/test-share.sh [LIMIT]   fails above LIMIT percent
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# count PATTERN PATHSPEC...: the lines of all files whose name matches
count() {
  local pattern=$1
  shift
  git ls-files -z --cached --others --exclude-standard -- "$@" | grep -zE "$pattern" |
    xargs -0 cat | grep -c '[^[:space:]]'
}

tests=$(count '\.(c|h|cpp|hpp|cc|l|yy|py|sh|awk|cmake)$|/CMakeLists\.txt$' tests fuzz)
code=$(count '\.(c|h|cpp|hpp|l|yy|py|sh|awk)$' ':!tests' ':!fuzz')
echo "tests $tests lines, code $code lines: $((100 * tests / code)) %"
if ((100 * tests > ${1:-100} * code)); then
  echo "above $1 %: drop the weakest tests" >&2
  exit 1
fi
