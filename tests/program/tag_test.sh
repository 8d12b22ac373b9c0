# Tags of real files, judged by other programs. See ../support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

needs() {
  local name
  for name; do
    type "$name" >/dev/null 2>&1 || exit 77
  done
}

# tags FILE: "NAME=VALUE" of each tag on a line
tags() { "$program" tag "$1" "${@:2}" | tail -n +2 | sed -E 's/^  ([^ ]+) +[^ ]+ +/\1=/'; }

# probed FILE NAME: what ffprobe reads
probed() { ffprobe -v error -show_entries "format_tags=$2" -of default=nk=1:nw=1 "$1"; }

# expect_lists NUMBER FILE: how many LIST:INFO the file has; and it is sound
expect_lists() {
  expect_equal "lists of $2" "$1" "$("$program" tree "$2" | grep -c ' LIST:INFO ')"
  [[ $("$program" check "$2" 2>&1) == "$2: sound, "* ]] || fail "$2: $("$program" check "$2" 2>&1)"
}

# refuses MESSAGE ARGUMENT...: a failure with this text; no file changes
refuses() {
  local before
  before=$(cat ./* | sha256sum)
  "$program" tag "${@:2}" >out 2>err && fail "accepted ${*:2}"
  [[ $(<err) == "velmor-core: "*"$1"* ]] || fail "message of ${*:2}: $(<err)"
  rm out err
  expect_equal "files after ${*:2}" "$before" "$(cat ./* | sha256sum)"
}

# Tests

others_read_what_was_set() {
  needs ffprobe exiftool ffmpeg sndfile-metadata-get
  local file sound
  take tone.wav tagged.wav clip.avi
  for file in tone.wav tagged.wav clip.avi; do
    sound=$(ffmpeg -v error -i $file -map 0 -f md5 -)
    "$program" tag $file title="Größe 東" ARTIST="A. Fork" comment= track=7 ISBJ=odd || fail $file
    expect_lists 1 $file
    expect_equal "$file" "Größe 東|A. Fork|7||odd" "$(probed $file title)|$(probed $file artist)|$(probed $file track)|$(probed $file comment)|$(exiftool -s3 -Subject $file)"
    expect_equal "exiftool $file" "Größe 東" "$(exiftool -s3 -charset riff=utf8 -Title $file)"
    expect_equal "NUL in $file" 6f646400 "$("$program" extract $file RIFF/LIST:INFO/ISBJ | od -An -tx1 | tr -d ' ')"
    expect_equal "contents of $file" "$sound" "$(ffmpeg -v error -i $file -map 0 -f md5 -)"
    [[ $file == *.avi ]] || expect_equal "sndfile $file" "A. Fork" "$(sndfile-metadata-get --str-artist $file | sed 's/.*: //')"
    "$program" tag $file title= artist= track= ISBJ= || fail "removal $file"
    expect_lists 0 $file
  done
}

# The list stays where it is, and the bytes before it do not change.
lists_are_used_where_they_are() {
  needs ffprobe
  take tagged.wav clip.avi tone.wav
  "$program" tag tagged.wav genre=Rock INAM=x
  expect_equal order $'artist=A Fork\ncomment=440 Hz, half a second\ntitle=x\ngenre=Rock' "$(tags tagged.wav)"
  expect_equal places "RIFF:WAVE fmt LIST:INFO IART ICMT INAM IGNR data" "$("$program" tree tagged.wav | tail -n +3 | awk '{ print $2 }' | xargs)"
  # Of the two titles in the second list, the first is replaced and the other is removed.
  "$program" add tone.wav RIFF/LIST:INFO && "$program" add tone.wav RIFF/LIST/IGNR Pop
  "$program" add tone.wav RIFF/LIST:INFO && "$program" add tone.wav "RIFF/LIST[2]/INAM" one
  "$program" add tone.wav "RIFF/LIST[2]/INAM" two && "$program" add tone.wav "RIFF/LIST[2]/IPRT" 3
  "$program" tag tone.wav title=new artist=A track=4
  expect_equal "two lists" $'genre=Pop\nartist=A\ntitle=new\ntrack=4' "$(tags tone.wav)"
  expect_equal "track" "IPRT" "$("$program" tree tone.wav | grep -oE 'ITRK|IPRT')"
  "$program" tag tone.wav genre= artist=
  expect_lists 1 tone.wav
  # free space in AVI holds a new list, and nothing moves
  "$program" tag clip.avi title= && cp clip.avi old
  "$program" tag clip.avi title=x || fail avi
  expect_equal "size of avi" "$(stat -c %s old)" "$(stat -c %s clip.avi)"
  expect_equal "avi" x "$(probed clip.avi title)"
  expect_lists 1 clip.avi
}

bext_is_read_by_others() {
  needs sndfile-metadata-get exiftool ffprobe mediainfo
  take tone.wav
  local umid
  umid=$(printf '0A%.0s' {1..32})
  "$program" tag tone.wav description="A fork" originator=Me originator-reference=R1 origination-date=2024-02-29 \
    origination-time=23:59:59 time-reference=5000000000 coding-history=$'A=PCM,F=8000\nA=PCM,F=44100' || fail bext
  expect_equal exiftool $'A fork\nMe\nR1\n2024:02:29 23:59:59\n5000000000\n0' \
    "$(exiftool -s3 -Description -Originator -OriginatorReference -DateTimeOriginal -TimeReference -BWFVersion tone.wav)"
  expect_equal sndfile "A fork" "$(sndfile-metadata-get --bext-description tone.wav | sed 's/.*: //')"
  expect_equal history "A=PCM,F=8000..A=PCM,F=44100.." "$(exiftool -s3 -CodingHistory tone.wav)"
  "$program" tag tone.wav umid=0x$umid && expect_equal umid "1 0x$umid" "$(exiftool -s3 -BWFVersion tone.wav) $(probed tone.wav umid)"
  "$program" tag tone.wav loudness=-23.456 max-true-peak=-0.5
  expect_equal levels $'bext-version=2\numid='"${umid,,}"$'\nloudness=-23.46\nmax-true-peak=-0.50' "$(tags tone.wav | grep -E 'version|umid|loud|peak')"
  expect_equal mediainfo "-23.46" "$(mediainfo tone.wav | sed -n 's/^LoudnessValue.*: //p')"
  "$program" tag tone.wav umid= loudness= max-true-peak= coding-history=
  expect_equal "fixed part" "602 2" "$("$program" extract tone.wav RIFF/bext | wc -c) $(exiftool -s3 -BWFVersion tone.wav)"
  expect_equal "one chunk" 1 "$("$program" tree tone.wav | grep -c ' bext ')"
}

values_are_checked_before_any_change() {
  take tone.wav tagged.wav clip.avi card.webp
  local word
  for word in origination-date=2023-02-29 origination-time=24:00:00 loudness=loud loudness=inf loudness=327.67 umid=12 \
    time-reference=-1 originator=123456789012345678901234567890123 bext-version=2 titel=x LIST=x title=$'\xff'; do
    refuses "" tone.wav tagged.wav "$word"
  done
  refuses "INAM is given twice" tone.wav title=1 INAM=2
  refuses "cannot be converted" tone.wav --encoding ISO-8859-1 title=東
  refuses "there is no encoding" tone.wav --encoding NONE title=x
  refuses "end in one NUL" tone.wav --encoding UTF-16LE title=x
  refuses "no file is given" title=x
  refuses "-o takes the result of one file" tone.wav tagged.wav -o x title=1
  refuses "card.webp: holds RIFF:WEBP" card.webp title=x
  refuses "clip.avi: loudness is a field of bext" clip.avi loudness=-1
  refuses "--dry-run needs a tag" clip.avi --dry-run
  # if one file fails, the others still get their tags
  "$program" tag card.webp tone.wav tagged.wav title=x 2>err && fail "status"
  expect_equal "others" "x x" "$(tags tone.wav | grep -oP 'title=\K.*') $(tags tagged.wav | grep -oP 'title=\K.*')"
  cp tone.wav ICMT=a.wav && "$program" tag ./ICMT=a.wav title=y && expect_equal "name with =" title=y "$(tags ./ICMT=a.wav)"
}

encodings_and_json() {
  needs exiftool
  take tone.wav
  "$program" tag tone.wav --encoding ISO-8859-1 title="Größe" || fail latin
  expect_equal exiftool "Größe" "$(exiftool -s3 -charset riff=Latin -Title tone.wav)"
  expect_equal utf-8 'title=Gr\xf6\xdfe' "$(tags tone.wav)"
  expect_equal latin "title=Größe" "$(tags tone.wav --encoding ISO-8859-1)"
  "$program" tag tone.wav artist=$'a"\e[2J\n' time-reference=7 loudness=-1 && "$program" tag --json tone.wav --encoding LATIN1 >json
  expect_equal escaped 'artist=a"\x1b[2J\x0a' "$(tags tone.wav | grep artist)"
  [[ $(<json) == *'{"name":"time-reference","chunk":"bext","value":7},'*'{"name":"loudness","chunk":"bext","value":-1.00}]}' ]] || fail "$(<json)"
  expect_schema json
}

# Every third byte near both ends of a tagged file, and byte 400, is set to 0 and to 255, and the
# file is cut there. Nothing crashes, and no edit damages a file that was sound.
hostile_files_do_no_harm() {
  take tone.wav
  "$program" tag tone.wav title=One originator=Me loudness=-1 && "$program" set tone.wav RIFF/data 1234
  local at size byte status
  size=$(stat -c %s tone.wav)
  for at in $(seq 0 3 60) $(seq $((size - 60)) 3 $((size - 1))) 400; do
    for byte in '\x00' '\xff' cut; do
      if [[ $byte == cut ]]; then head -c $at tone.wav >f; else
        cp tone.wav f
        printf "$byte" | dd of=f bs=1 seek=$at conv=notrunc status=none
      fi
      cp f old
      timeout 10 "$program" tag f >/dev/null 2>&1 || (($? == 1)) || fail "list at $at $byte"
      timeout 10 "$program" tag f title="A longer text" artist=B coding-history=x >/dev/null 2>&1
      status=$?
      ((status == 0 || status == 1)) || fail "edit at $at $byte: $status"
      ((status == 0)) || cmp -s f old || fail "changed at $at $byte"
      "$program" check --quiet old >/dev/null 2>&1 || "$program" verify old >/dev/null 2>&1 || continue
      "$program" verify f >/dev/null 2>&1 || fail "damaged at $at $byte"
    done
  done
}

# A list of very many texts is changed in time linear in its length.
long_lists_are_fast() {
  local count=200000
  take tone.wav
  "$program" set tone.wav RIFF/data 1234 && "$program" add tone.wav RIFF/LIST:INFO
  python3 - $count <<'END' || exit 77
import struct, sys
texts = b"IXXX\2\0\0\0a\0" * int(sys.argv[1]) + b"INAM\2\0\0\0b\0"
wave = open("tone.wav", "rb").read()[:-12]
body = wave[8:] + b"LIST" + struct.pack("<I", 4 + len(texts)) + b"INFO" + texts
open("long.wav", "wb").write(b"RIFF" + struct.pack("<I", len(body)) + body)
END
  timeout 60 "$program" tag long.wav title="A longer title" artist=A || fail "status $?"
  expect_equal tags $'title=A longer title\nartist=A' "$(tags long.wav | grep -v IXXX)"
}

wide_files_are_listed_only() {
  needs ffmpeg
  take tagged.wav
  ffmpeg -v error -i tagged.wav -c copy -rf64 always wide.wav || exit 77
  expect_equal RF64 "Concert pitch" "$(tags wide.wav | grep -oP 'title=\K.*')"
  refuses "wide.wav" wide.wav title=x
  expect_equal pipe "$(tags wide.wav)" "$(cat wide.wav | tags -)"
}

tags_that_are_there_are_not_written() {
  take tone.wav
  local inode tag
  "$program" tag tone.wav title=One originator=Me || fail "first"
  inode=$(stat -c %i tone.wav)
  expect_equal same "tone.wav: has these tags already" "$("$program" tag tone.wav title=One originator=Me artist= umid=)"
  expect_equal inode "$inode" "$(stat -c %i tone.wav)"
  for tag in title=Two originator=You; do
    expect_equal change "" "$("$program" tag tone.wav "$tag")"
    [[ $(tags tone.wav) == *"$tag"* ]] || fail "$tag is not stored"
  done
}

main
