# What velmor-core prints, changes and leaves as it is. See support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

# Prints "LEVEL NAME SIZE" for each chunk of a sound file; knows nothing of the program under test.
read_tree() {
  local bytes at=0 level=0 end id size ends=()
  bytes=($(od -An -v -tu1 "$1"))
  while ((at < ${#bytes[@]})); do
    id=$(printf "\\x$(printf %x "${bytes[at]}")\\x$(printf %x "${bytes[at + 1]}")" &&
      printf "\\x$(printf %x "${bytes[at + 2]}")\\x$(printf %x "${bytes[at + 3]}")")
    size=$((bytes[at + 4] | bytes[at + 5] << 8 | bytes[at + 6] << 16 | bytes[at + 7] << 24))
    end=$((at + 8 + size + size % 2))
    if [[ $id == RIFF || $id == LIST ]]; then
      id+=:$(tail -c +$((at + 9)) "$1" | head -c 4)
      echo "$level ${id%"${id##*[! ]}"} $size"
      ends[level++]=$end
      ((at += 12))
    else
      echo "$level ${id%"${id##*[! ]}"} $size"
      at=$end
    fi
    while ((level > 0 && at >= ends[level - 1])); do ((level--)); done
  done
}

# The output of "tree" for a file, in the form of read_tree.
shown_tree() {
  local line
  "$program" tree --raw "$1" | tail -n +3 | while IFS= read -r line; do
    [[ $line =~ ^\ +[0-9]+\ \ (\ *)(.*[^ ])\ +([0-9,]+)\ +[0-9,]+(\ \ .*)?$ ]] || fail "odd line: $line"
    echo "$((${#BASH_REMATCH[1]} / 2)) ${BASH_REMATCH[2]} ${BASH_REMATCH[3]//,/}"
  done
}

# rejects STATUS MESSAGE ARGUMENT...: the command gives this exit status and a message with this
# text, prints nothing on standard output, and changes no file.
rejects() {
  local status=$1 message=$2 before after
  shift 2
  before=$(cat ./* 2>&1 | sha256sum)
  "$program" "$@" >out 2>err </dev/null
  expect_equal "status of $*" "$status" $?
  [[ $(<err) == "velmor-core: "*"$message"* ]] || fail "message of $*: $(<err)"
  [[ -s out ]] && fail "output of $*"
  rm out err
  after=$(cat ./* 2>&1 | sha256sum)
  expect_equal "files after $*" "$before" "$after"
}

# edit COMMAND FILE ARGUMENT...: a dry run changes nothing and shows the tree after the edit.
edit() {
  local command=$1 file=$2 before promised
  shift 2
  before=$(sha256sum "$file")
  promised=$("$program" "$command" --dry-run "$file" "$@" | tail -n +2) || fail "dry run of $*"
  expect_equal "file after dry run of $command $*" "$before" "$(sha256sum "$file")"
  "$program" "$command" "$file" "$@" || fail "$command $*"
  expect_equal "tree after $command $*" "$promised" "$("$program" tree "$file" | tail -n +2)"
  expect_equal "headers after $command $*" "$(read_tree "$file")" "$(shown_tree "$file")"
  "$program" verify "$file" >sound || fail "verify after $command $*"
  rm sound
}

# bytes HEX...: writes them
bytes() { printf "$(printf '\\x%s' "$@")"; }

# Tests

tree_agrees_with_an_independent_reader() {
  local file count=0
  for file in "$data"/*.{wav,avi,webp}; do
    expect_equal "$file" "$(read_tree "$file")" "$(shown_tree "$file")"
    ((count += 1))
  done
  expect_equal "number of files" 5 $count
}

tree_is_pleasant_to_read() {
  take tagged.wav
  edit recycle tagged.wav RIFF/LIST/ICMT
  truncate -s -100 tagged.wav
  expect_equal tree "tagged.wav  (8,024 bytes, 7 chunks)
  offset  chunk        data size  total
       0  RIFF:WAVE        8,116  8,124
      12    fmt               16     24  PCM, 1 channel, 8 kHz, 16 bit
      36    LIST:INFO         72     80
      48      IART             7     16  \"A Fork\"  pad
      64      JUNK            22     30  free
      94      INAM            14     22  \"Concert pitch\"
     116    data           8,000  8,008  cut short by 100 bytes" "$("$program" tree tagged.wav)"
  expect_equal part "$("$program" tree tagged.wav | sed -n '2p;5,8p')" \
    "$("$program" tree --path RIFF/LIST tagged.wav | tail -n +2)"
  expect_equal leaf "$("$program" tree tagged.wav | tail -n 1 | xargs)" \
    "$("$program" tree tagged.wav --path RIFF/data | tail -n 1 | xargs)"
}

tree_speaks_json() {
  type python3 >/dev/null || return 77
  { printf RIFF && bytes 1e 00 00 00 && printf test && bytes 22 5c 09 ff && bytes 05 00 00 00 && printf 12345 &&
    bytes 00 && printf LIST && bytes 04 00 00 00 && printf 'grp '; } >$'na"me\n\xc3\xa9\xff'
  cat >read.py <<'END'
import json, sys
tree = json.loads(sys.stdin.buffer.read().decode("utf-8"))
print(ascii(tree["file"]), tree["size"])
for c in tree["chunks"]:
    print(c["offset"], c["level"], c["id"], c.get("groupId"), c["dataSize"], c["totalSize"], c["pad"], c["free"], c["missing"])
END
  expect_equal tree "'na\"me\\n\\xe9\\ufffd' 38
0 0 RIFF test 30 38 0 False 0
12 1 \"\\x5c\\x09\\xff None 5 14 1 False 0
26 1 LIST grp 4 12 0 False 0" "$("$program" tree --json na* | python3 read.py)"
  # the table says "pad" where JSON does, also of a group
  { printf 'RIFF\x1c\0\0\0testLIST\x0f\0\0\0grp abcd' && bytes 03 00 00 00 31 32 33 00; } >odd
  expect_equal pads "0 1 1, 2" \
    "$("$program" tree --json odd | grep -oP 'pad":\K[01]' | xargs), $("$program" tree odd | grep -c pad)"
  take clip.avi
  expect_equal clip "$(read_tree clip.avi)" "$("$program" tree --json clip.avi | python3 read.py | tail -n +2 |
    awk '{ print $2, $3 ($4 == "None" ? "" : ":" $4), $5 }')"
  "$program" tree --json na* clip.avi >lines || fail json
  expect_schema lines
}

tree_escapes_what_does_not_print() {
  { printf RIFF && bytes 16 00 00 00 && printf 'test' && bytes 1b 5b 33 6d && bytes 01 00 00 00 && bytes 00 00 &&
    printf ' a/ ' && bytes 00 00 00 00; } >odd
  expect_equal tree "odd  (30 bytes, 3 chunks)
  offset  chunk         data size  total
       0  RIFF:test            22     30
      12    \\x1b\\x5b3m          1     10  pad
      22    \\x20a\\x2f           0      8" "$("$program" tree odd)"
  "$program" set odd 'RIFF/\x1b\x5b\x33m' abc || fail "what is shown cannot be typed"
  expect_equal data abc "$("$program" extract odd 'RIFF/\x1b\x5b3m')"
}

tree_shows_what_stands_there() {
  { printf RIFF && bytes 34 00 00 00 && printf WAVELIST && bytes 14 00 00 00 && printf 'grp data' && bytes 20 00 00 00 &&
    printf 01234567 && head -c 20 /dev/zero && printf XYZ; } >file
  expect_equal tree "file  (63 bytes, 3 chunks)
  offset  chunk       data size  total
       0  RIFF:WAVE          52     60
      12    LIST:grp         20     28
      24      data           32     40  ends 24 bytes past the end of its group
      40    (zeros)                 20
      60  (no chunk)                 3" "$("$program" tree file)"
  [[ $("$program" tree --json file) == *'"past":24},{"offset":40,"level":1,"zeros":20},{"offset":60,"level":0,"bytes":3}]}' ]] ||
    fail "json"
  head -c 9 file | tail -c +2 >foreign
  rejects 1 "not a RIFF file" tree foreign
  [[ $("$program" tree --any foreign) == *"IFF4"* ]] || fail "any"
}

colour_is_for_terminals_that_want_it() {
  take tone.wav
  script -qec true /dev/null >/dev/null || return 77 # no pseudo-terminals here
  [[ $("$program" tree tone.wav) == *$'\e'* ]] && fail "colour without terminal"
  local on_terminal="script -qec '$program tree tone.wav' /dev/null"
  [[ $(TERM=xterm NO_COLOR= bash -c "$on_terminal") == *$'\e[1;34mRIFF:WAVE\e[0m'* ]] || fail "no colour"
  [[ $(TERM=xterm NO_COLOR=1 bash -c "$on_terminal") == *$'\e'* ]] && fail "NO_COLOR"
  [[ $(TERM=dumb NO_COLOR= bash -c "$on_terminal") == *$'\e'* ]] && fail "dumb terminal"
  return 0
}

waiting_is_told_at_terminals() {
  script -qec true /dev/null >/dev/null || return 77 # no pseudo-terminals here
  local slow="(sleep 1.5; echo) | '$program' sha256"
  [[ $(script -qec "$slow" /dev/null) == *$'\rhashing -: 1 s'*$'\r\e[K'01ba4719* ]] || fail "at a terminal"
  [[ $(bash -c "$slow" 2>&1) == 01ba4719* ]] || fail "elsewhere"
}

help_is_there_for_all() {
  local command
  expect_equal version "velmor-core 1.0.16" "$("$program" --version)"
  expect_equal version "velmor-core 1.0.16" "$("$program" version)"
  for command in $("$program" --help | sed -n 's/^  \([a-z0-9]*\)  .*/\1/p') ; do
    [[ $("$program" "$command" --help) == "Usage: velmor-core $command"[[:space:]]* ]] || fail "$command --help"
    expect_equal "help $command" "$("$program" "$command" --help)" "$("$program" help "$command")"
  done
  [[ $command == version ]] || fail "no list of commands"
  [[ $("$program" cpu) == "processors: $(getconf _NPROCESSORS_ONLN)"*" sse2"* ]] || fail cpu
}

wrong_use_is_2() {
  take clip.avi tone.wav
  rejects 2 "no command"
  rejects 2 '"paint"' paint clip.avi
  rejects 2 "number of arguments" tree
  rejects 2 "number of arguments" set clip.avi RIFF/idx1
  rejects 2 "number of arguments" remove clip.avi
  rejects 2 "unknown option --deep" tree --deep clip.avi
  rejects 2 "put -- before" set clip.avi RIFF/idx1 -5
  rejects 2 "-o needs a value" extract clip.avi RIFF/idx1 -o
  rejects 2 "one to four characters" remove clip.avi RIFF//idx1
  rejects 2 "one to four characters" remove clip.avi ""
  rejects 2 "one to four characters" add clip.avi RIFF/title x
  rejects 2 "one to four characters" add clip.avi RIFF/LIST: x
  rejects 2 "two hexadecimal digits" remove clip.avi 'RIFF/\x1'
  rejects 2 "number from 1" remove clip.avi "RIFF/LIST[0]"
  rejects 2 "number from 1" remove clip.avi "RIFF/LIST[]"
  rejects 2 "number from 1" remove clip.avi "RIFF/LIST[1"
  rejects 2 "number from 1" remove clip.avi "RIFF/LIST[1]x"
  rejects 2 "number from 1" remove clip.avi "RIFF/LIST[99999999999999999999]"
  rejects 2 "have a group id" add clip.avi RIFF/LIST x
  rejects 2 "have a group id" add clip.avi RIFF/abcd:INFO
  rejects 2 "without a value" add clip.avi RIFF/LIST:INFO x
  rejects 2 "value is needed" add clip.avi RIFF/abcd
  rejects 2 "without a number" add clip.avi "RIFF/abcd[2]" x
  rejects 2 "over the file that it comes from" extract tone.wav RIFF/data -o ./tone.wav
}

failure_is_1() {
  take clip.avi
  head -c 18700 clip.avi >cut.avi
  head -c 10000 clip.avi >unopened.avi
  rejects 1 "gone.avi: No such file" tree gone.avi
  rejects 1 "/: is a directory" tree /
  rejects 1 "/dev/null: is not a regular file" tree /dev/null
  rejects 1 "gone: No such file" set clip.avi RIFF/idx1 @gone
  rejects 1 "clip.avi: there is no chunk WAVE at the top" set clip.avi WAVE x
  rejects 1 "there is no chunk INFO in RIFF:AVI" remove clip.avi RIFF:AVI/INFO/INAM
  rejects 1 "there is no chunk RIFF:WAVE at the top" remove clip.avi RIFF:WAVE
  rejects 1 "there is no chunk LIST:strl[3] in LIST:hdrl" remove clip.avi RIFF/LIST:hdrl/LIST:strl[3]
  rejects 1 "as LIST[1] to LIST[3]" remove clip.avi RIFF/LIST/INAM
  rejects 1 "LIST:INFO is a group" set clip.avi RIFF/LIST:INFO x
  rejects 1 "LIST:INFO is a group" extract clip.avi RIFF/LIST:INFO
  rejects 1 "idx1 is no group" add clip.avi RIFF/idx1/abcd x
  rejects 1 "cannot add abcd: RIFF:AVI/idx1 ends 102 bytes past" add --top cut.avi abcd x
  rejects 1 "cannot remove idx1: RIFF:AVI/idx1 ends 102 bytes" remove cut.avi RIFF/idx1
  rejects 1 "idx1 cannot be read to its end: RIFF:AVI/idx1" set cut.avi RIFF/idx1 x
  rejects 1 "idx1 cannot be read to its end: RIFF:AVI/idx1" extract cut.avi RIFF/idx1 -o new
  rejects 1 "(at offset 9978)" remove unopened.avi RIFF/idx1
  rejects 1 "/dev/full: cannot be written" extract clip.avi RIFF/idx1 -o /dev/full
  "$program" tree clip.avi >/dev/full 2>err && fail "full disk"
  [[ $(<err) == *"cannot write the output"* ]] || fail "$(<err)"
}

# Reading these files to their ends would take an hour.
hopeless_files_are_refused_at_once() {
  { printf 'RIFF' && bytes 10 00 00 00 && printf 'WAVEdata' && bytes 20 00 00 00; } >loose
  truncate -s 8G loose || return 77
  local why='velmor-core: loose: RIFF:WAVE/data ends 28 bytes past the end of its group (at offset 12)'
  expect_equal recycle "$why" "$("$program" recycle loose RIFF/data 2>&1)"
  # A recorder reserved space in the file and did not use it.
  take tone.wav
  truncate -s 8G tone.wav
  [[ $("$program" set tone.wav RIFF/data x 2>&1) == *"8589926548 bytes after the last chunk, all of them 0"* ]] || fail set
  [[ $("$program" tree tone.wav) == *"8044  (zeros)"*" 8,589,926,548" ]] || fail tree
}

edits_do_as_they_say() {
  { printf RIFF && bytes 04 00 00 00 && printf test; } >file
  # becomes TREE COMMAND ARGUMENT...: TREE as "LEVEL NAME SIZE", all on one line
  becomes() {
    local tree=$1 command=$2
    shift 2
    edit "$command" file "$@"
    expect_equal "tree after $command $*" "$tree" "$(shown_tree file | xargs)"
  }
  becomes "0 RIFF:test 18 1 a 5" add RIFF/a 12345
  becomes "0 RIFF:test 30 1 a 5 1 LIST:x 4" add RIFF/LIST:x
  becomes "0 RIFF:test 42 1 a 5 1 LIST:x 4 1 LIST:y 4" add RIFF:test/LIST:y
  becomes "0 RIFF:test 50 1 a 5 1 LIST:x 4 1 LIST:y 12 2 b 0" add RIFF/LIST:y/b ""
  becomes "0 RIFF:test 60 1 a 5 1 LIST:x 14 2 b 1 1 LIST:y 12 2 b 0" add "RIFF/LIST[1]/b" 1
  becomes "0 RIFF:test 66 1 a 5 1 LIST:x 14 2 b 1 1 LIST:y 18 2 b 6" set "RIFF/LIST[2]/b" 123456
  becomes "0 RIFF:test 64 1 a 4 1 LIST:x 14 2 b 1 1 LIST:y 18 2 b 6" set RIFF/a abcd
  becomes "0 RIFF:test 64 1 JUNK 4 1 LIST:x 14 2 b 1 1 LIST:y 18 2 b 6" recycle RIFF/a
  becomes "0 RIFF:test 64 1 JUNK 26 1 LIST:y 18 2 b 6" recycle RIFF/LIST:x
  becomes "0 RIFF:test 64 1 c 3 1 JUNK 14 1 LIST:y 18 2 b 6" add RIFF/c 123
  becomes "0 RIFF:test 64 1 c 3 1 d 13 1 LIST:y 18 2 b 6" add RIFF/d "fits exactly."
  becomes "0 RIFF:test 42 1 c 3 1 LIST:y 18 2 b 6" remove RIFF/d
  becomes "0 RIFF:test 16 1 c 3" remove RIFF:test/LIST:y
  becomes "0 RIFF:test 16 1 c 3 0 RIFF:two 4" add RIFF:two
  becomes "0 RIFF:test 16 1 c 3 0 RIFF:two 4 0 tail 2" add tail ab
  becomes "0 RIFF:two 4 0 tail 2" remove "RIFF[1]"
}

# Many programs leave out the pad byte at the end of a file.
missing_pad_byte_is_supplied() {
  local change
  for change in "set RIFF/c 12345" "set RIFF/c 1234567" "add RIFF/d 1" "add --top e 1" "recycle RIFF/c" "remove RIFF/c"; do
    { printf RIFF && bytes 12 00 00 00 && printf 'testc   ' && bytes 05 00 00 00 && printf abcde; } >file
    [[ $("$program" tree file) == *" 5 "*"  without its pad byte" ]] || fail tree
    read -ra words <<<"$change"
    edit "${words[0]}" file "${words[@]:1}"
  done
}

values_are_stored_as_told() {
  take tagged.wav
  stored() { "$program" extract tagged.wav "$1" | od -An -v -tx1 | xargs; }
  edit set tagged.wav RIFF/LIST/INAM "Hé" # text in LIST:INFO ends in a NUL
  expect_equal text "48 c3 a9 00" "$(stored RIFF/LIST/INAM)"
  bytes 31 00 32 >value
  edit set tagged.wav RIFF/LIST/INAM @value
  expect_equal file "31 00 32" "$(stored RIFF/LIST/INAM)"
  edit set tagged.wav RIFF/LIST/INAM @@value
  expect_equal @text "40 76 61 6c 75 65 00" "$(stored RIFF/LIST/INAM)"
  "$program" set tagged.wav RIFF/LIST/INAM @- <value || fail "standard input"
  expect_equal input "31 00 32" "$(stored RIFF/LIST/INAM)"
  edit add tagged.wav RIFF/note "abc" # elsewhere nothing is added
  expect_equal note "61 62 63" "$(stored RIFF/note)"
  expect_equal "pad byte" "61 62 63 00" "$(tail -c 4 tagged.wav | od -An -tx1 | xargs)"
  "$program" set -- tagged.wav RIFF/note -5 || fail "value with a dash"
  expect_equal note "2d 35" "$(stored RIFF/note)"
  "$program" extract tagged.wav RIFF/data -o samples || fail extract
  tail -c +45 "$data/tone.wav" | cmp - samples || fail "samples"
}

num_evaluates() {
  expect_equal values "4k7
  double    4700
  signed    4700
  unsigned  4700
-1.5
  double    -1.5
  signed    -1
  unsigned  18446744073709551615
1e30
  double    1e+30" "$("$program" num 4k7 -1.5 1e30)"
  expect_equal "2^64 - 1" 18446744073709551615 "$("$program" num 18446744073709551615 | sed -n 's/  unsigned  //p')"
  rejects 2 "number of arguments" num
  "$program" num 1 nonsense 2 >out 2>err && fail "nonsense"
  expect_equal rest "velmor-core: \"nonsense\" is no number 2" "$(<err) $(grep -c double out)"
}

uuid_makes_reads_and_compares() {
  local a=00112233-4455-6677-8899-aabbccddeeff b=80112233-4455-6677-8899-aabbccddeeff
  [[ $("$program" uuid) =~ ^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$ ]] || fail new
  [[ $("$program" uuid new) == $("$program" uuid new) ]] && fail "twice the same"
  expect_equal parsed $a "$("$program" uuid parse "{00112233-4455-6677-8899-AABBCCDDEEFF}")"
  expect_equal relations "less greater equal" "$(for pair in "$a $b" "$b $a" "$a $a"; do "$program" uuid compare $pair; done | xargs)"
  : >file
  rejects 1 "is no UUID" uuid parse "$a "
  rejects 1 "is no UUID" uuid compare $a x
  rejects 2 "new, parse TEXT or compare" uuid $a
}

sha256_agrees_with_sha256sum() {
  take clip.avi tone.wav
  : >empty && echo odd >'a\b
c'
  "$program" sha256 clip.avi tone.wav empty a* >sums || fail sums
  sha256sum --check --strict --quiet sums || fail check
  expect_equal list "$(sha256sum clip.avi tone.wav empty a*)" "$(<sums)"
  expect_equal pipe "$(sha256sum <clip.avi)" "$(cat clip.avi | "$program" sha256)"
  expect_equal "mapped input" "$(sha256sum <clip.avi)" "$("$program" sha256 - <clip.avi)"
  expect_equal "rest of a file" "$(tail -c +101 clip.avi | sha256sum; sha256sum </dev/null)" \
    "$({ dd bs=100 count=1 of=/dev/null status=none; "$program" sha256 - -; } <clip.avi)"
  rejects 1 "gone: No such file" sha256 gone
  rejects 1 "/: cannot be read: Is a directory" sha256 /
}

# So deep that recursion would overflow a stack of 256 KiB.
depth_is_no_matter() {
  local n=30000 i size text=
  for ((i = n - 1; i >= 0; --i)); do
    size=$((i * 12 + 4))
    printf -v text '%sLIST\\x%x\\x%x\\x%x\\x00deep' "$text" $((size & 255)) $((size >> 8 & 255)) $((size >> 16))
    if ((i % 100 == 0)); then
      printf '%b' "$text"
      text=
    fi
  done | sed '1s/^LIST/RIFF/' >deep
  ulimit -s 256
  expect_equal sound "deep: sound, $n chunks" "$("$program" verify deep)"
  [[ $("$program" tree deep | tail -n 1) =~ ^\ +[0-9]+\ +\($((n - 1))\)\ LIST:deep\ +4\ +12$ ]] || fail "tree"
  "$program" set --dry-run deep RIFF/LIST/abc x 2>err && fail "nothing there"
  "$program" recycle deep RIFF/LIST || fail recycle
  expect_equal "after recycling" "0 RIFF:deep $((n * 12 - 8)) 1 JUNK $((n * 12 - 20))" "$(shown_tree deep | xargs)"
}

main
