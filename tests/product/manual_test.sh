#!/usr/bin/env bash
# The manual is built without warnings; an undocumented symbol is a warning. Every function has a
# man page that names it. No link of the HTML is broken.
#   manual_test.sh SOURCE
set -euo pipefail
source=$1
type doxygen >/dev/null 2>&1 || { echo "no doxygen"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

{ cmake -S "$source" -B "$work" -G Ninja -DVELMOR_CORE_BUILD_DOCS=ON -DVELMOR_CORE_BUILD_TOOLS=OFF \
    -DVELMOR_CORE_WERROR=ON &&
  cmake --build "$work" --target docs; } >"$work/log" 2>&1 || fail "$(tail -n 30 "$work/log")"

cd "$work/docs"
for name in $(grep -oE '^ velmor_core_\w+' "$source/debian/libvelmor-core0.symbols"); do
  page=pages/man3/$name.3
  grep -q "^$name .- [A-Z0-9].*[A-Za-z0-9)]$" "$page" || fail "$name: no summary"
  grep -qE "[ *]$name\(.*\);$" "$page" || fail "$name: no declaration"
done
# A man page has the complete text of the header.
page=$(sed 's/\\f[A-Z]//g; s/\\&//g' pages/man3/velmor_core_riff_chunk_get_data.3 | tr -s '\n ' ' ')
for text in 'bytes to copy, 0 allowed' 'cannot be read. Nothing is cached' \
  'buffer +receives size bytes' 'VELMOR_CORE_BAD_HANDLE: chunk is null' \
  'read; buffer may hold the first bytes'; do
  grep -qE "$text" <<<"$page" || fail "velmor_core_riff_chunk_get_data does not tell: $text"
done

# The program listings in man pages keep their backslashes.
grep -qF 'are left\en"' pages/man7/velmor-core-handles.7 || fail "a listing lost its backslashes"

cd html
for page in *.html; do
  grep -oE 'href="[^"]+"' "$page" | sed 's/^href="//; s/"$//' | grep -v '^https\?:' | sort -u |
    while IFS='#' read -r file anchor; do
      [ -e "${file:-$page}" ] || fail "$page: link to ${file}"
      [ -z "$anchor" ] || grep -qE "(id|name)=\"$anchor\"" "${file:-$page}" ||
        fail "$page: link to $file#$anchor"
    done
done
