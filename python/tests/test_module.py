"""What the examples in the docstrings do not show: failures, lifetimes, threads, real programs."""

import array
import copy
import doctest
import functools
import gc
import hashlib
import json
import math
import mmap
import os
import re
import shutil
import subprocess
import sys
import threading
import uuid
from pathlib import Path

import pytest

import velmor_core
from velmor_core import __main__ as command

WAVE = b"RIFF\x10\0\0\0WAVEdata\x04\0\0\0abcd"


def writable():
    return velmor_core.memory(bytearray(WAVE))


# --- Failures ---


@pytest.mark.parametrize(
    ("call", "error"),
    [
        (lambda: velmor_core.open("missing.wav"), FileNotFoundError),
        (lambda: velmor_core.open("missing/x.wav", "w"), FileNotFoundError),
        (lambda: velmor_core.open("."), IsADirectoryError),
        (lambda: velmor_core.open("/dev/null"), velmor_core.Error),
        (lambda: velmor_core.open("song.wav", "a"), ValueError),
        (lambda: velmor_core.open(7), TypeError),
        (lambda: velmor_core.memory(WAVE[:15]), velmor_core.FormatError),
        (lambda: velmor_core.memory("text"), TypeError),
        (lambda: velmor_core.memory(WAVE, capacity=99), TypeError),
        (lambda: velmor_core.memory(WAVE, size=25), ValueError),
        (lambda: velmor_core.cache(2**62), MemoryError),
        (lambda: velmor_core.memory(WAVE)[0].recycle(), velmor_core.ReadOnlyError),
        (lambda: velmor_core.open("song.wav")[0].add("data"), velmor_core.ReadOnlyError),
        (lambda: writable()[0].add("more"), velmor_core.NoRoomError),
        (lambda: velmor_core.memory(WAVE)[0].data, velmor_core.WrongKindError),
        (lambda: velmor_core.memory(WAVE)[0][0].add("data"), TypeError),
        (lambda: len(velmor_core.memory(WAVE)[0][0]), TypeError),
        (lambda: velmor_core.memory(WAVE).root.remove(), velmor_core.WrongKindError),
        (lambda: velmor_core.memory(WAVE)[0][1], IndexError),
        (lambda: velmor_core.memory(WAVE)[0][-2], IndexError),
        (lambda: velmor_core.memory(WAVE)[0][0][::2], ValueError),
        (lambda: writable()[0][0].__setitem__(slice(1, 3), b"x"), ValueError),
        (lambda: velmor_core.cache().add("abc"), ValueError),
        (lambda: velmor_core.cache().add(b"abcde"), ValueError),
        (lambda: velmor_core.cache().add(1), TypeError),
        (lambda: velmor_core.cache().add("data", "text"), TypeError),
        (lambda: velmor_core.cache().add("data", memoryview(b"abcd")[::2]), BufferError),
        (lambda: velmor_core.cache().add("RIFF"), ValueError),
        (lambda: velmor_core.cache().add_group("data", "WAVE"), ValueError),
        (lambda: velmor_core.cache().add_copy(velmor_core.cache()), TypeError),
        (lambda: velmor_core.cache().add_all(velmor_core.open("song.wav")), TypeError),
        (lambda: velmor_core.number("4kB"), ValueError),
        (lambda: velmor_core.number("1\0"), ValueError),
        (lambda: velmor_core.number(1), TypeError),
        (lambda: velmor_core.integer("1e30"), OverflowError),
        (lambda: velmor_core.integer("0/0", signed=False), OverflowError),
        (lambda: velmor_core.uuid("0"), ValueError),
        (lambda: velmor_core.sha256("text"), TypeError),
    ],
)
def test_failures_are_the_exceptions_that_users_expect(call, error):
    with pytest.raises(error):
        call()


def test_closed_objects_and_their_chunks_raise():
    f = velmor_core.memory(WAVE)
    chunk, walk = f[0], f.walk()
    next(walk)
    f.close()
    f.close()
    assert repr(chunk) == "<velmor_core.Chunk, ended>" and "closed" in repr(f)
    for use in (lambda: f.size, lambda: f[0], lambda: list(f), lambda: f.__enter__()):
        pytest.raises(velmor_core.ClosedError, use)
    pytest.raises(TypeError, copy.copy, f)
    for use in (lambda: chunk.id, lambda: list(walk)):
        pytest.raises(velmor_core.EndedChunkError, use)


def test_groups_and_chunks_stay_below_four_gibibytes(files):
    with open("large.wav", "wb") as f:
        f.write(b"RIFF\xf0\xff\xff\xffWAVEdata\xe4\xff\xff\xff")
        f.truncate(2**32 - 8)
    with velmor_core.open("large.wav", "r+") as f:
        for edit in (lambda: f[0].add("note", bytes(9)), lambda: f[0][0].resize(2**32 - 1)):
            pytest.raises(velmor_core.SizeLimitError, edit)
        assert f[0].size == 2**32 - 16
        f.add("note", b"12345")  # the root has no limit
        assert f[1].offset == 2**32 - 8


def test_cut_short_data_costs_no_memory():
    f = velmor_core.memory(b"data\xff\xff\xff\xffabcd")
    pytest.raises(velmor_core.Error, lambda: f[0].data)
    assert f[0][1:4] == b"bcd"


def test_interrupted_edits_leave_no_dangling_handle(monkeypatch):
    f = velmor_core.memory(bytearray(WAVE + b"note\0\0\0\0"))
    chunk, other, remove = f[0], f[1], f._library.remove

    def interrupted(handle):
        remove(handle)
        raise KeyboardInterrupt

    monkeypatch.setattr(f._library, "remove", interrupted)
    pytest.raises(KeyboardInterrupt, chunk.remove)
    monkeypatch.undo()
    assert not chunk.is_valid and not other.is_valid
    f[0].remove()
    assert f.size == 0


def test_signal_handlers_cannot_end_what_a_call_uses(monkeypatch):
    f = velmor_core.memory(bytearray(WAVE))
    refused = []

    def interrupted(handle):
        write = functools.partial(f[0][0].__setitem__, slice(0, 0), b"")
        for edit in (f.close, f[0].remove, lambda: f.add("data"), write):
            refused.append(pytest.raises(velmor_core.Error, edit))
        return 7

    monkeypatch.setattr(f._library, "get_data_size", interrupted)
    assert f[0].size == 7 and len(refused) == 4
    monkeypatch.undo()
    f[0].remove()


def test_signal_handlers_fetch_chunks_again_during_an_edit(monkeypatch):
    f = velmor_core.memory(bytearray(WAVE))
    before, data, fetched, resize = f[0], f[0][0], [], f._library.set_data_size

    def interrupted(handle, size):
        pytest.raises(velmor_core.EndedChunkError, lambda: before.id)
        fetched.extend(f[0].walk())
        assert fetched[0].data == b"abcd"
        return resize(handle, size)

    monkeypatch.setattr(f._library, "set_data_size", interrupted)
    data.resize(2)
    assert before[0] == data and not fetched[0].is_valid


# --- Names ---


def test_ids_are_escaped_and_understood():
    f = velmor_core.cache()
    names = {b"fmt ": "fmt ", b"a/:\xff": r"a\x2f\x3a\xff", b"\0\0\0\0": r"\x00" * 4}
    for raw, text in names.items():
        chunk = f.add(raw, raw)
        assert chunk.id == text and f.find(text) == f.find(raw) == chunk
        assert f[chunk.path] == chunk and f.add(text).path.endswith("[2]")


PATHS = ["RIFF:AVI", "RIFF/LIST:movi/00dc[2]", "RIFF:AVI /LIST[2]", "RIFF[1]/LIST[1]/LIST:strl[2]"]
MISSING = ["LIST", "RIFF:WAVE", "RIFF/LIST", "RIFF/LIST:movi/00dc", "RIFF/idx1[2]", "RIFF/idx1/x"]
NO_PATHS = ["", "/", "RIFF/", "RIFFX", "RIFF[0]", "RIFF[x]", "RIFF[1", "RIFF:", r"\x0", r"\n"]


def test_paths_are_those_of_the_program():
    f = velmor_core.open("clip.avi")
    offsets = [f[path].offset for path in PATHS]
    assert offsets == [0, 11942, 8912, 4416]
    for path in MISSING:
        assert path not in f
        pytest.raises(velmor_core.MissingChunkError, lambda: f[path])
        pytest.raises(KeyError, lambda: f[path])
    for path in NO_PATHS:
        pytest.raises(ValueError, lambda: f[path])
    assert str(pytest.raises(KeyError, lambda: f["RIFF/LIST"]).value).startswith("'LIST' fits 3")
    for chunk in f.walk():
        assert f[chunk.path] == chunk


# --- Lifetimes ---


def test_a_bytearray_is_held_and_cut_to_size():
    held = bytearray(WAVE)
    chunk = velmor_core.memory(held, capacity=200)[0]
    gc.collect()
    pytest.raises(BufferError, held.append, 0)
    chunk.add("note", b"12")
    del chunk
    assert bytes(held) == b"RIFF\x1a" + WAVE[5:] + b"note\x02\0\0\x0012"
    held.append(0)
    pytest.raises(velmor_core.FormatError, velmor_core.memory, held, capacity=99)
    assert len(held) == 35


@pytest.mark.parametrize(
    "make", [lambda: array.array("B", WAVE + bytes(20)), lambda: mmap.mmap(-1, 44)]
)
def test_other_buffers_are_all_the_room_there_is(make):
    room = make()
    room[0:24] = array.array("B", WAVE) if isinstance(room, array.array) else WAVE
    with velmor_core.memory(room, size=24) as f:
        f[0][0].data = memoryview(room)[8:20]  # its own bytes
        assert f[0][0].data == b"WAVEdata\x04\0\0\0" and f.size == 32
        pytest.raises(velmor_core.NoRoomError, f[0][0].resize, 25)
    assert bytes(room[:8]) == b"RIFF\x18\0\0\0"


def test_threads_take_turns_on_an_object():
    f = velmor_core.open("shared.riff", "w")
    errors = []

    def work(number):
        try:
            group = f.add_group("LIST", b"%04d" % number)
            for i in range(200):
                chunk = group.add("data", bytes([number]) * (i % 40))
                assert chunk.data == bytes([number]) * (i % 40)
                chunk.recycle() if i % 2 else chunk.resize(7)
        except BaseException as error:
            errors.append(error)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not errors and len(f) == 4
    before = f.tree()
    f.close()
    with velmor_core.open("shared.riff") as again:
        assert again.tree() == before


def test_edits_while_walking():
    f = velmor_core.cache()
    for i in range(30):
        f.add_group("LIST", b"%04d" % i).add("data", b"x")
    seen = [chunk.add("more").parent.name for chunk in f]
    assert len(seen) == 30 and sum(chunk.id == "more" for chunk in f.walk()) == 30
    for i in (0, 2):
        f[i].recycle()
    for chunk in reversed(list(f.walk())):  # one is between two free chunks
        chunk.recycle()
    assert [chunk.size for chunk in f] == [30 * 30 - 8]
    with pytest.raises(velmor_core.EndedChunkError):
        for chunk in f:
            chunk.remove()


# --- Numbers and digests ---


def test_numbers_uuids_and_digests():
    assert math.isinf(velmor_core.number("1/0")) and velmor_core.number("1u5") == 1.5e-6
    assert velmor_core.integer("18446744073709551615") == -1
    assert velmor_core.integer("-1", signed=False) == 2**64 - 1
    assert velmor_core.integer("2^62") == 2**62
    random = velmor_core.uuid()
    assert isinstance(random, uuid.UUID) and random.variant == uuid.RFC_4122
    assert velmor_core.uuid(velmor_core.uuid_text(random)) == random
    assert velmor_core.uuid_text(random) == str(random)
    buffers = (b"", b"a" * 200_000, bytearray(b"abc"), memoryview(b"abcdef")[1:4])
    for data in (*buffers, array.array("d", [1])):
        assert velmor_core.sha256(data) == hashlib.sha256(data).digest()
    assert ".".join(map(str, velmor_core.library_version()[:3])) == velmor_core.__version__
    flags = set(re.search(r"^flags.*:(.*)$", Path("/proc/cpuinfo").read_text(), re.M)[1].split())
    assert {"sse2", "avx2"} & flags == {"sse2", "avx2"} & velmor_core.cpu_features()


# --- Programs ---


def test_examples_of_the_manual():
    text = (Path(__file__).parents[2] / "docs" / "python.md").read_text()
    blocks = re.findall("^```python\n(.*?)^```$", text, re.M | re.S)
    names = {}
    for block in blocks:
        test = doctest.DocTestParser().get_doctest(block, names, "python.md", None, 0)
        flags = doctest.IGNORE_EXCEPTION_DETAIL | doctest.REPORT_UDIFF
        runner = doctest.DocTestRunner(optionflags=flags)
        assert runner.run(test, clear_globs=False).failed == 0
        names = test.globs
    assert len(blocks) > 3


def run(*call):
    if not shutil.which(call[0]):
        pytest.skip(f"{call[0]} is missing")
    return subprocess.run(call, check=True, encoding="latin-1", capture_output=True).stdout


def probe(file):
    shown = run("ffprobe", "-v", "error", "-count_packets", "-show_streams", "-show_format",
                "-of", "json", file)
    return json.loads(shown)


def test_wav_with_new_tags_plays(files):
    example = Path(__file__).parents[2] / "examples" / "retag_folder.py"
    (files / "text.wav").write_text("no chunks at all")
    before = (files / "text.wav").read_bytes(), run("sox", "tone.wav", "-t", "s16", "-")
    call = [sys.executable, example, ".", "IART", "The Tuning Forks"]
    path = os.pathsep.join(p for p in sys.path if p)
    env = {**os.environ, "PYTHONPATH": path}
    done = subprocess.run(call, text=True, capture_output=True, env=env)
    if "cannot load" in done.stderr:
        pytest.skip("the library is not where programs find it")
    assert done.returncode == 1 and "text.wav" in done.stderr and done.stdout.count("done") == 3
    for file in ("tone.wav", "tagged.wav"):
        assert probe(file)["format"]["tags"]["artist"] == "The Tuning Forks"
        assert run("soxi", "-s", file) == "4000\n"
    assert ((files / "text.wav").read_bytes(), run("sox", "tone.wav", "-t", "s16", "-")) == before
    assert not list(files.glob(".*"))


def test_avi_with_a_new_title_keeps_its_frames():
    before = probe("clip.avi")
    with velmor_core.open("clip.avi", "r+") as f:
        f["RIFF:AVI/LIST:INFO/INAM"].data = b"A much longer title than before\0"
        f["RIFF:AVI/LIST:INFO"].add("IART", b"Nobody\0")
    after = probe("clip.avi")
    assert after["format"]["tags"]["title"] == "A much longer title than before"
    assert packets(after) == packets(before)


def packets(probed):
    return [stream["nb_read_packets"] for stream in probed["streams"]]


def test_webp_without_metadata_is_sound():
    with velmor_core.open("alpha.webp", "r+") as f:
        f["RIFF:WEBP/XMP"].remove()
        flags = f["RIFF:WEBP/VP8X"]
        flags[0:1] = bytes([flags[0:1][0] & ~0x04])
    shown = run("webpinfo", "alpha.webp")
    assert "No error detected" in shown and "XMP" not in shown.replace("XMP: 0", "")


def test_command_goes_on_after_a_failure(capsys):
    Path("text.wav").write_text("short")
    assert command.main(["tree", "missing.wav", "text.wav", "tone.wav"]) == 1
    shown = capsys.readouterr()
    assert shown.out.startswith("tone.wav  (8,044 bytes)\n")
    assert shown.err.splitlines()[0] == "missing.wav: No such file or directory"
