# The overviews: tree --depth and --summary, map and diff. See support/shell.sh for the arguments.
source "${BASH_SOURCE%/*}/../support/shell.sh"

# differences STATUS EXPECTED FILE FILE: the words and paths that diff prints, in one line.
differences() {
  local status shown
  "$program" diff "$3" "$4" >out
  status=$?
  shown=$(awk '{ printf "%s %s; ", $1, $2 }' out)
  expect_equal "diff of $3 and $4" "$1: $2" "$status: ${shown% }"
}

# Many chunks with ids that all differ, in the file "many".
make_many_ids() {
  /usr/bin/python3 - <<'END' || exit 77
import struct
body = b"many" + b"".join(b"%04x" % i + struct.pack("<I", 0) for i in range(30000))
body += b"7000" + struct.pack("<I", 400) + bytes(400) # not the first of its id
body += b"full" + struct.pack("<I", 500) + bytes(500)
open("many", "wb").write(b"RIFF" + struct.pack("<I", len(body)) + body)
END
}

# Tests
depth_and_summary_count_every_chunk() {
  local all
  take clip.avi
  all=$("$program" tree --json clip.avi | grep -o '"id"' | wc -l)
  expect_equal "shown and hidden" "6 $((all - 6))" "$("$program" tree --depth 2 --json clip.avi |
    /usr/bin/python3 -c 'import json, sys; c = json.load(sys.stdin)["chunks"]
print(len(c), sum(x.get("hidden", 0) for x in c))')"
  expect_equal "bytes" "$(stat -c %s clip.avi)" "$("$program" tree --summary clip.avi |
    awk 'NR > 2 { gsub(",", ""); sum += $3 } END { print sum }')"
  "$program" tree --depth 0 clip.avi 2>/dev/null
  expect_equal "status of --depth 0" 2 $?
}

summary_of_many_ids_is_short_and_exact() {
  make_many_ids
  "$program" tree --summary many >out
  expect_equal "lines" 53 "$(wc -l <out)"
  expect_equal "largest" "full 1 508 7000 2 416 $((12 + 8 * 0x7000))" "$(awk 'NR == 3 { print $1, $2, $3 } NR == 4 { print $1, $2, $3, $6 }' out | xargs)"
  expect_equal "others" "(other ids) 29,952" "$(tail -1 out | awk '{ print $1, $2, $3 }')"
}

map_is_a_picture_of_bounded_size() {
  make_many_ids
  take clip.avi
  "$program" map many -o many.svg && "$program" map clip.avi -o 'a&<b.svg' || fail "map"
  (($(stat -c %s many.svg) < 500000)) || fail "size of many.svg"
  head -c 13055 many >few # 16.99 bytes for each of 768 columns
  (($("$program" map --json few | grep -o '"level":1,' | wc -l) <= 2 * 768)) || fail "boxes of a row"
  cp clip.avi $'<&\xef\xbf\xbf".avi'
  "$program" map $'<&\xef\xbf\xbf".avi' -o odd.svg || fail "odd name"
  "$program" map clip.avi -o clip.svg || fail "clip.svg"
  /usr/bin/python3 - <<'END' || fail "SVG"
import xml.etree.ElementTree as ET
ns = "{http://www.w3.org/2000/svg}"
for name in "many.svg", "odd.svg", "a&<b.svg":
    ET.parse(name)
hints = [t.text for t in ET.parse("clip.svg").iter(ns + "title")]
assert "LIST:movi\noffset 9,966\n8,684 bytes (8.4 KiB), 46.2 % of the file" in hints, hints
END
  "$program" map clip.avi -o clip.svg 2>err
  expect_equal "status for an existing picture" 1 $?
  "$program" map clip.avi -o clip.avi 2>/dev/null
  expect_equal "status for another ending" 2 $?
  cmp -s clip.avi "$data/clip.avi" || fail "clip.avi was changed"
  COLUMNS=40 "$program" map clip.avi | sed -n 2,5p | awk 'length > 38' | grep -q . && fail "too wide"
  "$program" map -o page.html clip.avi && grep -q '</svg>' page.html || fail "page"
}

diff_names_what_changed() {
  take tagged.wav clip.avi
  differences 0 "" tagged.wav tagged.wav
  "$program" remove tagged.wav RIFF/LIST:INFO/IART -o a.wav || fail remove
  differences 1 "removed RIFF:WAVE/LIST:INFO/IART;" tagged.wav a.wav
  differences 1 "added RIFF:WAVE/LIST:INFO/IART;" a.wav tagged.wav
  "$program" set tagged.wav RIFF/LIST:INFO/INAM longer -o a.wav --force || fail set
  differences 1 "changed RIFF:WAVE/LIST:INFO/INAM;" tagged.wav a.wav
  cp tagged.wav a.wav
  printf '\x7f' | dd of=a.wav bs=1 seek=$((116 + 8 + 5000)) conv=notrunc status=none
  differences 1 "changed RIFF:WAVE/data;" tagged.wav a.wav
  grep -q '; data byte 5000 is the first that differs$' out || fail "offset: $(<out)"
  "$program" remove clip.avi 'RIFF/LIST:movi/00dc[2]' -o b.avi 2>/dev/null || fail remove
  differences 1 "removed RIFF:AVI/LIST:movi/00dc; changed RIFF:AVI/idx1;" clip.avi b.avi
  printf 'x' | cat clip.avi - >c.avi
  differences 1 "added (no;" clip.avi c.avi
  "$program" diff --quiet clip.avi c.avi
  expect_equal "status of --quiet" 1 $?
  "$program" diff clip.avi none 2>/dev/null
  expect_equal "status without a file" 2 $?
}

# The second file has the chunks of the first in another order: one move is enough to explain it.
diff_finds_the_fewest_moves() {
  /usr/bin/python3 - <<'END' || exit 77
import struct
def chunk(i, d): return i + struct.pack("<I", len(d)) + d
def group(n, *c): b = n + b"".join(c); return b"LIST" + struct.pack("<I", len(b)) + b
def riff(*c): b = b"test" + b"".join(c); return b"RIFF" + struct.pack("<I", len(b)) + b
a, b, c, x = (chunk(b"same", bytes([n]) * 5000) for n in range(4))
open("a", "wb").write(riff(a, b, c, x))
open("b", "wb").write(riff(x, a, b, c))
g = [group(b"rec ", chunk(b"data", bytes([n, 0]))) for n in range(3)]
open("c", "wb").write(riff(*g))
open("d", "wb").write(riff(g[2], g[0], group(b"rec ", chunk(b"data", b"\7\0"))))
END
  differences 1 "moved RIFF:test/same;" a b
  grep -q 'from 15036 to 12$' out || fail "places: $(<out)"
  differences 1 "moved RIFF:test/LIST:rec; changed RIFF:test/LIST:rec/data;" c d
}

diff_skips_holes() {
  printf 'RIFF\xf8\xff\xff\xefWAVEdata\xec\xff\xff\xef' >a
  truncate -s $((0xf0000000)) a
  cp a b
  printf x | dd of=b bs=1 seek=4000000000 conv=notrunc status=none
  differences 1 "changed RIFF:WAVE/data;" a b
  grep -q '; data byte 3999999980 is the first that differs$' out || fail "$(<out)"
}

json_follows_the_schema() {
  take clip.avi tagged.wav
  {
    "$program" tree --depth 1 --json clip.avi && "$program" tree --summary --json clip.avi &&
      "$program" map --json clip.avi tagged.wav && "$program" diff --json clip.avi clip.avi
    "$program" diff --json clip.avi tagged.wav
  } >lines
  expect_equal "lines" 6 "$(wc -l <lines)"
  expect_schema lines
}

main
