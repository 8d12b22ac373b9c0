# Files with 64-bit or big-endian sizes, and files read from standard input. See support/shell.sh
# for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

needs() {
  local name
  for name; do type "$name" >/dev/null 2>&1 || { echo "$name is not installed"; exit 77; }; done
}

poke() { printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

# Makes wide.wav (RF64), bw.wav (BW64) and big.wav (RIFX) with the sound of tone.wav.
make_wide() {
  needs ffmpeg sox
  take tone.wav
  ffmpeg -v error -i tone.wav -c copy -fflags +bitexact -rf64 always wide.wav &&
    sox tone.wav -B big.wav && cp wide.wav bw.wav && poke bw.wav 0 BW64 || fail "making the files"
}

# piped FILE: what tree and check say of a file and of a pipe with its bytes is the same.
piped() {
  local words want got
  for words in "tree --any" "tree --any --json" check "check --json"; do
    want=$("$program" $words "$1" 2>&1; echo $?)
    got=$(cat "$1" | "$program" $words - 2>&1; echo $?)
    expect_equal "$words of $1" "$want" "$(sed "s/standard input/$1/; s/\"file\":\"-\"/\"file\":\"$1\"/" <<<"$got")"
  done
}

# Tests

other_kinds_are_read_and_not_edited() {
  make_wide
  local file riff words before said
  tail -c +45 tone.wav >samples
  for file in wide.wav bw.wav big.wav; do
    riff=$(head -c 4 $file)
    "$program" check $file >out 2>err || fail "check: $(<err)"
    [[ -s err ]] && fail "warnings: $(<err)"
    "$program" extract $file $riff:WAVE/data -o data --force || fail extract
    [[ $riff == RIFX ]] && dd if=data of=swapped conv=swab status=none && mv swapped data
    cmp data samples || fail "samples of $file"
    before=$(cat ./* | sha256sum)
    for words in "set F $riff/data x" "set --dry-run F $riff/data x" "add F $riff/abcd x" "remove --in-place F $riff/data" \
      "recycle F $riff/data" "repair F" "repair F -o new"; do
      said=$("$program" ${words/F/$file} 2>&1) && fail "$words"
      [[ $said == "velmor-core: $file: is a file of the kind $riff, with "*" sizes: velmor-core reads it, but does not change it" ]] ||
        fail "$words: $said"
    done
    expect_equal "files" "$before" "$(cat ./* | sha256sum)"
  done
  "$program" tree --json wide.wav big.wav >lines || fail json
  expect_schema lines
}

# Each row: a file, an offset, bytes that damage it there, a finding.
lies_are_named() {
  make_wide
  local file offset bytes finding
  while IFS='|' read -r file offset bytes finding; do
    cp $file f
    [[ $bytes == cut ]] && truncate -s "$offset" f || poke f "$offset" "$bytes"
    "$program" check f >out 2>err && fail "$finding"
    grep -qF "f: $finding" err || fail "$file, $bytes at $offset: $(<err)"
    "$program" extract f "$(head -c 4 f)/data" >out 2>err
    (($? < 128)) || fail "crash: $bytes at $offset"
    piped f
  done <<'END'
wide.wav|12|x|RF64:WAVE does not begin with a ds64 chunk (at offset 0)
wide.wav|16|\x10|RF64:WAVE/ds64 holds 16 bytes, too few for its sizes (at offset 12)
wide.wav|44|\xff\xff\xff\xff|RF64:WAVE/ds64 states 4294967295 entries in its table and has room for 0
wide.wav|16|\xff\xff\xff\x7f|RF64:WAVE/ds64 has the size 0x7FFFFFFF, as an unfinished stream has
wide.wav|20|\x00\x00|RF64:WAVE has the size 0, as an unfinished stream has, but holds 8072 bytes
wide.wav|20|\xff\xff\xff\xff\xff\xff\xff\xff|RF64:WAVE has the size 2^62 or more, as an unfinished stream has, but holds 8072 bytes
wide.wav|28|\x00\x00|RF64:WAVE/data has the size 0, as an unfinished stream has, but holds 8000 bytes
wide.wav|28|\xfc\xff\xff\xff\xff\xff\xff\xff|RF64:WAVE/data has the size 2^62 or more, as an unfinished stream has
wide.wav|32|\x01|RF64:WAVE/data ends 4294967296 bytes past the end of the file (at offset 72)
wide.wav|30|cut|RF64:WAVE/ds64 ends 18 bytes past the end of the file
wide.wav|12|cut|RF64:WAVE has no
big.wav|4|\xff\xff\xff\xff|RIFX:WAVE has the size 0xFFFFFFFF, as an unfinished stream has, but holds 8036 bytes
big.wav|40|\x01|RIFX:WAVE/data ends 16777216 bytes past the end of the file
big.wav|22|\x00\x00|RIFX:WAVE/fmt has 0 channels
END
}

# Sparse files: 5 GiB of sound; and 9 GiB, with a chunk "big " whose size is in the table of ds64, and
# "data" after it.
sizes_have_64_bits() {
  needs ffprobe mediainfo
  local gib=$((1 << 30))
  le64() { local i; for i in 0 8 16 24 32 40 48 56; do printf '\\x%02x' $(($1 >> i & 255)); done; }
  { printf "RF64\xff\xff\xff\xffWAVEds64\x28\0\0\0$(le64 $((9 * gib + 92)))$(le64 $((4 * gib)))$(le64 0)" &&
    printf "\x01\0\0\0big $(le64 $((5 * gib)))" && printf 'fmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0' &&
    printf 'big \xff\xff\xff\xff'; } >sparse
  truncate -s $((5 * gib + 92)) sparse
  printf 'data\xff\xff\xff\xff' >>sparse
  truncate -s $((9 * gib + 100)) sparse
  expect_equal tree "0 RF64:WAVE 9,663,676,508
12 ds64 40
60 fmt 16
84 big 5,368,709,120
5368709212 data 4,294,967,296" "$("$program" tree sparse | tail -n +3 | awk '{ print $1, $2, $3 }')"
  expect_equal check "sparse: sound, 5 chunks" "$("$program" check sparse 2>&1)"
  expect_equal "another reader's size" $((4 * gib)) "$(mediainfo --Output='Audio;%StreamSize%' sparse)"
  make_wide
  poke wide.wav 20 "$(le64 $((5 * gib + 72)))$(le64 $((5 * gib)))"
  truncate -s $((5 * gib + 80)) wide.wav
  expect_equal check "wide.wav: sound, 4 chunks" "$("$program" check wide.wav 2>&1)"
  expect_equal "size in JSON" 1 "$("$program" tree --json wide.wav | grep -c '"id":"data","dataSize":5368709120,')"
  expect_equal seconds $((5 * gib / 16000)) "$(ffprobe -v error -show_entries stream=duration -of csv=p=0 wide.wav | cut -d. -f1)"
}

standard_input_is_read() {
  needs ffmpeg
  local file said
  take tagged.wav clip.avi card.webp
  head -c 8000 tagged.wav >cut.wav
  head -c 300000 /dev/zero >zeros
  # Longer than what is kept: many pictures, then an index with a wrong entry, then bytes of no chunk.
  ffmpeg -v error -f lavfi -i testsrc=s=640x480 -f lavfi -i sine -t 20 -c:v mjpeg -q:v 4 -c:a pcm_s16le long.avi || fail ffmpeg
  (($(stat -c %s long.avi) > 2000000)) || fail "the film is short"
  cp long.avi wrong.avi
  poke wrong.avi $(($("$program" tree wrong.avi | awk '$2 == "idx1" { print $1 }') + 8 + 16 + 8)) '\x77\x77'
  [[ $("$program" check wrong.avi 2>&1) == *"1 of "*" of RIFF:AVI/idx1 points at no chunk"* ]] || fail "index"
  { cat long.avi && printf TAG && head -c 125 /dev/zero; } >tag.avi
  { cat long.avi && printf 'text of no chunk' && cat zeros; } >trailing.avi
  head -c 1234567 long.avi >short.avi
  cp long.avi unknown.avi
  poke unknown.avi 4 '\0\0\0\0'
  for file in *.*; do piped $file; done
  expect_equal "not RIFF" "velmor-core: standard input: not a RIFF file: it holds only zeros" \
    "$(cat zeros | "$program" tree - 2>&1)"
  expect_equal show "$("$program" show long.avi RIFF/LIST/avih | tail -n +2)" \
    "$(cat long.avi | "$program" show - RIFF/LIST/avih | tail -n +2)"
  said=$(cat long.avi | "$program" show --all - RIFF/LIST:movi/00dc[9] 2>&1) && fail "pictures are kept"
  [[ $said == *"standard input: "*"was not kept"* ]] || fail "$said"
  expect_equal redirected "$("$program" tree clip.avi | tail -n +2)" "$("$program" tree - <clip.avi | tail -n +2)"
  # Sound of 1 GB, in little memory.
  { printf 'RIFF\xff\xff\xff\xff' && head -c 36 "$data/tone.wav" | tail -c +9 && printf 'data\xff\xff\xff\xff' &&
    head -c 1G /dev/zero; } |
    ([[ -z ${FAULTY_CALLS-} ]] || ulimit -v 100000 # sanitizers need more
      exec "$program" check - 2>err)
  [[ $(<err) == *"data has the size 0xFFFFFFFF, as an unfinished stream has, but holds 1073741824 bytes"* ]] || fail "$(<err)"
}

main
