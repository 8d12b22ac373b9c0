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

# expect_schema FILE: each line of the file is JSON as the schema describes it. Skips the test if
# nothing here can check that.
expect_schema() {
  /usr/bin/python3 -c 'import jsonschema' 2>/dev/null || exit 77
  /usr/bin/python3 - "${BASH_SOURCE[0]%/*}/../../docs/velmor-core.schema.json" "$1" <<'END' || fail "schema: $1"
import json, jsonschema, sys
validator = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))
for line in open(sys.argv[2], encoding="utf-8"):
    validator.validate(json.loads(line))
END
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
