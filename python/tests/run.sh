#!/usr/bin/env bash
# Runs the tests of the Python module with a library that was built; skipped without pytest.
#   run.sh LIBRARY [PYTEST-OPTION...]
set -euo pipefail
library=$(realpath "$1")
shift
cd "$(dirname "${BASH_SOURCE[0]}")/.."
python=/usr/bin/python3 # pytest is Debian's; another Python may come first in PATH
"$python" -c 'import pytest' 2>/dev/null || exit 77
linked=$(ldd "$library")
[[ $linked != *libtsan* ]] || exit 77
LD_PRELOAD=$(awk '/lib(asan|ubsan)\.so/ { print $3 }' <<<"$linked" | paste -sd:)
export LD_PRELOAD ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1
export LD_LIBRARY_PATH=${library%/*} PYTHONDONTWRITEBYTECODE=1 # for programs that tests start
"$python" -m pytest -q --library "$library" "$@" velmor_core tests
