# What "check" finds and "repair" mends, and what other programs make of it. See support/shell.sh for
# the arguments.
fixtures=$(realpath "${BASH_SOURCE%/*}/data")
source "${BASH_SOURCE%/*}/../support/shell.sh"

bytes() { printf "$(printf '\\x%s' "$@")"; }

# finds STATUS FILE [FINDING...]: all that check says, and in this order
finds() {
  local status=$1 file=$2 expected=""
  shift 2
  "$program" check "$file" >out 2>err
  expect_equal "status of $file" "$status" $?
  (($#)) && expected=$(printf "velmor-core: $file: %s\n" "$@")
  expect_equal "findings in $file" "$expected" "$(<err)"
}

# mends FILE [OPTION...]: into the file "mended", which is clean and opens; sets `said`
mends() {
  rm -f mended
  said=$("$program" repair "$@" -o mended 2>&1) || fail "repair of $1: $said"
  "$program" check mended >out 2>err || fail "still damaged, $1: $(<err)"
  [[ -s err ]] && fail "warnings after repair of $1: $(<err)"
  "$program" tree mended >out || fail "tree of mended $1"
}

judged_sound() {
  local kind=$1 complaints
  case $kind in
    wav) complaints=$(soxi mended 2>&1 >out && ffprobe -v warning mended 2>&1) || fail "$complaints" ;;
    avi) complaints=$(ffprobe -v warning mended 2>&1 && ffmpeg -v error -i mended -f null - 2>&1) || fail "$complaints" ;;
    webp) complaints=$(webpinfo -quiet mended 2>&1) || fail "$complaints" ;;
  esac
  expect_equal "complaints about $kind" "" "$complaints"
}

needs() {
  local name
  for name; do type "$name" >/dev/null 2>&1 || { echo "$name is not installed"; exit 77; }; done
}

# Tests

streams_get_their_sizes() {
  needs ffmpeg ffprobe soxi
  cp "$fixtures"/* .
  finds 1 streamed_ffmpeg.wav \
    "RIFF:WAVE/data has the size 0xFFFFFFFF of an unfinished stream, and 1600 bytes (at offset 36)" \
    "RIFF:WAVE has the size 0xFFFFFFFF of an unfinished stream, and 1636 bytes (at offset 0)"
  finds 1 streamed_sox.wav \
    "RIFF:WAVE/data has the size 0x7FFFF000 of an unfinished stream, and 1600 bytes (at offset 36)" \
    "RIFF:WAVE has the size 0x7FFFF024 of an unfinished stream, and 1636 bytes (at offset 0)"
  local file size
  for file in streamed.avi zero_sizes.avi; do
    [[ $file == zero* ]] && size=0 || size=0xFFFFFFFF
    finds 1 $file \
      "RIFF:AVI/LIST:movi has the size $size of an unfinished stream, and 8676 bytes (at offset 1442)" \
      "RIFF:AVI has the size $size of an unfinished stream, and 10118 bytes (at offset 0)"
    mends $file
    judged_sound avi
    cmp <(tail -c +1451 $file) <(tail -c +1451 mended) || fail "pictures of $file"
  done
  # A recorder that was stopped: the sizes of an empty file.
  { head -c 4 streamed_sox.wav && bytes 24 00 00 00 && head -c 40 streamed_sox.wav | tail -c +9 &&
    bytes 00 00 00 00 && tail -c +45 streamed_sox.wav; } >stopped.wav
  finds 1 stopped.wav "RIFF/data has the size 0 of an unfinished stream, and 1600 bytes (at offset 36)"
  for file in streamed_ffmpeg.wav streamed_sox.wav stopped.wav; do
    mends $file
    judged_sound wav
    "$program" extract mended RIFF:WAVE/data | cmp - <(tail -c +45 $file) || fail "samples of $file"
  done
}

ends_are_mended() {
  needs ffprobe soxi
  cp "$fixtures"/*.wav .
  finds 1 no_pad.wav "RIFF:WAVE/data lacks the pad byte behind its odd size (at offset 36)"
  mends no_pad.wav
  judged_sound wav
  { cat no_pad.wav && bytes 00; } | cmp - mended || fail "pad byte"
  { cat no_pad.wav && printf x; } >stale.wav
  finds 0 stale.wav "warning: the pad byte of RIFF:WAVE/data is 120, not 0 (at offset 845)"
  cp mended expected
  mends stale.wav
  cmp mended expected || fail "stale pad byte"

  finds 1 tag_behind.wav "128 bytes behind the last group (an ID3v1 tag) (at offset 1644)"
  mends tag_behind.wav
  judged_sound wav
  cmp <(head -c 1644 mended) <(head -c 1644 tag_behind.wav) || fail "sound in front of a tag"
  cmp <(tail -c 128 mended) <(tail -c 128 tag_behind.wav) || fail "tag"
  mends tag_behind.wav --drop-trailing
  cmp mended <(head -c 1644 tag_behind.wav) || fail "dropped tag"
}

every_truncation_is_mended() {
  needs soxi webpinfo
  local kind file first n kept sizes
  head -c 145 "$fixtures/no_pad.wav" >short && mends short && mv mended short.wav
  for kind in webp wav; do
    [[ $kind == webp ]] && file=$data/card.webp first=21 sizes=$(echo {1..40} {700..953..23}) ||
      file=short.wav first=45 sizes=$(echo {1..145})
    for n in $sizes; do
      head -c $n "$file" >cut
      "$program" check cut >out 2>err
      expect_equal "status at $n" 1 $?
      grep -q "^velmor-core: cut: .* (at offset [0-9]*)$" err || fail "message at $n: $(<err)"
      if ((n < 12)); then
        "$program" repair cut -o none 2>err && fail "repair at $n"
        [[ -e none ]] && fail "output at $n"
        continue
      fi
      mends cut
      kept=$n
      [[ $said =~ "chunk tail (at offset "([0-9]+) ]] && kept=${BASH_REMATCH[1]}
      # Bytes 5 to 8 are the size of the RIFF; then those of the chunks in it.
      { cmp -l <(head -c $kept cut) <(head -c $kept mended) || true; } |
        awk '!($1 > 4 && $1 < 9 || $1 > 16 && $1 < 21 || $1 > 40 && $1 < 45) { exit 1 }' ||
        fail "bytes changed at $n"
      cmp <(tail -c +$((kept + 1)) cut) <(tail -c +$((kept + 9)) mended | head -c $((n - kept))) ||
        fail "bytes lost at $n"
      ((n < first)) && continue
      if [[ $kind == wav ]]; then
        soxi mended >out 2>err && [[ ! -s err ]] || fail "soxi at $n: $(<err)"
      elif ((n >= 700)); then # the picture's first partition is whole: it cannot do without
        webpinfo -quiet mended >out 2>&1 || fail "webpinfo at $n: $(<out)"
      fi
    done
  done
}

all_findings_are_named() {
  list() { printf 'LIST' && bytes "$1" 00 00 00 && printf 'grp '; }
  leaf() { printf 'leaf' && bytes "$1" 00 00 00; }
  { list 10 && leaf 09 && printf abcd && list 11 && leaf 03 && printf 'abcx' && printf '\0' && leaf 00; } >file
  finds 1 file \
    "LIST:grp/leaf ends 6 bytes behind the end of its group (at offset 12)" \
    "warning: the pad byte of LIST:grp/leaf is 120, not 0 (at offset 47)" \
    "2 bytes at the end of LIST:grp are too few for a chunk header (at offset 48)" \
    "7 bytes behind the last group (at offset 50)"
  sha256sum file >sums
  "$program" repair file --in-place >out 2>err && fail "no right answer"
  grep -q "no single right answer" err && sha256sum --quiet -c sums || fail "changed: $(<err)"
  { list 0e && leaf 04 && printf abcd; } >file # the group was not brought up to date
  finds 1 file "LIST:grp/leaf ends 2 bytes behind the end of its group (at offset 12)"
  cp file mended-in-place
  mends file
  "$program" repair file -o mended 2>err && fail "overwritten"
  "$program" repair --in-place mended-in-place >out && cmp mended-in-place mended || fail "in place"
  "$program" repair mended-in-place >out && [[ $(<out) == *"nothing to repair" ]] || fail "sound"
  printf 'RF64\xff\xff\xff\xffWAVE' >rf64
  finds 3 rf64 "is RF64, with sizes of 64 bits, which are not read here"
  finds 3 gone "No such file or directory"
}

main
