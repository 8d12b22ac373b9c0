#!/usr/bin/env bash
# Installs a build and uninstalls it again. Installs it once more, moves the tree, and lets programs
# find it there. Then compiles each header alone, in both languages.
#   install_test.sh SOURCE BUILD CC CXX
set -euo pipefail
source=$1 build=$2 cc=$3 cxx=$4
work=$(mktemp -d)
manifest=$build/install_manifest.txt  # of the user's own installation: put back in the end
[ ! -e "$manifest" ] || cp "$manifest" "$work/manifest"
trap 'rm -f "$manifest"; [ ! -e "$work/manifest" ] || cp "$work/manifest" "$manifest"; rm -rf "$work"' EXIT

mkdir -p "$work/bare/share/man/man1"
touch "$work/bare/share/man/man1/other.1"
cmake --install "$build" --prefix "$work/bare" >"$work/log"
cmake --build "$build" --target uninstall >>"$work/log"
left=$(cd "$work/bare" && find . | sort | tr '\n' ' ')
[ "$left" = ". ./share ./share/man ./share/man/man1 ./share/man/man1/other.1 " ] ||
  { echo "after uninstall: $left" >&2; exit 1; }

cmake --install "$build" --prefix "$work/first" >>"$work/log"
mkdir "$work/moved"
mv "$work/first" "$work/moved/prefix"
prefix=$work/moved/prefix

# The README's programs, built by CMake and by pkg-config.
pc=$(find "$prefix" -name velmor-core.pc -printf %h)
(
  cd "$source"
  export CC=$cc CXX=$cxx PATH=$prefix/bin:$PATH LD_LIBRARY_PATH=${pc%/pkgconfig}
  PKG_CONFIG_PATH=$pc CMAKE_PREFIX_PATH=$prefix debian/tests/readme >>"$work/log"
)

strict='-Wall -Wextra -Wpedantic -Wconversion -Werror'
for header in "$prefix"/include/velmor_core/*.h; do
  echo "#include <velmor_core/$(basename "$header")>" >"$work/alone.c"
  cp "$work/alone.c" "$work/alone.cpp"
  # shellcheck disable=SC2086
  "$cc" -std=c99 $strict -I"$prefix/include" -fsyntax-only "$work/alone.c"
  # shellcheck disable=SC2086
  "$cxx" -std=c++17 $strict -Wold-style-cast -I"$prefix/include" -fsyntax-only "$work/alone.cpp"
done
