"""RIFF chunk trees, number texts, UUIDs and SHA-256: the velmor-core library for Python.

>>> import velmor_core
>>> with velmor_core.open("song.wav", "r+") as f:
...     title = f["RIFF:WAVE/LIST:INFO/INAM"]
...     title.data = b"Chamber pitch\\0"
...     print([chunk.id for chunk in f["RIFF:WAVE"]], title.size)
['fmt ', 'LIST', 'data'] 14

`open`, `memory` and `cache` return an `Object`: bytes with their chunk tree. Its groups and chunks
are `Chunk` values, and are read, written and edited in place. Every failure is an exception:
`Error` or a subclass of it, `OSError` if the system gives the reason, `TypeError` and `ValueError`
for wrong arguments.

Threads may share objects: the calls on one object wait for each other. The interpreter lock is
released in all calls that read or write data, edit, open or calculate.
"""

from ._chunk import Chunk
from ._errors import (
    ClosedError,
    EndedChunkError,
    Error,
    FormatError,
    MissingChunkError,
    NoRoomError,
    ReadOnlyError,
    SizeLimitError,
    WrongKindError,
)
from ._library import load
from ._object import Object, cache, memory, open
from ._values import (
    cpu_count,
    cpu_features,
    integer,
    library_version,
    memory_size,
    number,
    sha256,
    uuid,
    uuid_text,
)

__version__ = "1.0.16"

__all__ = [
    "Chunk",
    "ClosedError",
    "EndedChunkError",
    "Error",
    "FormatError",
    "MissingChunkError",
    "NoRoomError",
    "Object",
    "ReadOnlyError",
    "SizeLimitError",
    "WrongKindError",
    "cache",
    "cpu_count",
    "cpu_features",
    "integer",
    "library_version",
    "load",
    "memory",
    "memory_size",
    "number",
    "open",
    "sha256",
    "uuid",
    "uuid_text",
]

for _error in (ClosedError, EndedChunkError, Error, FormatError, MissingChunkError, NoRoomError,
               ReadOnlyError, SizeLimitError, WrongKindError):
    _error.__module__ = __name__  # as tracebacks show it
del _error
