"""Chunk ids as text, and the paths that name chunks."""

from __future__ import annotations

import functools
import re
from typing import List, NamedTuple, Optional, Tuple, Union

Id = Union[str, bytes]

RIFF, LIST, JUNK = (int.from_bytes(name, "little") for name in (b"RIFF", b"LIST", b"JUNK"))

_BYTE = re.compile(rb"\\x([0-9A-Fa-f]{2})|[^\\]", re.DOTALL)
_PLAIN = frozenset(range(0x20, 0x7F)) - frozenset(b"/:[]\\")


@functools.lru_cache(maxsize=1024)
def id_text(value: int) -> str:
    """The four characters of an id. Unprintable bytes, and those special in paths, are \\xHH."""
    return "".join(chr(b) if b in _PLAIN else f"\\x{b:02x}" for b in value.to_bytes(4, "little"))


def id_value(name: Id) -> int:
    """The value of an id of exactly four bytes."""
    if isinstance(name, str):
        name = _unescaped(name)
    elif not isinstance(name, bytes):
        raise TypeError(f"an id is str or bytes, not {type(name).__name__}")
    if len(name) != 4:
        raise ValueError(f"{name!r} is no id: an id has four bytes, as in 'fmt '")
    return int.from_bytes(name, "little")


def _unescaped(name: str) -> bytes:
    raw = name.encode("utf-8", "surrogateescape")
    found = list(_BYTE.finditer(raw))
    if sum(len(one.group()) for one in found) != len(raw):
        raise ValueError(f"{name!r}: in an id, a backslash begins \\xHH, with two hex digits")
    return b"".join(bytes([int(one[1], 16)]) if one[1] else one.group() for one in found)


def name_text(value: int, group: int) -> str:
    """A step of a path: the id without blanks at its end, and the group id of a group."""
    name = id_text(value).rstrip(" ") or "\\x20"
    return f"{name}:{name_text(group, 0)}" if value in (RIFF, LIST) else name


class Step(NamedTuple):
    """One step of a path: the id, and the group id and the number (from 1) if they are given."""

    text: str
    id: int
    group: Optional[int]
    number: Optional[int]


_STEP = re.compile(r"([^\[:]*)(?::([^\[]*))?(?:\[([0-9]+)\])?", re.DOTALL)


@functools.lru_cache(maxsize=256)
def parse_path(path: str) -> Tuple[Step, ...]:
    """The steps of a path such as ``RIFF:WAVE/LIST[2]/INAM``. Raises ValueError for others."""
    steps: List[Step] = []
    for text in path.split("/"):
        match = _STEP.fullmatch(text)
        number = int(match[3]) if match and match[3] else None
        if not match or number == 0:
            raise ValueError(f"{text!r}: [ ] comes last and holds a number from 1")
        group = None if match[2] is None else _padded(match[2])
        steps.append(Step(text, _padded(match[1]), group, number))
    return tuple(steps)


def _padded(name: str) -> int:
    raw = _unescaped(name)
    if not 0 < len(raw) <= 4:
        raise ValueError(f"{name!r} is no id: in a path, an id has one to four characters")
    return int.from_bytes(raw.ljust(4), "little")
