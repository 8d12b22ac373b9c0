# For the tests in bash: SCRIPT PROGRAM DATA TEST runs the function TEST of the script in an empty
# folder, with `program` and `data` (the folder of real files) set. The script ends with "main".
set -u -o pipefail
program=$(realpath "$1")
data=$(realpath "$2")
test_name=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# expect_equal WHAT EXPECTED ACTUAL
expect_equal() {
  [[ $2 == "$3" ]] || fail "$1
expected: $2
  actual: $3"
}

# Copies real files here, to be changed.
take() {
  local file
  for file; do cp "$data/$file" . || fail "no $file"; done
}

main() {
  "$test_name"
  exit $(($? == 77 ? 77 : 0)) # skipped, or passed: only fail() makes a test fail
}
