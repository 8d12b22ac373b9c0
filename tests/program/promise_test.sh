# However an edit ends, the file is the complete old one or the complete new one. See
# ../support/shell.sh for the arguments; FAULTY_CALLS is the library that disturbs calls.
source "${BASH_SOURCE%/*}/../support/shell.sh"
EIO=5 ENOSPC=28
[[ ${FAULTY_CALLS-} ]] || exit 77

# spoiled HOW CALL COMMAND ARGUMENT...: runs the program with one of its calls disturbed. Afterwards
# there is a file "fired" if the program made that call.
spoiled() {
  rm -f fired
  (LD_PRELOAD=$FAULTY_CALLS FAULT_HOW=$1 FAULT_AT=$2 FAULT_DONE=fired exec "$program" "${@:3}") >out 2>err
}

# Checks the file "f" and the exit status after a fault.
is_in_order() { # HOW STATUS
  if [[ -e f.velmor-core-edit ]]; then # an edit in place, cut off
    [[ $1 == kill || $1 == tear || ($1 != int && $(<err) == *"stopped half-way, and "*) ]] ||
      { [[ $(<err) == *"though the edit is complete"* ]] && cmp -s f new; } || return 1
    for command in "tree f" "check f" "repair f --in-place" "recycle f RIFF/data"; do
      "$program" $command >out 2>err && return 1
      [[ $(<err) == *"f: an edit in place was interrupted here"* ]] || return 1
    done
    return 0
  fi
  cmp -s f old || cmp -s f new || return 1
  case $1 in
    kill | tear) (($2 == 137)) ;;
    int) (($2 == 130)) && [[ ! -e f.velmor-core-new ]] ;;
    *) { (($2 == 0)) && cmp -s f new; } || { (($2 == 1)) && [[ $(<err) == *velmor-core:* && ! -e f.velmor-core-new ]]; } ;;
  esac
}

# survives COMMAND ARGUMENT...: edits the file "f", once for every kind of fault at every call.
# Before each edit, "f" equals "old"; a complete edit makes it equal to "new".
survives() {
  local how at status
  cp old f && "$program" "$1" f "${@:2}" >out || fail "$*"
  mv f new
  for how in kill tear int $EIO $ENOSPC; do
    for ((at = 1; ; ++at)); do
      cp old f
      spoiled $how $at "$1" f "${@:2}"
      status=$?
      [[ -e fired ]] || break
      is_in_order $how $status || fail "$* with $how at call $at: status $status, $(<err)"
      if cmp -s f old && [[ ! -e f.velmor-core-edit ]]; then # what is left allows a second edit
        "$program" "$1" f "${@:2}" >out || fail "second $* after $how at call $at"
        cmp -s f new || fail "result of the second $* after $how at call $at"
        [[ -e f.velmor-core-new ]] && fail "leftover of $* after $how at call $at"
      fi
      rm -f f f.velmor-core-*
    done
    ((at > 8)) || fail "$* makes only $at calls"
  done
}

# Writes a number as four bytes.
bytes_of() { printf "\\x$(printf %x $(($1 & 255)))\\x$(printf %x $(($1 >> 8 & 255)))\\x$(printf %x $(($1 >> 16 & 255)))\\x$(printf %x $(($1 >> 24)))"; }

# Tests

edits_survive_every_fault() {
  cp "$data/tagged.wav" old
  survives set RIFF/LIST/INAM "A title that is longer than the one before it"
  survives add RIFF/LIST/IGNR Rock
  survives remove RIFF/LIST/ICMT
  survives recycle RIFF/LIST/IART
  survives edit -e "remove RIFF/LIST/ICMT RIFF/LIST/IART" -e "set --add RIFF/LIST:new/note 'A longer text'"
  survives strip
  survives tag title=New comment= genre=Rock originator=Me loudness=-23
  {
    printf RIFF && bytes_of 1100048 && head -c 36 "$data/tone.wav" | tail -c +9
    printf 'memo\4\0\0\0textdata' && bytes_of 1100000 && head -c 1100000 /dev/zero
  } >old
  survives set RIFF/memo "A longer text, for which the copy has room"
  cp "$data/card.webp" old # adding XMP also adds the VP8X header
  survives add RIFF/XMP "<x/>"
}

edits_in_place_are_complete_or_marked() {
  cp "$data/tagged.wav" old
  survives set --in-place RIFF/LIST/INAM "A title that is longer than the one before it"
  survives edit --in-place -e "remove RIFF/LIST/ICMT RIFF/LIST/IART" -e "set --add RIFF/LIST:new/note 'A longer text'"
}

repair_survives_every_fault() {
  head -c 8000 "$data/tone.wav" >old
  survives repair --in-place
}

edits_take_turns() {
  local i
  take tone.wav
  for i in {1..8}; do "$program" add tone.wav "RIFF/ch$i" "$i" & done
  wait
  expect_equal chunks "12345678" "$(for i in {1..8}; do "$program" extract tone.wav "RIFF/ch$i"; done)"
}

# Another program appends between the program's first look and its first change.
changes_by_others_are_kept() {
  local way
  for way in "-- 3" "--in-place 4"; do # and the call that waits
    take tone.wav
    mkfifo go
    (LD_PRELOAD=$FAULTY_CALLS FAULT_HOW=wait FAULT_AT=${way#* } FAULT_DONE=go exec "$program" set ${way% *} tone.wav RIFF/data x) 2>err &
    exec 3>go # waits for the program
    echo more >>tone.wav
    cp tone.wav theirs
    exec 3>&-
    wait $! && fail "edited $way"
    [[ $(<err) == *"tone.wav: was changed by another program"* ]] || fail "$(<err)"
    cmp -s tone.wav theirs || fail "changed $way"
    expect_equal "files $way" "err go theirs tone.wav" "$(echo *)"
    rm go
  done
}

# Does not wait for the end of the other program.
files_that_grow_are_refused() {
  take tone.wav
  while :; do echo more >>tone.wav; done &
  timeout 20 "$program" set tone.wav RIFF/data x 2>err
  expect_equal "status" 1 $?
  kill $! && wait $! 2>/dev/null
  [[ $(<err) == *"by another program"* || $(<err) == *"open for writing"* ]] || fail "$(<err)"
}

# Another program that opened the file before the edit, or during it, would go on writing to the old
# file.
files_that_others_write_are_not_replaced() {
  take tone.wav
  cp tone.wav theirs
  exec 5>>tone.wav
  "$program" set tone.wav RIFF/data x 2>err && fail "edited"
  exec 5>&-
  expect_equal "message" "velmor-core: tone.wav: is open for writing in another program" "$(<err)"
  mkfifo go
  (LD_PRELOAD=$FAULTY_CALLS FAULT_HOW=wait FAULT_AT=3 FAULT_DONE=go exec "$program" set tone.wav RIFF/data x) 2>err &
  exec 3>go 5>>tone.wav 3>&-
  wait $! && fail "edited meanwhile"
  exec 5>&-
  [[ $(<err) == *"is open for writing in another program; tone.wav is unchanged" ]] || fail "$(<err)"
  cmp tone.wav theirs && expect_equal "files" "err go theirs tone.wav" "$(echo *)"
  "$program" set tone.wav RIFF/data x 2>err || fail "the edit after it: $(<err)"
}

# Permissions, owner, an access control list and an attribute. The list that the folder gives to new
# files is not kept.
attributes_stay() {
  type python3 >/dev/null || return 77
  mkdir folder && take tone.wav && mv tone.wav folder && ln -s folder/tone.wav link
  chmod 4750 folder/tone.wav
  cat >attributes.py <<'END'
import os, struct, sys
def acl(user): # tag, permissions, id of: owner, a user, group, mask, others
    entries = [(1, 7, -1), (2, 4, user), (4, 5, -1), (16, 5, -1), (32, 0, -1)]
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
file, list_name = "folder/tone.wav", "system.posix_acl_access"
if sys.argv[1] == "set":
    os.setxattr(file, "user.note", b"kept")
    os.setxattr(file, list_name, acl(1000))
    os.setxattr("folder", "system.posix_acl_default", acl(2000))
if sys.argv[1] == "clear":
    os.removexattr(file, list_name)
status = os.stat(file)
print(oct(status.st_mode), status.st_uid, status.st_gid, [(n, os.getxattr(file, n)) for n in sorted(os.listxattr(file))])
END
  local step before
  for step in set clear; do
    before=$(python3 attributes.py $step 2>/dev/null) || return 77 # not on this file system
    "$program" set link RIFF/data $step || fail $step
    [[ -L link ]] || fail link
    expect_equal "attributes after $step" "$before" "$(python3 attributes.py get)"
  done
  chmod -x folder/tone.wav && rm link && "$program" set folder/tone.wav RIFF/data 12 -o link && "$program" set folder/tone.wav RIFF/data 123 -o link --force
  expect_equal output "123 640" "$("$program" extract link RIFF/data) $(stat -c %a link)"
}

outputs_are_whole_and_replace_nothing() {
  take tone.wav
  ln tone.wav other
  "$program" set tone.wav RIFF/data x 2>err && fail "hard link"
  [[ $(<err) == *"2 names (hard links)"*"--in-place"* ]] || fail "$(<err)"
  "$program" set --in-place tone.wav RIFF/data 1234 || fail "in place"
  cmp tone.wav other || fail "in place"
  "$program" set tone.wav RIFF/data 12 -o new || fail "-o"
  expect_equal new 12 "$("$program" extract new RIFF/data)"
  "$program" set tone.wav RIFF/data 3456 -o new 2>err && fail "existing"
  [[ $(<err) == *"new: exists: --force replaces it"* ]] || fail "$(<err)"
  "$program" set tone.wav RIFF/data 3456 -o new --force || fail "--force"
  expect_equal new 3456 "$("$program" extract new RIFF/data)"
  expect_equal original 1234 "$("$program" extract tone.wav RIFF/data)"
  expect_equal files "err new other tone.wav" "$(echo *)"
  touch new.velmor-core-edit
  "$program" set tone.wav RIFF/data 56 -o new --force 2>err && fail "marker"
}

# A file of 2 GB whose audio is a hole.
large_files_cost_little() {
  local size=$((2000 << 20))
  take tone.wav
  { head -c 4 tone.wav && bytes_of $((size - 8)) && head -c 40 tone.wav | tail -c +9 && bytes_of $((size - 44)); } >big.wav
  truncate -s $size big.wav || return 77
  /usr/bin/time -f "%e %M" -o used "$program" recycle --dry-run big.wav RIFF/fmt >/dev/null || return 77
  awk '{ exit !($2 < 50000) }' used || fail "dry run: $(<used)"
  "$program" add big.wav RIFF/note 1 || fail add
  (($(stat -c %b big.wav) < 1000)) || fail "holes are filled"
  head -c 200M /dev/zero >value
  /usr/bin/time -f "%e %M" -o used "$program" set --dry-run tone.wav RIFF/data @value >/dev/null
  awk '{ exit !($2 < 450000) }' used || fail "value: $(<used)"
}

failures_name_their_reason() {
  take tone.wav
  local before
  before=$(sha256sum tone.wav)
  (ulimit -f 4 && exec "$program" set tone.wav RIFF/data x) 2>err && fail "limit"
  [[ $(<err) == *"tone.wav.velmor-core-new: cannot be written: File too large (at offset 8044)"*"tone.wav is unchanged"* ]] || fail "$(<err)"
  truncate -s 1G value
  (ulimit -v 500000 && exec "$program" set tone.wav RIFF/data @value) 2>err && fail "memory"
  expect_equal memory "velmor-core: out of memory" "$(<err)"
  expect_equal file "$before" "$(sha256sum tone.wav)"
  expect_equal files "err tone.wav value" "$(echo *)"
  truncate -s 8G value
  "$program" sha256 value 2>err &
  sleep 0.2 && truncate -s 100 value
  wait $! && fail sha256
  [[ $(<err) == "velmor-core: value: became shorter while it was read (at offset "* ]] || fail "$(<err)"
}

# Control characters in files and names do not reach a terminal and cannot imitate a line of output.
hostile_texts_are_escaped() {
  local name=$'a\e[31m\nvelmor-core: b: sound'
  expect_equal missing 'velmor-core: a\x1b[31m\x0avelmor-core: b: sound: No such file or directory' "$("$program" tree "$name" 2>&1)"
  cp "$data/tone.wav" "$name"
  expect_equal lines 1 "$("$program" check "$name" | wc -l)"
  expect_equal title 'a\x1b[31m\x0avelmor-core: b: sound  (' "$("$program" tree "$name" | head -n 1 | sed 's/(.*/(/')"
  script -qec true /dev/null >/dev/null || return 77 # no pseudo-terminals here
  cp "$data/tone.wav" tone.wav
  [[ $(script -qec "'$program' extract tone.wav RIFF/fmt" /dev/null) == *"-o writes it to a file"* ]] || fail extract
  [[ $(script -qec "'$program' extract tone.wav RIFF/fmt --force" /dev/null) == *"velmor-core:"* ]] && fail "extract --force"
  return 0
}

main
