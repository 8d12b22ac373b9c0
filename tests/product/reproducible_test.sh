#!/usr/bin/env bash
# A second build of the same sources, elsewhere and at another depth, gives the same bytes. Of the
# program, this builds only the first file: a whole second build takes a minute.
#   reproducible_test.sh SOURCE BUILD CC CXX TYPE
set -euo pipefail
source=$1 build=$2 cc=$3 cxx=$4 type=$5
main=tools/CMakeFiles/velmor-core-tool.dir/main.cpp.o
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
copy=$work/some/deeper/folder/source
mkdir -p "$copy"
tar -C "$source" -c CMakeLists.txt api cmake core include riff strtonum tools | tar -C "$copy" -x

# The second build also has another locale, time zone and umask.
(
  umask 077
  export LC_ALL=C TZ=Pacific/Auckland
  cmake -S "$copy" -B "$copy/out" -G Ninja -DCMAKE_BUILD_TYPE="$type" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx"
  cmake --build "$copy/out" -j 2 --target velmor-core "$main"
) >"$work/log" 2>&1 || { tail -n 40 "$work/log" >&2; exit 1; }

for file in libvelmor-core.so.0 "$main"; do cmp "$build/$file" "$copy/out/$file"; done
for file in libvelmor-core.so.0 tools/velmor-core; do
  if grep -qaF "$source" "$build/$file"; then echo "$file names its folder" >&2; exit 1; fi
done
