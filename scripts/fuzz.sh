#!/usr/bin/env bash
# Builds the fuzz targets and runs each for some seconds, two at a time. Fails if one crashes or
# does not end. Inputs that cause this are kept in build/fuzz/findings.
#   scripts/fuzz.sh [SECONDS]   20 by default
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh

seconds=${1:-20}
need_packages "fuzzing" "${build_packages[@]}" libgtest-dev clang-14 libclang-rt-14-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_edit fuzz_number fuzz_uuid

run() {
  local target=$1 corpus=build/fuzz/corpus/$1 findings=build/fuzz/findings/$1-
  mkdir -p "$corpus" build/fuzz/findings
  # 20 seconds for one input: deep expressions are slow under sanitizers, but they end.
  build/fuzz/fuzz/"$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
    -malloc_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings" "${@:2}" \
    "$corpus" examples/data >build/fuzz/"$target".log 2>&1 || {
    tail -n 40 build/fuzz/"$target".log
    echo "$target: FAILED, see $findings*"
    return 1
  }
  echo "$target: $(grep -oP 'number_of_executed_units: \K.*' build/fuzz/"$target".log) executions," \
    "no finding"
}

failed=0
# At most 4 KiB: chunk trees of that size are deep enough, and comparing every byte takes time.
run fuzz_edit -max_len=4096 & edit=$!
run fuzz_number & number=$!
wait $edit || failed=1
wait $number || failed=1
# At most 64 bytes: 16 for a UUID, and 2 for each of 24 changes of its text.
run fuzz_uuid -max_len=64 || failed=1
exit $failed
