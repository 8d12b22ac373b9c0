# After an edit, the headers and indexes of WebP and AVI agree with the chunks, and other programs
# find nothing to say. See ../support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

needs() {
  local name
  for name; do type "$name" >/dev/null 2>&1 || { echo "$name is not installed" && exit 77; }; done
}

edit() { "$program" "$@" 2>err || fail "$*: $(<err)"; }

sound() { # FILE
  local text
  text=$("$program" check "$1" 2>&1)
  [[ $text == "$1: sound, "*" chunks" ]] || fail "$text"
}

# A checksum of each picture of a WebP, also of an animation's.
pictures() {
  local frame count
  count=$(webpmux -info "$1" | sed -n 's/Number of frames: //p')
  for ((frame = 1; frame <= ${count:-0}; ++frame)); do
    webpmux -get frame $frame "$1" -o frame.webp 2>out && dwebp -quiet frame.webp -pam -o - | sha256sum
  done
  ((${count:-0} > 0)) || dwebp -quiet "$1" -pam -o - | sha256sum
}

# What other programs read from an AVI: all packets, those that are found by seeking, the interleave.
readings() {
  local entries=packet=stream_index,pts,size,flags
  ffprobe -v warning -show_entries $entries "$1" 2>&1
  ffprobe -v warning -read_intervals 0.25%+0.2 -show_entries $entries "$1" 2>&1
  mediainfo "$1" | grep -E "^(Interleave|Duration|Alignment|Frame)"
}

# Tests

webp_header_agrees_with_the_chunks() {
  needs webpinfo webpmux dwebp cwebp img2webp ffmpeg
  local file id name before
  ffmpeg -v error -f lavfi -i testsrc=size=95x64:rate=5 -frames:v 3 frame%d.png
  img2webp -loop 0 -d 100 frame?.png -o animated.webp >out 2>&1 || fail img2webp
  cwebp -quiet -lossless frame1.png -o lossless.webp
  take card.webp alpha.webp
  edit remove alpha.webp RIFF/XMP
  printf 'Exif of odd size!' >EXIF
  printf '<x:xmpmeta xmlns:x="adobe:ns:meta/"/>' >XMP
  printf 'a profile' >ICCP
  for file in card.webp lossless.webp animated.webp alpha.webp; do
    before=$(pictures $file)
    for id in EXIF XMP ICCP; do
      edit add $file RIFF/$id @$id
      name=${id,,}
      webpmux -get "${name%p}$([[ $id == XMP ]] && echo p)" $file -o got 2>out
      cmp got $id || fail "webpmux -get $id $file"
    done
    for id in EXIF ICCP XMP ''; do # checks before each removal, and after the last one
      expect_equal "webpinfo $file" "No error detected." "$(webpinfo -diag $file | grep -iE "error|warning")"
      expect_equal "pictures of $file" "$before" "$(pictures $file)"
      sound $file
      [[ ! $id ]] || edit remove $file RIFF/$id
    done
    webpmux -info $file | grep "Features present: .*metadata" && fail "features of $file"
  done
  # An edit that changes nothing that the header describes does not correct a wrong header. A
  # correction keeps the reserved bits.
  printf '\x3d\x2a\x2b\x2c\x09\0\0\x09\0\0' >header
  edit set alpha.webp RIFF/VP8X @header
  edit add alpha.webp RIFF/note "unknown"
  "$program" extract alpha.webp RIFF/VP8X | cmp - header || fail "VP8X after note"
  edit add alpha.webp RIFF/XMP @XMP
  printf '\x15\x2a\x2b\x2c\x5f\0\0\x3f\0\0' >header
  "$program" extract alpha.webp RIFF/VP8X | cmp - header || fail "VP8X after XMP"
}

avi_indexes_follow_the_frames() {
  needs ffprobe mediainfo python3
  local kind before
  local -a way
  take clip.avi
  for kind in relative absolute opendml; do
    cp clip.avi $kind.avi
    [[ $kind == relative ]] ||
      python3 "${BASH_SOURCE%/*}/../support/make_avi.py" clip.avi $kind.avi $kind || fail $kind
    while read -ra way; do
      cp $kind.avi old.avi
      if [[ ${way[*]} == *movi* ]]; then # makes free space: its removal moves only later frames
        edit recycle old.avi "RIFF:AVI/LIST:movi/01wb[2]"
        [[ $(<err) == *": warning: this edit removes frames that the index lists, "* ]] || fail "$(<err)"
      fi
      before=$(readings old.avi)
      edit "${way[0]}" old.avi "${way[@]:1}"
      expect_equal "$kind: ${way[*]}" "$before" "$(readings old.avi)"
      sound old.avi
    done <<'END'
remove RIFF:AVI/JUNK --in-place
add RIFF:AVI/note 1234567
remove RIFF:AVI/LIST:movi/JUNK
strip
remove RIFF:AVI/JUNK RIFF:AVI/LIST:INFO
END
    before=$(readings old.avi)
    edit edit old.avi -e "add RIFF:AVI/note abc" -e "remove RIFF:AVI/note RIFF:AVI/LIST:hdrl/JUNK" -e "add RIFF:AVI/LIST:hdrl/note abcd"
    expect_equal "$kind: edit" "$before" "$(readings old.avi)"
    sound old.avi
  done
  edit remove old.avi RIFF:AVIX # also removes the entries for its indexes from indx
  sound old.avi
}

# A chunk grows into the free space after its group, and no other byte changes.
groups_grow_into_the_room_behind() {
  local path begin end
  while read -r path begin end; do
    take clip.avi
    edit set clip.avi "$path" "a text that is longer than the one before it, of odd size" --in-place
    expect_equal "size after $path" 18802 "$(stat -c %s clip.avi)"
    cmp -n "$begin" clip.avi "$data/clip.avi" || fail "before $path"
    cmp -i "$end" clip.avi "$data/clip.avi" || fail "after $path"
    sound clip.avi
  done <<'END'
RIFF/LIST:INFO/INAM 8912 9966
RIFF/LIST:hdrl/LIST[2]/strf 4492 8644
END
  take clip.avi
  edit set clip.avi RIFF/LIST:INFO/INAM "$(printf %1033s x)" # fills the room
  expect_equal "exact fit" "" "$("$program" tree clip.avi | grep '^ *[89]... *JUNK.*1,0')"
  cmp -i 9966 clip.avi "$data/clip.avi" || fail "exact fit"
  edit set clip.avi RIFF/LIST:INFO/INAM "$(printf %1035s x)"
  expect_equal "size" 18804 "$(stat -c %s clip.avi)"
  sound clip.avi
}

main
