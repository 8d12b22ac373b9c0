#!/usr/bin/env bash
# Checks in the built library and program that the hardening flags had their effect.
#   hardening_test.sh LIBRARY PROGRAM
set -euo pipefail

# has WHAT FILE PATTERN TOOL...: fails unless the tool's output for the file contains the pattern.
has() {
  "${@:4}" "$2" | grep -- "$3" >/dev/null || { echo "$2: no $1" >&2 && exit 1; }
}

for file; do
  has "stack protector" "$file" __stack_chk_fail nm -D
  has "control-flow protection" "$file" endbr64 objdump -d --section=.text
  has "read-only relocations" "$file" GNU_RELRO readelf -lW
  has "binding at start" "$file" 'NOW' readelf -dW
done
# Clang 14 accepts _FORTIFY_SOURCE, but fortifies too few calls to rely on one here.
readelf -p .comment "$2" | grep clang >/dev/null || has "fortified calls" "$2" _chk@ nm -D
has "assertions of the C++ library" "$2" glibcxx_assert_fail nm -D
has "independence of its address" "$2" 'DYN (Position-Independent Executable' readelf -h
