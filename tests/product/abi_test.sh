#!/usr/bin/env bash
# The functions and types of the interface are those of the stored description.
#   abi_test.sh SOURCE CXX [--update]   --update stores a new description; use it only for intended changes
set -euo pipefail
source=$1 cxx=$2 update=${3:-}
stored=tests/product/libvelmor-core.so.0.abi
type abidw abidiff >/dev/null 2>&1 || { echo "no abigail-tools"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The functions in api/ are the whole interface, so only their debug information is needed.
library=$work/libvelmor-core.so.0
cd "$source"
"$cxx" -std=c++20 -g -ffile-prefix-map="$PWD=." -fvisibility=hidden -fPIC -shared -Iinclude -I. \
  -Wl,-soname,libvelmor-core.so.0 -Wl,--version-script=cmake/exports.map \
  -Wl,--unresolved-symbols=ignore-all api/*.cpp -o "$library"
describe() {
  abidw --headers-dir include/velmor_core --drop-private-types --no-corpus-path \
    --no-comp-dir-path --no-show-locs --no-elf-needed --type-id-style hash \
    --drop-undefined-syms --exported-interfaces-only "$library"
}
if [ "$update" = --update ]; then
  describe >"$stored"
  exit
fi
describe >"$work/now.abi"
abidiff --no-architecture "$stored" "$work/now.abi" || {
  echo "The binary interface has changed: see tests/product/abi_test.sh for how to store it." >&2
  exit 1
}
