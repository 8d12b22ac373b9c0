# Edits of many chunks, edits that make missing chunks, and several edits at once. See
# ../support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

# becomes NAMES ARGUMENT...: the command on "file" leaves these chunks, as "NAME SIZE"; so does its dry run.
becomes() {
  local names=$1 dry
  shift
  dry=$("$program" "$1" file "${@:2}" --dry-run) || fail "dry run of $*"
  expect_equal "dry run of $*" "$names" "$(tail -n +3 <<<"$dry" | awk '$2 ~ /^[^0-9]/ { print $2, $3 }' | xargs)"
  "$program" "$1" file "${@:2}" >out 2>err || fail "$*: $(<err)"
  expect_equal "$*" "$names" "$("$program" tree file | tail -n +3 | awk '{ print $2, $3 }' | xargs)"
}

# refuses STATUS MESSAGE ARGUMENT...: also as an edit in place, the command changes no byte of "file".
refuses() {
  local status=$1 message=$2 way
  shift 2
  cp file before
  for way in "" --in-place; do
    "$program" "$1" file $way "${@:2}" >out 2>err </dev/null
    expect_equal "status of $*" "$status" $?
    [[ $(<err) == *"$message"* ]] || fail "$*: $(<err)"
    cmp file before && [[ ! -e file.velmor-core-edit ]] || fail "$* changed the file"
  done
}

# make TEXT: an empty group in "file" for each letter in upper case, a chunk for each other letter.
make() {
  printf 'RIFF\4\0\0\0test' >file
  local i letter
  for ((i = 0; i < ${#1}; ++i)); do
    letter=${1:i:1}
    "$program" edit file -e "add RIFF/$([[ $letter == [A-Z] ]] && echo "LIST:$letter" || echo "$letter 123")" 2>err || fail "make: $(<err)"
  done
}

# Tests

missing_chunks_are_made() {
  make a
  refuses 1 "there is no chunk LIST:x in RIFF:test (--add makes it)" set RIFF/LIST:x/b v
  refuses 1 "cannot make LIST: a group that is missing is named with its group id" set --add RIFF/LIST/b v
  refuses 1 "cannot make LIST:x[2]: a new chunk is named without a number" set --add 'RIFF/LIST:x[2]/b' v
  refuses 1 "cannot make LIST:x: a group has no value" set --add RIFF/LIST:x v
  refuses 1 "use the path RIFF:test/LIST:x/b, or --top" set --add LIST:x/b v
  refuses 1 "use the path RIFF:test/b, or --top" set --add RIFF:tset/b v
  refuses 1 "use the path RIFF:test/b, or --top" add b v
  refuses 2 "--top needs --add" set --top RIFF/a v
  becomes "RIFF:test 62 a 3 LIST:x 38 LIST:INFO 26 b 4 INAM 2" edit \
    -e 'set --add RIFF/LIST:x/LIST:INFO/b 123' -e 'add RIFF/LIST/LIST/INAM v'
  becomes "RIFF:test 64 a 3 LIST:x 40 LIST:INFO 28 b 6 INAM 2" set --add RIFF/LIST/LIST/b 12345
  becomes "RIFF:test 64 a 3 JUNK 40" recycle RIFF/LIST
  becomes "RIFF:test 64 a 3 LIST:INFO 14 INAM 2 JUNK 18" set --add RIFF/LIST:INFO/INAM v # in free space
  becomes "RIFF:test 64 a 3 LIST:INFO 14 INAM 2 JUNK 18 b 1" set --add --top b v
  "$program" add file RIFF/a 456 2>err || fail "add"
  expect_equal note "velmor-core: file: note: with the new one, there are 2 chunks a in RIFF:test" "$(<err)"
  "$program" set file 'RIFF/a[1]' err 2>said || fail "set"
  expect_equal "forgotten @" 'velmor-core: file: note: the value is the text "err"; @err stands for the bytes of that file' "$(<said)"
  refuses 1 "there is no chunk a at the top, beside RIFF:test" set a v
}

several_chunks_go_at_once() {
  make abcbAbB
  refuses 1 "RIFF/b[*] and RIFF/b[2] name the same chunk" remove 'RIFF/b[*]' 'RIFF/b[2]'
  refuses 1 "there is no chunk d in RIFF:test" remove RIFF/a RIFF/d
  refuses 1 "there is no chunk d in any of 2 chunks" remove 'RIFF/LIST[*]/d'
  refuses 1 "no RIFF group would be left" recycle RIFF
  refuses 1 "no RIFF group would be left" remove 'RIFF[*]'
  refuses 2 "[*] names all that fit, and one chunk is needed here" set 'RIFF/b[*]' v
  becomes "RIFF:test 64 a 3 c 3 b 3 LIST:A 4 LIST:B 4" remove 'RIFF/b[1]' 'RIFF/b[3]'
  "$program" add file RIFF/LIST:A/x 12 && "$program" add file RIFF/LIST:B/x 1
  refuses 1 "RIFF/LIST[*]/x names a chunk that lies inside a chunk that RIFF/LIST:B names" recycle 'RIFF/LIST[*]/x' RIFF/LIST:B
  cp file all
  becomes "RIFF:test 52 c 3 b 3 LIST:A 4 LIST:B 4" remove 'RIFF/LIST[*]/x' RIFF/a
  cp all file
  becomes "RIFF:test 84 a 3 JUNK 16 LIST:A 14 x 2 JUNK 14" recycle RIFF/LIST:B RIFF/b RIFF/c
  "$program" recycle --force file RIFF 2>err && expect_equal "all recycled" JUNK "$(head -c 4 file)"
  cp all file && truncate -s -1 file # without the pad byte of the last chunk
  becomes "RIFF:test 62 c 3 b 3 LIST:A 14 x 2 LIST:B 4" remove RIFF/a RIFF/LIST:B/x
  cp all file && truncate -s -2 file
  refuses 1 "cannot remove x: RIFF:test/LIST:B/x ends 1 byte past" remove RIFF/a RIFF/LIST:B/x
}

edits_are_made_together_or_not_at_all() {
  make ab
  refuses 1 'edit 2, "remove RIFF/a": there is no chunk a' edit -e 'remove RIFF/a' -e 'remove RIFF/a'
  refuses 1 'edit 3, "set RIFF/b x": there is no chunk b' edit -e 'remove RIFF/b RIFF/a' -e 'add RIFF/c 1' -e 'set RIFF/b x'
  refuses 2 'edit 1, "set RIFF/a '"'x\": a quote is not closed" edit -e "set RIFF/a 'x"
  refuses 2 '"strip" is no edit' edit -e strip
  refuses 2 "no edit is given" edit -e ""
  refuses 2 "wrong number of words after set" edit -e "set RIFF/a"
  refuses 2 "--dry-run applies to all edits" edit -e "remove --dry-run RIFF/a"
  refuses 2 "edits come from -e or from -f" edit
  refuses 2 "standard input can be read only once" edit -e "set RIFF/a @-" -e "set RIFF/b @-"
  becomes "RIFF:test 64 LIST:x 36 c 3 d 12 a 8" edit -e "remove RIFF/a RIFF/b" -e 'set --add RIFF/LIST:x/c 123' \
    -e "add RIFF/LIST/d 'it is \"so\"'\"'s\"" -e 'add RIFF/a "two bit"s'
  expect_equal quotes "it is \"so\"'s two bits" "$("$program" extract file RIFF/LIST/d) $("$program" extract file RIFF/a)"
  printf '# comment\n\n  remove RIFF/a\r\nset RIFF/LIST/c "1 2"' >lines
  becomes "RIFF:test 48 LIST:x 36 c 3 d 12" edit -f lines
  "$program" edit file -f - <<<'remove RIFF/a' 2>err && fail "-f -"
  expect_equal "-f -" 'velmor-core: file: line 1, "remove RIFF/a": there is no chunk a in RIFF:test' "$(<err)"
}

# If much audio follows the chunk that grows, the copy is made with room for the new bytes.
copies_are_the_same_as_edits_in_place() {
  printf 'RIFF\4\0\0\0WAVE' >file
  head -c 36 "$data/tone.wav" | tail -c 16 >format
  head -c 1500000 /dev/urandom >audio
  local edit
  # The three chunks "free" are recycled at the end. One lies before "a". One lies after LIST:INFO
  # and is too small for the edits of that list. One lies after LIST:X and is large.
  "$program" edit file -e "add RIFF/fmt @format" -e "add RIFF/free '$(printf %30s)'" -e "add RIFF/a 123" \
    -e "set --add RIFF/LIST:INFO/INAM x" -e "add RIFF/free 1234" -e "set --add RIFF/LIST:X/LIST:Y/deep x" \
    -e "add RIFF/free '$(printf %99s)'" -e "add RIFF/b 123" -e "add RIFF/c 123" -e "add RIFF/data @audio" -e "recycle RIFF/free[*]" 2>err || fail "$(<err)"
  for edit in "set RIFF/a 1" "set RIFF/c 12345" "set RIFF/c 12345678901" "set RIFF/c '$(printf %30s)'" "set RIFF/b 12345678901" \
    "set RIFF/LIST:INFO/INAM 'A longer title'" "add RIFF/LIST:INFO/IART v" "add RIFF/LIST:X/LIST:new" \
    "set --add RIFF/LIST:X/LIST:u/LIST:v/w 1" "set RIFF/LIST:X/LIST:Y/deep 'as deep as it gets'" \
    "set RIFF/LIST:X/LIST:Y/deep '$(printf %200s)'" "tag title='A longer title' artist=me" \
    "tag title=new description=text" "edit -e 'set RIFF/a 1234567890123' -e 'remove RIFF/b'"; do
    cp file inplace
    cp file copied
    eval "'$program' ${edit%% *} --in-place inplace ${edit#* }" 2>err || fail "$edit: $(<err)"
    eval "'$program' ${edit%% *} copied ${edit#* }" 2>err || fail "$edit: $(<err)"
    eval "'$program' ${edit%% *} file ${edit#* } -o output --force" 2>err || fail "$edit: $(<err)"
    cmp inplace copied && cmp inplace output || fail "$edit"
  done
}

many_chunks_cost_little() {
  type python3 >/dev/null || return 77
  python3 -c '
import struct, sys
chunk = lambda id, data: id + struct.pack("<I", len(data)) + data + bytes(len(data) % 2)
body = b"WAVE" + b"".join(chunk(b"note", b"%d" % i) + chunk(b"data", bytes(900)) for i in range(40000))
open("file", "wb").write(chunk(b"RIFF", body))'
  timeout 60 "$program" remove file 'RIFF/note[*]' || fail "time"
  expect_equal size $((12 + 40000 * 908)) "$(stat -c %s file)"
  "$program" verify file >out && fail "this WAVE has no fmt"
  expect_equal chunks 40001 "$("$program" tree file | grep -c .data)"
}

strip_leaves_what_players_play() {
  type ffmpeg >/dev/null 2>&1 || return 77
  local file before
  take clip.avi tagged.wav tone.wav alpha.webp
  ffmpeg -v error -i tone.wav -c:a adpcm_ms -metadata title=T adpcm.wav && "$program" add adpcm.wav RIFF/JUNK 123
  for file in clip.avi tagged.wav adpcm.wav alpha.webp; do
    cp $file before && before=$(ffmpeg -v error -i $file -f md5 -)
    "$program" strip $file --dry-run >out || fail "dry run of $file"
    cmp $file before || fail "dry run changed $file"
    "$program" strip $file >out || fail $file
    [[ $(<out) == "$file: dropped "*": "*" bytes" ]] || fail "$(<out)"
    expect_equal "frames of $file" "$before" "$(ffmpeg -v error -i $file -f md5 -)"
    (($(stat -c %s $file) < $(stat -c %s before))) || fail "size of $file"
    "$program" strip $file >out
    expect_equal "second strip" "$file: nothing to drop" "$(<out)"
  done
  [[ $("$program" tree adpcm.wav | awk 'NR > 2 { print $2 }' | xargs) == "RIFF:WAVE fmt fact data" ]] || fail adpcm
  take tagged.wav
  printf 'RIFF\4\0\0\0what' >other
  "$program" strip --keep LIST:INFO,bext other tagged.wav tone.wav gone.wav >out 2>err
  expect_equal "status" 1 $?
  expect_equal kept "other: nothing to drop
tagged.wav: nothing to drop
tone.wav: nothing to drop" "$(<out)"
  "$program" strip other 2>err && fail other
  [[ $(<err) == *"other: what a player needs of RIFF:what is not known; --keep names it" ]] || fail "$(<err)"
}

main
