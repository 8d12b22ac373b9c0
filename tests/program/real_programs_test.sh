# Other programs read a file after an edit as they read it before, and decode the same audio or
# pictures. Skipped (status 77) where they are not installed. See support/shell.sh for arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

needs() {
  local name
  for name; do
    type "$name" >/dev/null 2>&1 && continue
    echo "$name is not installed"
    exit 77
  done
}

# What the programs for this kind of file report about it. Leaves out what webpinfo says about
# unknown chunks, such as free space: the format allows them.
complaints() {
  case $1 in
    *.webp) webpinfo -diag "$1" 2>&1 | grep -i -E "error|warning|invalid" |
      grep -v -E "Unknown chunk at offset|^There were [0-9]+ warning|^No error detected" ;;
    *.wav) ffprobe -v warning -show_format -show_streams "$1" 2>&1 >/dev/null && soxi "$1" 2>&1 >/dev/null ;;
    *) ffprobe -v warning -show_format -show_streams "$1" 2>&1 >/dev/null ;;
  esac
}

# Checksums of everything that a file decodes to; fails if decoding fails.
decoded() {
  case $1 in
    *.webp) dwebp -quiet "$1" -pam -o - | sha256sum ;;
    *.wav) soxi -s -c -r -b "$1" && ffmpeg -v error -i "$1" -f framemd5 - | grep -v '^#' ;;
    *) ffmpeg -v error -i "$1" -map 0 -f framemd5 - | grep -v '^#' ;;
  esac
}

begin() {
  file=$1
  take "$file"
  complaints_before=$(complaints "$file")
  decoded_before=$(decoded "$file") || fail "cannot decode $file"
}

# edit COMMAND ARGUMENT...: edits $file and has it read.
edit() {
  local command=$1
  shift
  "$program" "$command" "$file" "$@" || fail "$command $*"
  expect_equal "complaints after $command $*" "$complaints_before" "$(complaints "$file")"
  expect_equal "contents after $command $*" "$decoded_before" "$(decoded "$file")"
}

# tag KEY: what ffprobe reads
tag() { ffprobe -v error -show_entries "format_tags=$1" -of default=nk=1:nw=1 "$file"; }

tag_is() { expect_equal "tag $1" "$2" "$(tag "$1")"; }

# Tests

wav() {
  needs ffmpeg ffprobe soxi
  begin tone.wav
  edit add RIFF:WAVE/LIST:INFO
  edit add RIFF:WAVE/LIST:INFO/INAM "Tone"
  tag_is title "Tone"
  edit set RIFF:WAVE/LIST:INFO/INAM "A tone of 440 Hz, half a second long"
  tag_is title "A tone of 440 Hz, half a second long"
  edit set RIFF:WAVE/LIST:INFO/INAM "Odd."
  edit add RIFF:WAVE/LIST:INFO/IART "Nobody"
  edit recycle RIFF:WAVE/LIST:INFO/INAM
  tag_is title ""
  tag_is artist "Nobody"
  edit remove RIFF:WAVE/LIST:INFO
  cmp tone.wav "$data/tone.wav" || fail "not the same file"

  begin tagged.wav # its tags come before the audio
  edit set RIFF:WAVE/LIST:INFO/INAM "Concert pitch, as agreed upon in 1939"
  tag_is title "Concert pitch, as agreed upon in 1939"
  edit recycle RIFF:WAVE/LIST:INFO/ICMT
  edit add RIFF:WAVE/LIST:INFO/IGNR "Test"
  tag_is genre "Test"
  edit recycle RIFF:WAVE/LIST:INFO
  edit remove RIFF:WAVE/JUNK
}

avi() {
  needs ffmpeg ffprobe
  begin clip.avi
  edit set RIFF:AVI/LIST:INFO/INAM "A title that is much longer than the one before it"
  tag_is title "A title that is much longer than the one before it"
  edit set RIFF:AVI/LIST:INFO/INAM "Card"
  tag_is title "Card"
  edit add RIFF:AVI/LIST:INFO/IART "Nobody in particular"
  edit recycle RIFF:AVI/LIST:INFO/INAM
  edit add RIFF:AVI/LIST:INFO/IGNR "A"
  tag_is artist "Nobody in particular"
  tag_is genre "A"
  edit add RIFF:AVI/note "takes some of the free space before the pictures"
  edit remove RIFF:AVI/LIST:INFO/IART
  edit remove RIFF:AVI/LIST:hdrl/JUNK
  edit recycle RIFF:AVI/LIST:INFO
  tag_is title ""
}

webp() {
  needs webpinfo webpmux dwebp
  begin card.webp
  edit add RIFF:WEBP/note "A chunk that nobody knows"
  edit remove RIFF:WEBP/note

  begin alpha.webp
  xmp() { webpmux -get xmp "$file" -o - 2>/dev/null; }
  edit set RIFF:WEBP/XMP "<x:xmpmeta xmlns:x='adobe:ns:meta/'>a longer one, of odd size.</x:xmpmeta>"
  expect_equal XMP "<x:xmpmeta xmlns:x='adobe:ns:meta/'>a longer one, of odd size.</x:xmpmeta>" "$(xmp)"
  edit set RIFF:WEBP/XMP "<x/>"
  expect_equal XMP "<x/>" "$(xmp)"
  edit add RIFF:WEBP/note "A chunk that nobody knows"
  edit recycle RIFF:WEBP/note
  edit remove RIFF:WEBP/JUNK
  edit recycle RIFF:WEBP/XMP # also clears the flag for XMP in VP8X
  edit remove RIFF:WEBP/JUNK
}

main
