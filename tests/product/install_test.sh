#!/usr/bin/env bash
# Installs a build and uninstalls it again. Installs it again, moves the installed files, and
# lets programs find them there. Compiles each header alone in C++, and each C header in C, too.
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
export PKG_CONFIG_PATH=$pc LD_LIBRARY_PATH=${pc%/pkgconfig}
(cd "$source" && CC=$cc CXX=$cxx PATH=$prefix/bin:$PATH CMAKE_PREFIX_PATH=$prefix debian/tests/readme) \
  >>"$work/log"

strict='-Wall -Wextra -Wpedantic -Wconversion -Werror'
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++17 -fno-exceptions $strict "$source/tests/product/no_exceptions.cpp" \
  $(pkg-config --cflags --libs velmor-core) -o "$work/no_exceptions"
"$work/no_exceptions"

check() { # LANGUAGE COMPILER FLAG…: compiles $header alone
  echo "#include <velmor_core/$(basename "$header")>" >"$work/alone.$1"
  # shellcheck disable=SC2086
  "${@:2}" $strict -I"$prefix/include" -fsyntax-only "$work/alone.$1"
}
for header in "$prefix"/include/velmor_core/*.h; do
  check c "$cc" -std=c99
  check cpp "$cxx" -std=c++17 -Wold-style-cast
done
for header in "$prefix"/include/velmor_core/*.hpp; do
  check cpp "$cxx" -std=c++17 -Wold-style-cast
  check cpp "$cxx" -std=c++20 -Wold-style-cast -fno-exceptions
  if check cpp "$cxx" -std=c++14 2>"$work/errors" || [ "$(grep -c error: "$work/errors")" != 1 ]; then
    echo "$header: has to give exactly one error line below C++17" >&2
    exit 1
  fi
done
