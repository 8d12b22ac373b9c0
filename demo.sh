#!/usr/bin/env bash
# Builds the library and its command-line program, then shows the chunk trees of the given files, or
# of the files in examples/data.
#   ./demo.sh [FILE...]
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$top/scripts/packages.sh"

need_packages "the build" "${build_packages[@]}"
build=$top/build/demo
log=$build.log
mkdir -p "$top/build"
if ! { cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release &&
  cmake --build "$build"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "The build failed; the whole log is in $log." >&2
  exit 1
fi

[ $# -gt 0 ] || set -- "$top"/examples/data/*.wav "$top"/examples/data/*.avi "$top"/examples/data/*.webp
exec "$build/tools/velmor-core" tree "$@"
