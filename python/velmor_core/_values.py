"""Numbers, UUIDs, digests and facts about the machine."""

from __future__ import annotations

import ctypes
import math
import uuid as _uuid
from typing import FrozenSet, Optional, Tuple

from ._buffers import Buffer, View
from ._errors import Error
from ._library import Uuid, library

_FEATURES = (
    "sse sse2 sse3 ssse3 sse41 sse42 avx avx2 avx512f avx512dq avx512ifma avx512pf avx512er "
    "avx512cd avx512bw avx512vl avx5124nniw avx5124fmaps avx512fp16 avx512vbmi avx512vbmi2 "
    "avx512vnni avx512bitalg avx512vpopcntdq avx512bf16 fma3 neon"
).split()


def number(text: str) -> float:
    """Convert a number text: a number with an SI or binary prefix, or an expression of those.

    Raises `ValueError` for a text that is no number. Divisions by zero give infinities and NaN.

    >>> velmor_core.number("4k7"), velmor_core.number("(1+2)*1.5m")
    (4700.0, 0.0045000000000000005)
    """
    value = ctypes.c_double()
    if not library().str_to_f64(_number_text(text), ctypes.byref(value)):
        raise ValueError(f"{text!r} is no number")
    return value.value


def integer(text: str, signed: bool = True) -> int:
    """Convert a number text to an integer of 64 bits, truncated toward zero.

    The text is calculated in double precision, so integers above 2**53 are rounded. An integer from
    2**63 to 2**64 - 1 enters the calculation as that integer minus 2**64, rounded in the same way.
    With ``signed=True``, a single such integer gives this negative number. With ``signed=False``,
    2**64 is added to negative results: ``-1`` and ``18446744073709551615`` give 2**64 - 1.

    Raises `ValueError` for a text that is no number, and `OverflowError` for one that does not fit.

    >>> velmor_core.integer("64Ki"), velmor_core.integer("-1.9")
    (65536, -1)
    >>> velmor_core.integer("18446744073709551615", signed=False)
    18446744073709551615
    """
    exact = number(text)
    lowest, limit = -(2.0**63), 2.0**63 if signed else 2.0**64
    if math.isnan(exact) or not lowest <= exact < limit:
        raise OverflowError(f"{text!r} does not fit 64 bits")
    raw = _number_text(text)
    if signed:
        value = ctypes.c_int64()
        library().str_to_i64(raw, ctypes.byref(value))
        return value.value
    unsigned = ctypes.c_uint64()
    library().str_to_u64(raw, ctypes.byref(unsigned))
    return unsigned.value


def _number_text(text: str) -> bytes:
    if not isinstance(text, str):
        raise TypeError(f"a number text is str, not {type(text).__name__}")
    raw = text.encode("utf-8", "surrogateescape")
    if b"\0" in raw:
        raise ValueError(f"{text!r} is no number")
    return raw


def uuid(text: Optional[str] = None) -> _uuid.UUID:
    """Return a random UUID (version 4), or the UUID of a text.

    A text has 32 hexadecimal digits, with four hyphens or none, with or without braces. Raises
    `ValueError` for others.

    >>> velmor_core.uuid("{00112233-4455-6677-8899-AABBCCDDEEFF}")
    UUID('00112233-4455-6677-8899-aabbccddeeff')
    >>> velmor_core.uuid().version
    4
    """
    record = Uuid()
    if text is None:
        library().uuid_random(ctypes.byref(record))
        if not any(record.bytes):
            raise Error("the system gives no random bytes")
    else:
        if not isinstance(text, str):
            raise TypeError(f"a UUID is made from str, not {type(text).__name__}")
        raw = text.encode("utf-8", "surrogateescape")
        if not library().uuid_parse(raw, len(raw), ctypes.byref(record)):
            raise ValueError(f"{text!r} is no UUID")
    return _uuid.UUID(bytes=bytes(record.bytes))


def uuid_text(value: _uuid.UUID) -> str:
    """Return the 36 characters of a UUID, in lower case.

    >>> velmor_core.uuid_text(velmor_core.uuid("00112233445566778899AABBCCDDEEFF"))
    '00112233-4455-6677-8899-aabbccddeeff'
    """
    if not isinstance(value, _uuid.UUID):
        raise TypeError(f"a uuid.UUID is needed, not {type(value).__name__}")
    text = ctypes.create_string_buffer(37)
    record = Uuid.from_buffer_copy(value.bytes)
    library().uuid_unparse(ctypes.byref(record), text)
    return text.value.decode("ascii")


def sha256(data: Buffer) -> bytes:
    """Return the SHA-256 digest of a buffer, 32 bytes. The buffer is not copied.

    >>> velmor_core.sha256(b"abc").hex()[:16]
    'ba7816bf8f01cfea'
    """
    digest = ctypes.create_string_buffer(32)
    with View(data) as view:
        library().sha256(view.address, view.size, digest)
    return digest.raw


def cpu_features() -> FrozenSet[str]:
    """Return the names of the processor's features, such as ``"avx2"``.

    >>> "sse2" in velmor_core.cpu_features()
    True
    """
    library().init()
    return frozenset(name for name in _FEATURES if library().cpu_has(name))


def cpu_count() -> int:
    """Return the number of processors online.

    >>> velmor_core.cpu_count() > 0
    True
    """
    return library().cpu_count()


def memory_size() -> int:
    """Return the size of the physical memory in bytes; 0 if it is not known.

    >>> velmor_core.memory_size() > 0
    True
    """
    return library().memory_size()


def library_version() -> Tuple[int, ...]:
    """Return the version of the library that is loaded: major, minor, patch and build.

    >>> velmor_core.library_version() >= (1, 0, 16, 0)
    True
    """
    return library().version
