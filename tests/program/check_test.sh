# What "check" finds and "repair" repairs, and whether other programs read the result. See
# support/shell.sh for the arguments.
fixtures=$(realpath "${BASH_SOURCE%/*}/data")
source "${BASH_SOURCE%/*}/../support/shell.sh"

bytes() { printf "$(printf '\\x%s' "$@")"; }

needs() {
  local name
  for name; do type "$name" >/dev/null 2>&1 || { echo "$name is not installed"; exit 77; }; done
}

# finds STATUS FILE [FINDING...]: check reports exactly these findings, in this order
finds() {
  local status=$1 file=$2 expected=""
  shift 2
  "$program" check "$file" >out 2>err
  expect_equal "status of $file" "$status" $?
  (($#)) && expected=$(printf "velmor-core: $file: %s\n" "$@")
  expect_equal "findings in $file" "$expected" "$(<err)"
}

# repairs FILE [OPTION...]: into "repaired", where check finds at most a missing index; sets `said`
repairs() {
  rm -f repaired
  said=$("$program" repair "$@" -o repaired 2>&1) || fail "repair of $1: $said"
  "$program" check repaired >out 2>err || fail "still damaged, $1: $(<err)"
  [[ -s err && $(<err) != *"announces an index (idx1 or indx), but has none"* ]] && fail "warnings after repair of $1: $(<err)"
  "$program" set repaired 'RIFF[1]/data' x --dry-run >out 2>err || [[ $(<err) == *"no chunk data"* ]] || fail "opens: $(<err)"
}

# refuses FILE [OPTION...]: repair writes nothing
refuses() {
  rm -f repaired
  "$program" repair "$@" -o repaired >out 2>err && fail "repair of $1: $(<out)"
  [[ -e repaired || -s out ]] && fail "output of repair of $1: $(<out)"
  return 0
}

judged_sound() {
  local complaints
  case $1 in
    wav) complaints=$(soxi repaired 2>&1 >out && ffprobe -v warning repaired 2>&1) || fail "$complaints" ;;
    avi) complaints=$(ffprobe -v warning repaired 2>&1 && ffmpeg -v error -i repaired -f null - 2>&1) || fail "$complaints" ;;
  esac
  expect_equal "complaints about $1" "" "$complaints"
}

# Tests

streams_get_their_sizes() {
  needs ffmpeg ffprobe soxi
  cp "$fixtures"/* .
  # A recorder was stopped: the sizes are those of an empty file.
  { head -c 4 streamed_sox.wav && bytes 24 00 00 00 && head -c 40 streamed_sox.wav | tail -c +9 &&
    bytes 00 00 00 00 && tail -c +45 streamed_sox.wav; } >stopped.wav
  finds 1 stopped.wav "RIFF/data has the size 0, as an unfinished stream has, but holds 1600 bytes (at offset 36)"
  local file size
  for file in streamed.avi zero_sizes.avi; do
    [[ $file == zero* ]] && size=0 || size=0xFFFFFFFF
    finds 1 $file \
      "RIFF:AVI/LIST:movi has the size $size, as an unfinished stream has, but holds 8676 bytes (at offset 1442)" \
      "RIFF:AVI has the size $size, as an unfinished stream has, but holds 10118 bytes (at offset 0)"
    repairs $file
    judged_sound avi
    cmp <(tail -c +1451 $file) <(tail -c +1451 repaired) || fail "pictures of $file"
  done
  for file in streamed_ffmpeg.wav streamed_sox.wav stopped.wav; do
    repairs $file
    judged_sound wav
    cmp <(tail -c +45 repaired) <(tail -c +45 $file) || fail "samples of $file"
    expect_equal "set in $file" "$said" "$(printf 'repaired: set the size of %s\n' 'data to 1600 (at offset 36)' 'RIFF to 1636 (at offset 0)')"
  done
  # A chunk after the samples must not become part of them.
  { cat streamed_ffmpeg.wav && printf LIST && bytes 04 00 00 00 && printf INFO; } >hidden.wav
  # The same if the last of these chunks was cut short.
  { cat hidden.wav && printf 'bext' && bytes 5A 02 00 00; } >cut.wav
  for file in hidden.wav cut.wav; do
    refuses $file
    [[ $(<err) == *"would contain LIST (at offset 1644)"* ]] || fail "$file: $(<err)"
  done
}

# Each row: a file, a command that damages its copy "f", a word for what repair does, a finding.
each_damage_is_named() {
  poke() { bytes "${@:2}" | dd of=f bs=1 seek="$1" conv=notrunc status=none; }
  cut() { truncate -s "$1" f; }
  drop() { { head -c "$1" f && tail -c +$(($1 + $2 + 1)) f; } >g && mv g f; }
  local file damage fate finding status
  cp "$data"/*.{wav,avi,webp} "$fixtures"/*.wav .
  { cat clip.avi && printf 'RIFF\x1c\0\0\0AVIXLIST\x10\0\0\0movi00dc\x04\0\0\0abcd'; } >large.avi
  { printf 'RIFF\x48\0\0\0WEBPVP8X\x0a\0\0\0\x02%9sANIM\x06\0\0\0%6sANMF\x1a\0\0\0%16sVP8 \x02\0\0\0ab'; } | tr ' ' '\0' >anim.webp
  while IFS='|' read -r file damage fate finding; do
    [[ $file ]] || continue
    cp "$file" f
    eval "$damage"
    [[ $fate == warning ]] && status=0 || status=1
    "$program" check f >out 2>err
    expect_equal "status of $file after $damage" $status $?
    grep -qF "f: $finding" <(sed "s/: warning: /: /" err) || fail "$file after $damage: $(<err)"
    case $fate in
      repaired) repairs f ;;
      refused) refuses f ;;
      dropped) refuses f && repairs f --keep-trailing && repairs f --drop-trailing && cmp repaired "$file" || fail "dropped" ;;
    esac
  done <<'END'
tagged.wav|cut 7|refused|the file ends inside a chunk header, 7 bytes into it (at offset 0)
tagged.wav|cut 121|refused|the file ends inside a chunk header, 5 bytes into it (at offset 116)
tagged.wav|cut 8000|repaired|RIFF:WAVE/data ends 124 bytes past the end of the file (at offset 116)
tagged.wav|poke 120 00 00 10|repaired|RIFF:WAVE/data ends 1040576 bytes past the end of the file (at offset 116)
tagged.wav|poke 22 03; poke 32 06; poke 120 00 00 10|refused|RIFF:WAVE/data ends 1040576 bytes past the end of the file
tagged.wav|poke 120 00 00|repaired|RIFF:WAVE/data has the size 0, as an unfinished stream has, but holds 8000 bytes
tone.wav|drop 40 4|refused|7988 bytes in RIFF:WAVE belong to no chunk
tagged.wav|poke 4 00 00|repaired|RIFF:WAVE has the size 0, as an unfinished stream has
tagged.wav|poke 4 80 1f|repaired|RIFF:WAVE/data ends 52 bytes past the end of its group (at offset 116)
tagged.wav|poke 4 b8 1f|repaired|the file ends 4 bytes before the end of RIFF:WAVE (at offset 8124)
tagged.wav|poke 120 3c|refused|4 bytes at the end of RIFF:WAVE are too few for a chunk header; they would belong to the chunk data if its size were 8000
tagged.wav|poke 120 08 00; poke 132 6d 65 74 61 3d 31 2e 35|refused|7992 bytes in RIFF:WAVE belong to no chunk; they would belong to the chunk data if its size were 8000
tagged.wav|poke 40 50|refused|RIFF:WAVE/LIST:INFO/data ends 8000 bytes past the end of its group (at offset 116)
tagged.wav|poke 40 00 00 20|refused|RIFF:WAVE/LIST:INFO ends 2089072 bytes past the end of its group (at offset 36)
tagged.wav|poke 40 03|refused|RIFF:WAVE/LIST:INFO has the size 3, too small for its group id (at offset 36)
tagged.wav|"$program" set --add f RIFF:WAVE/bext A 2>/dev/null|refused|RIFF:WAVE/bext holds 1 byte, fewer than the 602 of its fixed fields
tagged.wav|poke 116 78|refused|RIFF:WAVE has no data chunk
tagged.wav|poke 12 78|refused|RIFF:WAVE has no fmt chunk
tagged.wav|poke 12 64 61 74 61; poke 116 66 6d 74 20|refused|RIFF:WAVE/data comes before the fmt chunk
tagged.wav|poke 22 00|refused|RIFF:WAVE/fmt has 0 channels
tagged.wav|poke 20 03|warning|RIFF:WAVE has no fact chunk
tagged.wav|poke 32 03|warning|the block alignment 3 of RIFF:WAVE/fmt does not fit 1 channel of 16 bits
tagged.wav|poke 63 01|warning|the pad byte of RIFF:WAVE/LIST:INFO/IART is 1, not 0 (at offset 63)
tagged.wav|poke 94 ff|warning|RIFF:WAVE/LIST:INFO/\xffNAM has an id that is not printable
tagged.wav|poke 116 00 00 00 00 00 00 00 00|refused|12 zero bytes in RIFF:WAVE belong to no chunk
tagged.wav|printf '%18s' >>f|dropped|18 bytes after the last chunk; they would belong to the chunk data if its size were 8018 (at offset 8124)
tagged.wav|head -c 4096 /dev/zero >>f|dropped|4096 bytes after the last chunk, all of them 0; they would
tagged.wav|{ printf TAG && head -c 117 /dev/zero; } >>f|dropped|120 bytes after the last chunk; they would
tagged.wav|{ printf TAG && head -c 125 /dev/zero; } >>f|repaired|128 bytes after the last chunk: an ID3v1 tag (at offset 8124)
tagged.wav|{ printf 'APETAGEX\xd0\x07\0\0\x20' && head -c 19 /dev/zero; } >>f|repaired|32 bytes after the last chunk: an APE tag
tagged.wav|{ printf 'APETAGEX\xd0\x07\0\0\x21' && head -c 19 /dev/zero; } >>f|dropped|32 bytes after the last chunk; they would
tagged.wav|{ printf '%10sTAG' && head -c 125 /dev/zero; } >>f|dropped|138 bytes after the last chunk; they would
streamed_ffmpeg.wav|cut 5G|refused|RIFF:WAVE/data has the size 0xFFFFFFFF, as an unfinished stream has, but holds 536870
no_pad.wav|:|repaired|RIFF:WAVE/data lacks the pad byte after its odd size (at offset 36)
clip.avi|cut 15000|repaired|RIFF:AVI/LIST:movi/01wb ends 858 bytes past the end of the file
clip.avi|poke 20 78|refused|RIFF:AVI has no LIST:hdrl
clip.avi|poke 9974 78|refused|RIFF:AVI has no LIST:movi
clip.avi|poke 18666 00 01|warning|1 of 9 entries of RIFF:AVI/idx1 points at no chunk of the same id, the first is entry 1
clip.avi|cut 15000; poke 10914 00 10|refused|RIFF:AVI/LIST:movi/01wb ends 14 bytes past the end of the file
clip.avi|cut 15000; poke 10914 00 10; poke 8 61|refused|RIFF:aVI/LIST:movi/01wb ends 14 bytes past the end of the file
clip.avi|cut 15000; poke 13904 00 10; drop 13950 1|refused|RIFF:AVI/LIST:movi/00dc ends 3005 bytes past the end of the file
clip.avi|cut 15000; poke 14826 78|refused|174 bytes in RIFF:AVI/LIST:movi belong to no chunk
clip.avi|cut 15000; poke 14826 69 78 30 30; poke 14842 30 30 64 63|repaired|RIFF:AVI/LIST:movi/ix00 ends 858 bytes past the end of the file
clip.avi|cut 18750|repaired|RIFF:AVI/idx1 ends 52 bytes past the end of the file
clip.avi|poke 9970 ec|repaired|RIFF:AVI/LIST:movi/idx1 ends 144 bytes past the end of its group
large.avi|cut 18836|repaired|RIFF:AVIX/LIST:movi/00dc ends 2 bytes past the end of the file
large.avi|poke 4 00 00 01|refused|RIFF:AVI/RIFF:AVIX lies in a group that should end before it
large.avi|poke 4 7a|refused|RIFF:AVI/RIFF:AVIX lies in a group that should end before it
large.avi|poke 18802 78|refused|xIFF looks like a group of frames, but its id is that of a data chunk
large.avi|poke 18814 78|refused|RIFF:AVIX/xIST looks like a group of frames, but its id is that of a data chunk
large.avi|poke 18822 78|refused|RIFF:AVIX/LIST:xovi begins with a frame, but its group id is another one
card.webp|cut 900|repaired|RIFF:WEBP/VP8 ends 54 bytes past the end of the file (at offset 12)
card.webp|cut 100|refused|RIFF:WEBP/VP8 ends before the end of the first part of the picture
card.webp|poke 15 51|refused|RIFF:WEBP begins with VP8Q, not with VP8, VP8L or VP8X
card.webp|poke 23 00|refused|RIFF:WEBP/VP8 does not begin like a picture
anim.webp|drop 57 1; cut 78|refused|RIFF:WEBP/ANMF does not begin like a frame
alpha.webp|poke 20 10|warning|RIFF:WEBP/VP8X does not announce XMP, but the file has it
alpha.webp|poke 20 34|warning|RIFF:WEBP/VP8X announces ICCP, but the file has none
END
}

# Data that is cut short may end within a sample. The warnings are those that check finds in the result.
cut_samples_are_repaired() {
  head -c 8001 "$data/tagged.wav" >cut.wav
  "$program" repair cut.wav >out 2>warnings || fail "$(<warnings)"
  "$program" check cut.repaired.wav >out 2>err
  expect_equal warnings "velmor-core: cut.repaired.wav: warning: RIFF:WAVE/data ends 1 byte into a sample block of 2 (at offset 116)" "$(<warnings)"
  expect_equal check "$(<warnings)" "$(<err)"
}

# A file that is cut anywhere is damaged. Repair refuses it, or keeps every byte except the sizes.
every_truncation_is_told() {
  local file n kept
  for file in card.webp tone.wav; do
    for n in {1..60} {700..900..40}; do
      head -c $n "$data/$file" >cut
      "$program" check cut >out 2>err && fail "check at $n"
      grep -q "^velmor-core: cut: .* (at offset [0-9]*)$" err || fail "message at $n: $(<err)"
      "$program" tree cut --any >out 2>err || fail "tree at $n"
      rm -f repaired
      said=$("$program" repair cut -o repaired 2>/dev/null) || { [[ -e repaired ]] && fail "half-way at $n"; continue; }
      kept=$n
      [[ $said =~ "chunk tail (at offset "([0-9]+) ]] && kept=${BASH_REMATCH[1]}
      expect_equal "bytes changed at $n" "" "$({ cmp -l <(head -c $kept cut) <(head -c $kept repaired) || true; } |
        awk '!($1 > 4 && $1 < 9 || $1 > 16 && $1 < 21 || $1 > 40 && $1 < 45)')"
      cmp <(tail -c +$((kept + 1)) cut) <(tail -c +$((kept + 9)) repaired | head -c $((n - kept))) || fail "bytes lost at $n"
    done
    [[ -e repaired ]] || fail "nothing repaired"
  done
}

# Any byte of the headers may be wrong: a repaired file is sound and begins with the same samples.
repairs_keep_the_samples() {
  local at value
  RANDOM=20
  for at in {4..43}; do
    for value in $((RANDOM % 256)) 255; do
      cp "$data/tone.wav" f
      bytes "$(printf %02x $value)" | dd of=f bs=1 seek=$at conv=notrunc status=none
      rm -f repaired && "$program" repair f -o repaired >out 2>err || continue
      "$program" verify repaired >out || fail "$value at $at"
      cmp -n 8000 -i 44 repaired "$data/tone.wav" || fail "$value at $at: samples"
    done
  done
}

# No command reads or changes a file that is no RIFF file.
foreign_files_are_left_alone() {
  local name start command
  while read -r name start; do
    printf "$start" >file
    [[ $name != it* ]] && head -c 4096 /dev/zero | tr '\0' x >>file
    cp file before
    finds 1 file "not a RIFF file: ${name//_/ } (at offset 0)"
    for command in repair "repair --in-place" "repair --drop-trailing" "set RIFF/data x" "add RIFF:WAVE" "add abcd x" \
      "remove --in-place RIFF" "recycle RIFF" "extract RIFF/data" tree; do
      read -ra words <<<"$command"
      "$program" "${words[0]}" file "${words[@]:1}" >out 2>err && fail "$command of $name"
      [[ $(<err) == "velmor-core: file: not a RIFF file: "* ]] || fail "$command of $name: $(<err)"
    done
    cmp file before && expect_equal files "before err file out" "$(echo *)"
  done <<'END'
it_looks_like_PNG \x89PNG\r\n\x1a\n
it_looks_like_JPEG \xff\xd8\xff\xe0
it_looks_like_MP4 \x00\x00\x00\x20ftypisom
it_looks_like_MP3 \xff\xfb\x90\x64
it_looks_like_W64,_with_64-bit_sizes riff\x2e\x91\xcf\x11
it_looks_like_AIFF FORM\x00\x00\x10\x00AIFF
it_is_empty
it_holds_only_zeros \x00\x00\x00\x00\x00\x00\x00\x00\x00
END
}

# A million wrong chunks once took minutes, or all memory.
time_grows_with_the_file() {
  local kind i
  for kind in 'LIST\xf0\xff\xff\x7fabcd' 'LIST\x00\x00\x00\x00movi' 'data\x00\x00\x00\x00' 'abcd\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00'; do
    printf "$kind" >one
    for i in {1..18}; do cat one one >two && mv two one; done
    { printf 'RIFF\xf4\xff\xff\xffWAVE' && cat one; } >many
    (ulimit -t 20 && "$program" check many >out 2>err)
    expect_equal "check of $kind" 1 $?
    (ulimit -t 20 && "$program" tree many >out) || fail "tree of $kind"
  done
}

main
