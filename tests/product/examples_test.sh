# The example programs do what they say; velmor-core shows the result. See support/shell.sh for the first
# arguments; the fourth is the folder with the examples.
source "${BASH_SOURCE%/*}/../support/shell.sh"
examples=$(realpath "$4")

# Tests

retag_wav_sets_and_adds_the_title() {
  local file title
  take tone.wav tagged.wav
  chmod 640 tone.wav
  ln -s tone.wav link.wav
  for file in link.wav tagged.wav; do
    for title in "First title" "A longer title" "x" ""; do
      "$examples/retag_wav" $file "$title" || fail "$file: $title"
      expect_equal title "$title" "$("$program" extract $file RIFF:WAVE/LIST:INFO/INAM | tr -d '\0')"
      "$program" verify $file >/dev/null || fail "$file is damaged by: $title"
      "$program" extract $file RIFF/data | cmp - <(tail -c 8000 "$data/tone.wav") || fail samples
      if type ffprobe >/dev/null 2>&1; then
        expect_equal "title, as ffprobe reads it" "$title" \
          "$(ffprobe -v error -show_entries format_tags=title -of csv=p=0 $file | tr -d '"')"
      fi
    done
  done
  expect_equal mode 640 "$(stat -c %a tone.wav)"
  expect_equal "what is there" "link.wav tagged.wav tone.wav" "$(echo *)"
}

retag_wav_leaves_the_file_whole_when_it_fails() {
  local title
  title=$(printf '%0400d' 0)
  take tone.wav card.webp
  "$examples/retag_wav" card.webp Title 2>err && fail "no WAV"
  cmp card.webp "$data/card.webp" || fail "a file that is no WAV"
  # A limit of 4 KiB for files is too small for the copy, one of 8 KiB too small for the title.
  for limit in 4 8; do
    (trap '' XFSZ && ulimit -f $limit && "$examples/retag_wav" tone.wav "$title") 2>err &&
      fail "no room: $limit KiB"
    grep -q "^tone.wav: " err || fail "no reason"
    cmp tone.wav "$data/tone.wav" || fail "changed: $limit KiB"
  done
  expect_equal "what is there" "card.webp err tone.wav" "$(echo *)"
}

build_riff_builds_a_wav() {
  "$examples/build_riff" new.wav || fail build
  expect_equal tree "new.wav  (16,044 bytes, 3 chunks)
  offset  chunk      data size   total
       0  RIFF:WAVE     16,036  16,044
      12    fmt             16      24
      36    data        16,000  16,008" "$("$program" tree --raw new.wav)"
  if type soxi >/dev/null 2>&1; then
    expect_equal sound "8000 1 8000" "$(soxi -r new.wav) $(soxi -c new.wav) $(soxi -s new.wav)"
  fi
}

main
