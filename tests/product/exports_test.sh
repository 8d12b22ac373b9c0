#!/usr/bin/env bash
# The library exports the functions that the headers declare, under the version node, and nothing
# else. The package's symbols file lists the same functions.
#   exports_test.sh SOURCE LIBRARY
set -euo pipefail
source=$1 library=$2
node=VELMOR_CORE_0
listed=$(grep -oE '^ velmor_core_\w+' "$source/debian/libvelmor-core0.symbols" | tr -d ' ' | sort)
declared=$(cat "$source"/include/velmor_core/*.h | tr '\n' ' ' |
  grep -oE 'VELMOR_CORE_API [^;(]*\(' | grep -oE 'velmor_core_\w+ *\($' | tr -d ' (' | sort)
exported=$(nm -D --defined-only --with-symbol-versions "$library" | awk '{ print $2, $3 }' | sort)
expected=$({ echo "A $node" && sed "s/.*/T &@@$node/" <<<"$listed"; } | sort)
diff <(echo "$listed") <(echo "$declared") || { echo "symbols file and headers differ" >&2; exit 1; }
diff <(echo "$expected") <(echo "$exported") || { echo "symbols file and library differ" >&2; exit 1; }
readelf -d "$library" | grep -q 'SONAME.*\[libvelmor-core\.so\.0\]'
