#!/usr/bin/env bash
# Another project includes the sources: by FetchContent, or as a static library by
# add_subdirectory.
# It gets only the library (no program, no tests, nothing installed), and its own program works.
#   subproject_test.sh SOURCE CC CXX
set -euo pipefail
shopt -s extglob
source=$1 cc=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/project"
cp "$source/examples/readme.c" "$work/project"
cat >"$work/project/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(app LANGUAGES C CXX)
if(FETCH)
  include(FetchContent)
  FetchContent_Declare(velmor-core SOURCE_DIR ${VELMOR_CORE})
  FetchContent_MakeAvailable(velmor-core)
else()
  add_subdirectory(${VELMOR_CORE} velmor-core)
endif()
add_executable(app readme.c)
target_link_libraries(app PRIVATE velmor::core)
EOF

run() { "$@" >"$work/log" 2>&1 || { tail -n 40 "$work/log" >&2; exit 1; }; }

for fetch in ON OFF; do
  out=$work/fetch-$fetch
  [ $fetch = ON ] && shared=() || shared=(-DBUILD_SHARED_LIBS=OFF)
  run cmake -S "$work/project" -B "$out" -G Ninja -DFETCH=$fetch -DVELMOR_CORE="$source" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" "${shared[@]}"
  linked=$(ninja -C "$out" -t targets all | sed -nE 's|^([^:]*/)?([^:/]*): .*_LINKER__.*|\2|p' |
    sort | tr '\n' ' ')
  case $linked in
    "app libvelmor-core."@(so.0.*([0-9.])|a)" ") ;;
    *) echo "built with FETCH=$fetch: $linked" >&2; exit 1 ;;
  esac
done

# Every other test builds the shared library.
run cmake --build "$out" -j 2
others=$(nm -g --defined-only "$out/velmor-core/libvelmor-core.a" | grep -v ' T velmor_core_' | grep ' . ') &&
  { echo "the static library also defines $others" >&2; exit 1; }
"$out/app" "$source/examples/data/tagged.wav" | grep -qx 'LIST 72'
run cmake --install "$out" --prefix "$work/prefix"
[ ! -e "$work/prefix" ] || { echo "installed: $(find "$work/prefix")" >&2; exit 1; }
