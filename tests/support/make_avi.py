# make_avi.py SOURCE OUTPUT absolute|opendml: rewrites an AVI of ffmpeg. The result has an idx1 with
# offsets from the start of the file, or the indexes of OpenDML and a second RIFF (AVIX).
import struct
import sys


def chunk(name, data):
    return name + struct.pack("<I", len(data)) + data + b"\0" * (len(data) % 2)


def children(data):
    at = 0
    while at < len(data):
        size, = struct.unpack_from("<I", data, at + 4)
        yield data[at:at + 4], data[at + 8:at + 8 + size]
        at += 8 + size + size % 2


def movi(offset, frames):
    """LIST:movi at offset; each ix as (offset, size, count); each frame as (id, offset, size)."""
    body, entries = b"movi", []
    for name, data in frames:
        entries.append((name, offset + 8 + len(body), len(data)))
        body += chunk(name, data)
    supers = []
    for name in b"00dc", b"01wb":
        mine = [(at + 8 - offset, size) for entry, at, size in entries if entry == name]
        index = struct.pack("<HBBI4sQI", 2, 0, 1, len(mine), name, offset, 0)
        index = chunk(b"ix" + name[:2], index + b"".join(struct.pack("<II", *e) for e in mine))
        supers.append((offset + 8 + len(body), len(index), len(mine)))
        body += index
    return chunk(b"LIST", body), supers, entries


source = open(sys.argv[1], "rb").read()
start = source.index(b"movi") - 8
head, (_, old), (_, idx1) = source[:start], *list(children(source[start:]))[:2]
frames = list(children(old[4:]))
if sys.argv[3] == "absolute":
    body = chunk(b"LIST", old)
    entries = [struct.unpack_from("<4sIII", idx1, at) for at in range(0, len(idx1), 16)]
    idx1 = b"".join(struct.pack("<4sIII", n, f, o + start + 8, s) for n, f, o, s in entries)
    output = head + body + chunk(b"idx1", idx1)
else:
    half = len(frames) // 2
    body, first, entries = movi(start, frames[:half])
    idx1 = b"".join(struct.pack("<4sIII", n, 16, o - start - 8, s) for n, o, s in entries)
    output = head + body + chunk(b"idx1", idx1)
    more, second, _ = movi(len(output) + 12, frames[half:])
    for stream, name in enumerate((b"00dc", b"01wb")):  # in the free space that ffmpeg reserves
        index = struct.pack("<HBBI4s12x", 4, 0, 0, 2, name)
        index += b"".join(struct.pack("<QII", *part[stream]) for part in (first, second))
        free = output.index(b"JUNK" + struct.pack("<I", 4120))
        output = output[:free] + chunk(b"indx", index.ljust(4120, b"\0")) + output[free + 4128:]
output = output[:4] + struct.pack("<I", len(output) - 8) + output[8:]
if sys.argv[3] == "opendml":
    output += chunk(b"RIFF", b"AVIX" + more)
open(sys.argv[2], "wb").write(output)
