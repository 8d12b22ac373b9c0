#!/usr/bin/env bash
# Every C and C++ program in the README and the manual builds without a warning, runs, and prints the
# output shown below it. If no output is shown, the program runs on a real file and has to print
# something.
#   snippets_test.sh SOURCE LIBRARY CC CXX
set -euo pipefail
source=$1 library=$2 cc=$3 cxx=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# N.c or N.cpp holds a program, N.output what it prints.
awk -v work="$work" '
  /^```c(pp)?$/ {
    file = work "/" ++n "." substr($0, 4)
    print FILENAME >(work "/" n ".from")
    next
  }
  /^```output$/ { file = work "/" n ".output"; next }
  /^```/ { file = ""; next }
  file { print >file }
' "$source/README.md" "$source"/docs/*.md

for program in "$work"/*.c "$work"/*.cpp; do
  name=${program%.*}
  compiler=("$cc" -std=c99)
  [[ $program != *.cpp ]] || compiler=("$cxx" -std=c++17)
  "${compiler[@]}" -Wall -Wextra -Wpedantic -Werror -I"$source/include" "$program" "$library" \
    -Wl,-rpath,"$(dirname "$library")" -o "$name"
  "$name" "$source/examples/data/tagged.wav" >"$name.printed"
  if [ -e "$name.output" ]; then
    diff "$name.output" "$name.printed" || { echo "in $(cat "$name.from")" >&2; exit 1; }
  else
    [ -s "$name.printed" ] || { echo "in $(cat "$name.from"): no output" >&2; exit 1; }
  fi
done
