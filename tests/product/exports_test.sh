#!/usr/bin/env bash
# The dynamic symbol table holds the functions of the export list, which are those that the headers
# declare, and nothing else. Each carries the version node.
#   exports_test.sh SOURCE LIBRARY
set -euo pipefail
source=$1 library=$2
node=VELMOR_CORE_0
listed=$(grep -oE '\bvelmor_core_\w+' "$source/cmake/exports.map" | sort)
declared=$(cat "$source"/include/velmor_core/*.h | tr '\n' ' ' |
  grep -oE 'VELMOR_CORE_API [^;(]*\(' | grep -oE 'velmor_core_\w+ *\($' | tr -d ' (' | sort)
exported=$(nm -D --defined-only --with-symbol-versions "$library" | awk '{ print $2, $3 }' | sort)
expected=$({ echo "A $node" && sed "s/.*/T &@@$node/" <<<"$listed"; } | sort)
diff <(echo "$listed") <(echo "$declared") || { echo "export list and headers differ" >&2; exit 1; }
diff <(echo "$expected") <(echo "$exported") || { echo "export list and library differ" >&2; exit 1; }
readelf -d "$library" | grep -q 'SONAME.*\[libvelmor-core\.so\.0\]'
