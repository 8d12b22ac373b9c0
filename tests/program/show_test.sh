# Whether the values in "tree" and the fields in "show" are those that other programs report. See
# support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

needs() {
  local name
  for name; do type "$name" >/dev/null 2>&1 || { echo "$name is not installed"; exit 77; }; done
}

# bytes FORMAT NUMBER...: writes numbers as Python's struct does; b'...' are bytes
bytes() { python3 -c "import struct, sys; sys.stdout.buffer.write(struct.pack('$1', $2))"; }

# value FILE PATH: the chunk's value in "tree"
value() { "$program" tree --json "$1" --path "$2" | sed -n 's/.*"value":"\(.*\)"}]}$/\1/p'; }

# field FILE PATH NAME: a field in "show"
field() { "$program" show "$1" "$2" | sed -n "s/^ *[0-9]* *[0-9]*  ${3//[/\\[}  *\(.*\)/\1/p"; }

# probe KIND ENTRIES FILE: entries of a stream, from ffprobe
probe() { ffprobe -v error -select_streams "$1" -show_entries "stream=$2" -of default=nk=1:nw=1 "$3"; }

# Tests

sound_is_described_as_others_describe_it() {
  needs ffmpeg ffprobe sndfile-convert
  take tone.wav
  local codec rate channels words
  while read -r codec rate channels words; do
    ffmpeg -nostdin -v error -y -i tone.wav -c:a "$codec" -ar "$rate" -ac "$channels" out.wav || fail "$codec"
    expect_equal "judge of $codec" "$rate $channels" "$(probe a sample_rate,channels out.wav | xargs)"
    expect_equal "$codec" "$words" "$(value out.wav RIFF/fmt)"
    expect_equal "rate of $codec" "$rate" "$(field out.wav RIFF/fmt sample-rate)"
    [[ $codec != pcm_[fam]* ]] || expect_equal "fact of $codec" "$(probe a duration_ts out.wav)" "$(field out.wav RIFF/fact samples)"
  done <<'END'
pcm_s16le 44100 2 PCM, 2 channels, 44.1 kHz, 16 bit
pcm_s24le 48000 6 PCM, 6 channels, 48 kHz, 24 bit
pcm_f32le 11025 1 float, 1 channel, 11.025 kHz, 32 bit
pcm_alaw 8000 1 A-law, 1 channel, 8 kHz, 8 bit
pcm_mulaw 8000 2 mu-law, 2 channels, 8 kHz, 8 bit
adpcm_ms 22050 2 Microsoft ADPCM, 2 channels, 22.05 kHz, 4 bit
adpcm_ima_wav 22050 1 IMA ADPCM, 1 channel, 22.05 kHz, 4 bit
libmp3lame 44100 2 MP3, 2 channels, 44.1 kHz
END
  ffmpeg -v error -y -i tone.wav -c:a pcm_s24le -ac 6 six.wav
  expect_equal speakers "$(probe a channel_layout six.wav) 63 (FL FR FC LFE BL BR)" "5.1 $(field six.wav RIFF/fmt speakers)"
  expect_equal subformat "00000001-0000-0010-8000-00aa00389b71 (PCM)" "$(field six.wav RIFF/fmt subformat)"
  sndfile-convert -endian=big -float32 six.wav big.wav || return 77
  expect_equal RIFX "$(probe a sample_rate,channels big.wav | xargs)" \
    "$(field big.wav RIFX/fmt sample-rate) $(field big.wav RIFX/fmt channels)"
  expect_equal "RIFX in words" "float, 6 channels, 8 kHz, 32 bit" "$(value big.wav RIFX/fmt)"
}

broadcast_fields_are_those_that_were_written() {
  needs ffmpeg exiftool
  take tone.wav
  ffmpeg -v error -i tone.wav -write_bext 1 -metadata description="A fork, struck" -metadata originator=Me \
    -metadata origination_date=2026-11-23 -metadata origination_time=10:11:12 -metadata time_reference=12345678901 \
    -metadata coding_history="A=PCM,F=8000" bext.wav || return 77
  expect_equal words '2026-11-23 10:11:12, Me, \"A fork, struck\"' "$(value bext.wav RIFF/bext)"
  expect_equal fields "$(exiftool -s3 -Description -Originator -TimeReference -BWFVersion -CodingHistory bext.wav)" \
    "$(for name in description originator time-reference bext-version coding-history; do
      field bext.wav RIFF/bext $name | tr -d '"'
    done)"
  expect_equal "no loudness in version 1" "" "$(field bext.wav RIFF/bext loudness)"
  "$program" extract bext.wav RIFF/bext -o old || fail extract
  { head -c 346 old && bytes '<H64s5h180s' "2, b'UMID', -2345, 250, -100, 32767, -2200, b''"; } >new
  "$program" set bext.wav RIFF/bext @new || fail set
  expect_equal loudness "-23.45|2.50|-1.00|not measured|-22.00" "$(for name in loudness loudness-range max-true-peak \
    max-momentary-loudness max-short-term-loudness; do field bext.wav RIFF/bext $name; done | paste -sd '|')"
  [[ $(field bext.wav RIFF/bext umid) =~ ^554d49440{56}$ ]] || fail umid
}

instruments_and_cue_points_are_shown() {
  needs python3 sndfile-info
  take tone.wav
  bytes '<I 6I 6I' '2, 1,0,0x61746164,0,0,1000, 2,0,0x61746164,0,0,2000' >cue
  bytes '<9I 6I' '0,0,125000,60,0,0,0,1,0, 1,1,100,200,0,3' >smpl
  bytes '<B2b4B' '60,-5,3,1,127,2,126' >inst
  bytes '<I6s' "2, b'Verse\\0'" >labl
  bytes '<2I4s4H5s' "1, 1234, b'rgn ', 0,0,0,0, b'Solo\\0'" >ltxt
  local id
  for id in cue smpl inst; do "$program" add tone.wav RIFF/$id @$id || fail "add $id"; done
  "$program" add tone.wav RIFF/LIST:adtl || fail add
  for id in labl ltxt; do "$program" add tone.wav RIFF/LIST/$id @$id || fail "add $id"; done
  expect_equal values '2 points at 1,000, 2,000
note 60, 1 loop, 100 to 200
note 60, notes 1 to 127, velocities 2 to 126
cue 2: \"Verse\"
cue 1: 1234 samples, \"Solo\"' \
    "$(for id in cue smpl inst LIST/labl LIST/ltxt; do value tone.wav RIFF/$id; done)"
  expect_equal point "id 2, position 0, chunk data, chunk-start 0, block-start 0, sample-offset 2000" \
    "$(field tone.wav RIFF/cue 'points[2]')"
  expect_equal loop "cue-point 1, type 1 (alternating), start 100, end 200, fraction 0, play-count 3" \
    "$(field tone.wav RIFF/smpl 'loops[1]')"
  expect_equal tune "-5 3" "$(field tone.wav RIFF/inst fine-tune) $(field tone.wav RIFF/inst gain)"
  expect_equal judge "Count : 2 Cue ID : 1 Pos : 0 Chunk : data Chk Start : 0 Blk Start : 0 Offset : 1000" \
    "$(sndfile-info tone.wav | sed -n '/Count  *:/p;/Cue ID/p' | head -n 2 | tr -s ' ' | xargs)"
}

video_is_described_as_others_describe_it() {
  needs ffmpeg ffprobe
  ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=30000/1001:duration=2 -f lavfi -i sine=duration=2 \
    -c:v mpeg4 -c:a pcm_s16le -metadata:s:v title=Main a.avi || return 77
  local streams=RIFF/LIST:hdrl/LIST:strl
  expect_equal stream "$(probe v codec_tag_string,width,height,nb_frames a.avi | xargs) 30000/1001" "$(
    field a.avi "${streams}[1]/strf" compression) $(field a.avi "${streams}[1]/strf" width) $(
    field a.avi "${streams}[1]/strf" height) $(field a.avi "${streams}[1]/strh" length) $(
    field a.avi "${streams}[1]/strh" rate)/$(field a.avi "${streams}[1]/strh" scale)"
  expect_equal values "320 x 240, 60 frames, 2 streams
video FMP4, 29.97 fps, 60 frames, 2.002 s
FMP4, 320 x 240, 24 bit
Main
audio, 2 s
PCM, 1 channel, 44.1 kHz, 16 bit" "$(for path in RIFF/LIST:hdrl/avih "${streams}[1]"/{strh,strf,strn} "${streams}[2]"/{strh,strf}; do
    value a.avi "$path"
  done)"
  expect_equal idx1 "$("$program" extract a.avi RIFF/idx1 | wc -c | awk '{ print $1 / 16 }') entries" "$(value a.avi RIFF/idx1)"
  expect_equal entry "chunk 00dc, flags 16 (key frame), offset 4, size $("$program" extract a.avi RIFF/LIST:movi/00dc[1] | wc -c)" \
    "$(field a.avi RIFF/idx1 'entries[1]')"
}

pictures_are_described_as_webpinfo_does() {
  needs cwebp webpmux webpinfo
  take alpha.webp card.webp
  webpmux -frame card.webp +70+10+20+1+b -frame alpha.webp +80 -loop 3 -bgcolor 255,1,2,3 -o moving.webp 2>/dev/null ||
    webpmux -frame card.webp +70+10+20+1+b -frame card.webp +80 -loop 3 -bgcolor 255,1,2,3 -o moving.webp || return 77
  dwebp -quiet card.webp -o card.png && cwebp -quiet -lossless card.png -o lossless.webp || return 77
  expect_equal VP8 "$(webpinfo card.webp | sed -n 's/^ *\(Width\|Height\): //p' | xargs)" \
    "$(field card.webp RIFF/VP8 width) $(field card.webp RIFF/VP8 height)"
  expect_equal VP8L "lossless, $(webpinfo lossless.webp | sed -n 's/^ *\(Width\|Height\): //p' | xargs | sed 's/ / x /')" \
    "$(value lossless.webp RIFF/VP8L)"
  expect_equal VP8X "alpha, XMP; $(webpinfo alpha.webp | sed -n 's/.*Canvas size //p')" "$(value alpha.webp RIFF/VP8X)"
  expect_equal ALPH "lossless, horizontal filter" "$(value alpha.webp RIFF/ALPH)"
  expect_equal ANIM "plays 3 times, #010203ff" "$(value moving.webp RIFF/ANIM), $(field moving.webp RIFF/ANIM background)"
  expect_equal ANMF "$(webpinfo moving.webp | sed -n '/Offset_X/,/Dispose/s/.*: //p' | head -n 6 | xargs)" \
    "$(for name in x y width height duration disposal; do field moving.webp RIFF/ANMF[1] $name; done | sed 's/ (.*//' | xargs)"
}

texts_are_shown_as_texts() {
  take tagged.wav
  printf '<a>\r\n\t\xe2\x82\xac\e[2J \xff\0</a>\0\0' | "$program" add tagged.wav RIFF/iXML @- || fail add
  expect_equal text $'<a>\n\t\xe2\x82\xac\\x1b[2J \\xff\\x00</a>' "$("$program" show tagged.wav RIFF/iXML | tail -n +2)"
  [[ $("$program" show --hex tagged.wav RIFF/iXML | tail -n +2) == *" 3c 61 3e 0d 0a 09 e2 82  ac 1b "*"|<a>"* ]] || fail hex
  # Blocks of 65,536 bytes end within a character.
  { printf x && for ((i = 0; i < 50000; ++i)); do printf '\xe2\x82\xac'; done; } >long
  "$program" set tagged.wav RIFF/iXML @long || fail set
  "$program" show --all tagged.wav RIFF/iXML | tail -n +2 | cmp - <(cat long && echo) || fail "all of a text"
  [[ $("$program" show tagged.wav RIFF/iXML | tail -n 1) == "  84,465 more bytes: --all shows them" ]] || fail "start of a text"
  [[ $("$program" tree tagged.wav) == *"  \"x$(printf '\xe2\x82\xac%.0s' {1..56})...\""* ]] || fail "text in tree"
  "$program" show --all tagged.wav RIFF/data | sed -n 's/^ *[0-9]*  \(.*[0-9a-f]\)  *|.*/\1/p' | tr -d ' \n' >hex
  expect_equal "all of the data" "$("$program" extract tagged.wav RIFF/data | od -An -v -tx1 | tr -d ' \n')" "$(<hex)"
}

# Fields that do not lie within the data, and counts that promise more than there is.
hostile_chunks_are_shown_as_far_as_they_go() {
  needs python3
  take tone.wav clip.avi alpha.webp
  bytes '<I 6I' '0xffffffff, 1,0,0,0,0,77' >cue
  "$program" add tone.wav RIFF/cue @cue || fail add
  expect_equal cue "4294967295 points at 77" "$(value tone.wav RIFF/cue)"
  [[ $("$program" show tone.wav RIFF/cue) == *"states 4,294,967,295 points and has room for 1"* ]] || fail "points"
  local id size
  for id in fmt fact 'cue ' smpl inst bext ds64 DISP 'id3 ' LIST:adtl LIST:INFO; do
    for size in 0 1 3 7 13 17 39 601; do
      cp tone.wav file
      head -c $size /dev/urandom >junk
      [[ $id == LIST* ]] && "$program" add file "RIFF/$id"
      "$program" add file "RIFF/${id/LIST:*/$id/labl}" @junk || fail "add $id"
      truncate -s -$((size / 2)) file
      "$program" tree file >out && "$program" tree --json file >>lines || fail "tree of $id of $size bytes"
      "$program" show --json file "RIFF/${id/LIST:*/$id/labl}[1]" >>lines || fail "show of $id of $size bytes"
    done
  done
  for id in RIFF/LIST:hdrl/avih RIFF/LIST:hdrl/LIST[2]/strf RIFF/idx1 RIFF/LIST:hdrl; do
    "$program" show --json clip.avi $id >>lines || fail "show $id"
  done
  "$program" show --json alpha.webp RIFF/VP8X >>lines
  expect_schema lines
}

raw_reads_headers_only() {
  take tagged.wav
  expect_equal raw "$("$program" tree tagged.wav | sed 's/  "[^"]*"//; s/  PCM.*//')" "$("$program" tree --raw tagged.wav)"
  [[ $("$program" tree --raw --json tagged.wav) == *value* ]] && fail json
  return 0
}

main
