"""Objects: bytes with their chunk tree, in a file, a buffer or a cache."""

from __future__ import annotations

import contextlib
import ctypes
import operator
import os
import stat
import threading
import weakref
from typing import Any, Callable, Iterator, Optional, Tuple, Union

from ._buffers import Buffer, View, is_writable
from ._chunk import Chunk, Container
from ._errors import ClosedError, Error, FormatError, NoRoomError, ReadOnlyError
from ._handles import Edit, Handles
from ._library import CREATE, READ_ONLY, READ_WRITE, SUCCESS, Library, library

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_MODES = {
    "r": (READ_ONLY, os.O_RDONLY),
    "r+": (READ_WRITE, os.O_RDWR),
    "w": (CREATE, os.O_RDWR | os.O_CREAT),
}


def open(path: Path, mode: str = "r") -> Object:  # noqa: A001
    """Open a RIFF file and read its chunk tree.

    Modes: ``"r"`` reads, ``"r+"`` edits an existing file in place, ``"w"`` creates a file or
    empties an existing one. Only headers are read. Every edit is in the file before it returns;
    closing has nothing to flush. An edit that fails half-way is not undone. So edit a copy of a
    valuable file, and replace the original with `os.replace`.

    Raises the same exceptions as Python's `open` for a file that cannot be opened
    (`FileNotFoundError`, `PermissionError`, `IsADirectoryError`, …), `FormatError` if its bytes are
    no chunks, and `Error` for anything but a regular file.

    >>> with velmor_core.open("song.wav") as f:
    ...     print(f["RIFF:WAVE/fmt"].size)
    16
    >>> velmor_core.open("missing.wav")
    Traceback (most recent call last):
    FileNotFoundError: [Errno 2] No such file or directory: 'missing.wav'
    """
    if mode not in _MODES:
        raise ValueError(f"there is no mode {mode!r}: use 'r', 'r+' or 'w'")
    how, flags = _MODES[mode]
    name = os.fspath(path)
    # The library gives no reason if it cannot open a file; the system does.
    file = os.open(name, flags | os.O_CLOEXEC | os.O_NONBLOCK, 0o644)
    try:
        regular = stat.S_ISREG(os.fstat(file).st_mode)
    finally:
        os.close(file)
    if os.path.isdir(name):
        raise IsADirectoryError(21, os.strerror(21), name)
    if not regular:
        raise Error(f"{name!r} is no regular file")
    return _opened(
        lambda lib, out: lib.open_file(os.fsencode(name), how, out), "file", mode, repr(name)
    )


def memory(
    buffer: Buffer, *, size: Optional[int] = None, capacity: Optional[int] = None
) -> Object:
    """Open bytes in memory: for editing if the buffer is writable, otherwise for reading.

    ``bytes`` and other read-only buffers open for reading. A ``bytearray`` opens for editing: it is
    lengthened to `capacity` at once, cannot be resized while the object is open, and is cut to the
    bytes that the object holds when the object is closed. Any other writable buffer (memoryview,
    array, mmap) opens for editing and keeps its length. The first `size` bytes of a buffer hold the
    chunks.

    The buffer is used in place and kept alive. Nothing else may change it while the object is open.

    Raises `FormatError` if the bytes are no chunks, `TypeError` for a `capacity` if the buffer is
    no ``bytearray``, and `ValueError` for a size or capacity that does not fit the buffer.

    >>> song = bytearray(velmor_core.cache().to_bytes())
    >>> with velmor_core.memory(song, capacity=1024) as f:
    ...     f.add_group("RIFF", "WAVE").add("data", b"1234")
    <velmor_core.Chunk RIFF:WAVE/data, 4 bytes, in a buffer>
    >>> song
    bytearray(b'RIFF\\x10\\x00\\x00\\x00WAVEdata\\x04\\x00\\x00\\x001234')
    """
    growing = buffer if isinstance(buffer, bytearray) else None
    writable = is_writable(buffer)
    length = memoryview(buffer).nbytes
    size = length if size is None else operator.index(size)
    if not 0 <= size <= length:
        raise ValueError(f"the buffer has {length} bytes: there is no size {size}")
    if capacity is not None:
        if growing is None:
            raise TypeError("only a bytearray can be lengthened to a capacity")
        if capacity < size:
            raise ValueError(f"a capacity of {capacity} is too small for {size} bytes")
        growing.extend(bytes(max(capacity - length, 0)))
    view = View(buffer, writable)

    def opening(lib: Library, out: Any) -> int:
        if writable:
            return lib.open_buffer_rw(view.address, size or 0, view.size, out)
        return lib.open_buffer_ro(view.address, size or 0, out)

    try:
        return _opened(opening, "buffer", "r+" if writable else "r", "a buffer", view, growing)
    except BaseException:
        view.release()
        if growing is not None:
            del growing[length:]
        raise


def cache(capacity: int = 0) -> Object:
    """Open an empty object in memory of its own, which grows as chunks are added.

    `capacity` is its first capacity in bytes. Collect chunks in it, and add them to a
    group of another object with `Object.add_all`, or get them with `Object.to_bytes`.

    >>> with velmor_core.cache() as f:
    ...     f.add("note", b"Hello").total_size
    14
    """
    if not 0 <= operator.index(capacity) < 2**64:
        raise ValueError(f"there is no capacity {capacity}")
    return _opened(lambda lib, out: lib.open_cache(capacity, out), "cache", "r+", "a cache")


class Object(Container):
    """Bytes with their chunk tree: what `open`, `memory` and `cache` return.

    It acts as the group of its top-level chunks: index it, iterate over it, add to it. Close it
    with `close`, or use it in a ``with`` statement. Otherwise it is closed when nothing refers to
    it or to one of its chunks any more.

    Threads may share an object: calls on it, and on its chunks, wait for each other. Calls on
    different objects run at the same time. After `os.fork`, use a file object in one process only.

    A signal handler may interrupt a call on the same object. Then edits and `close` raise `Error`
    in the handler, but it may read the object. If the call is an edit, chunks that were fetched
    before it may raise `EndedChunkError` in the handler. The handler can fetch them again, but what
    it fetches may end with the edit.
    """

    __slots__ = (
        "kind", "mode", "_name", "_library", "_lock", "_handle", "_root", "_handles", "_edits",
        "_is_locked_here", "_view", "_finalizer", "__weakref__",
    )

    kind: str
    """``"file"``, ``"buffer"`` or ``"cache"``."""
    mode: str
    """``"r"``, ``"r+"`` or ``"w"``; buffers have one of the first two, caches ``"r+"``."""

    def __init__(
        self,
        lib: Library,
        handle: int,
        kind: str,
        mode: str,
        name: str,
        view: Optional[View],
        growing: Optional[bytearray],
    ) -> None:
        self.kind, self.mode, self._name = kind, mode, name
        self._library = lib
        self._lock = threading.RLock()
        self._is_locked_here: Callable[[], bool] = getattr(self._lock, "_is_owned")
        self._handle = handle
        self._root = lib.get_root(handle)
        self._handles = Handles()
        # Counts edits, clear() and close(). When the count has changed, an iteration over chunks
        # drops the rest of its batch and fetches the next chunks again.
        self._edits = 0
        self._view = view
        self._finalizer = weakref.finalize(self, _close, lib, handle, view, growing)
        self._finalizer.atexit = False  # other threads may still be in a call

    def _group(self) -> Chunk:
        return self.root

    @property
    def root(self) -> Chunk:
        """The group above the top-level chunks, as a chunk.

        >>> with velmor_core.open("song.wav") as f:
        ...     f.root
        <velmor_core.Chunk root, 8124 bytes, in 'song.wav'>
        """
        with self._lock:
            self._open_handle()
            return self._chunk(self._root)

    @property
    def size(self) -> int:
        """The number of bytes that the object holds.

        >>> with velmor_core.open("song.wav") as f:
        ...     f.size
        8124
        """
        with self._lock:
            return self._library.get_size(self._open_handle())

    @property
    def capacity(self) -> int:
        """The number of bytes that the memory of a buffer or cache has room for; 0 for others.

        >>> with velmor_core.cache(4096) as f:
        ...     f.capacity
        4096
        """
        with self._lock:
            return self._library.get_capacity(self._open_handle())

    @property
    def closed(self) -> bool:
        """Whether the object has been closed.

        >>> with velmor_core.open("song.wav") as f:
        ...     pass
        >>> f.closed
        True
        """
        return not self._finalizer.alive

    def close(self) -> None:
        """Close the object: all its chunks end. Closing twice does nothing.

        >>> f = velmor_core.open("song.wav")
        >>> chunk = f[0]
        >>> f.close()
        >>> chunk.id
        Traceback (most recent call last):
        velmor_core.EndedChunkError: the chunk has ended: ...
        """
        if self.closed:
            return
        with self._exclusive():
            self._handles.end_all()
            self._edits += 1
            self._finalizer()

    def clear(self) -> None:
        """Drop all chunks of a cache and set its size to 0; its memory stays for the next ones.

        Raises `Error` for other objects: their bytes would stay.

        >>> with velmor_core.cache() as f:
        ...     chunk = f.add("note", b"Hello")
        ...     f.clear()
        ...     print(len(f), chunk.is_valid)
        0 False
        """
        if self.kind != "cache":
            raise Error("only a cache can be cleared")
        with self._exclusive():
            handle = self._open_handle()
            life = self._handles.life(self._root)
            self._handles.end_all()
            self._edits += 1
            self._library.clear(handle)
            self._handles.keep(self._root, life)

    def to_bytes(self) -> bytes:
        """Return a copy of all bytes of a cache or buffer.

        >>> with velmor_core.cache() as f:
        ...     chunk = f.add("note", b"Hi")
        ...     f.to_bytes()
        b'note\\x02\\x00\\x00\\x00Hi'
        """
        with self._lock:
            size = self.size
            if self._view is not None:
                return ctypes.string_at(self._view.address, size)
            made = bytearray()
            with memory(made, capacity=size) as copy:
                copy.add_all(self)
            return bytes(made)

    def __enter__(self) -> Object:
        self._open_handle()
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __reduce__(self) -> str:
        raise TypeError("an object cannot be copied or pickled")

    def __repr__(self) -> str:
        state = "closed" if self.closed else f"{self.size} bytes, mode {self.mode!r}"
        return f"<velmor_core.Object {self._name}, {state}>"

    # --- Internal: called with the object locked ---

    def _where(self) -> str:
        return self._name

    def _open_handle(self) -> int:
        if not self._finalizer.alive:
            raise ClosedError("the object has been closed")
        return self._handle

    def _chunk(self, handle: int) -> Chunk:
        return Chunk(self, handle)

    @contextlib.contextmanager
    def _exclusive(self) -> Iterator[None]:
        """Locks the object for an edit or for closing it."""
        self._refuse_if_in_use()
        with self._lock:
            yield

    def _refuse_if_in_use(self) -> None:
        """Raise `Error` in a signal handler or finalizer that interrupts a call on the same object.

        The handler may read the object. It must not end a handle that the call still uses, or
        change bytes between two steps of the call.
        """
        if self._is_locked_here():
            raise Error("the object is in use by the call that this one has interrupted")

    @contextlib.contextmanager
    def _editing(self, chunk: Chunk) -> Iterator[Edit]:
        """Run one edit of a chunk. The object is locked by `_exclusive`.

        The body stores in `Edit.ended` the handles that the edit ends. If the body raises `Error`,
        the library or this module has refused the edit, and no handle ends. After any other
        exception the state is unknown, so all handles end.
        """
        chunk._live()
        edit = self._handles.suspend()
        self._edits += 1
        try:
            yield edit
        except Error:
            self._handles.resume(edit, ())
            raise
        self._handles.resume(edit, edit.ended)

    @contextlib.contextmanager
    def _apart(self, given: View) -> Iterator[Tuple[int, int]]:
        """Address and size of bytes to write; copied if they are in the object's own buffer."""
        own = self._view
        if own is None or not given.overlaps(own.address, own.size):
            yield given.address, given.size
        else:
            with View(ctypes.string_at(given.address, given.size)) as copy:
                yield copy.address, copy.size

    def _failure(self, what: str, added: int = 0) -> Error:
        """The exception for an edit that the library has refused; it needed `added` more bytes."""
        if self.mode == "r":
            return ReadOnlyError(f"{what}: the object was opened for reading only")
        size = self._library.get_size(self._handle)
        if self.kind == "buffer" and size + added > self._library.get_capacity(self._handle):
            return NoRoomError(f"{what}: the buffer has no room for {added} bytes more")
        return Error(f"{what}: the file cannot be read or written, or the last chunk was cut short")


def _opened(
    call: Callable[[Library, Any], int],
    kind: str,
    mode: str,
    name: str,
    view: Optional[View] = None,
    growing: Optional[bytearray] = None,
) -> Object:
    lib = library()
    out = ctypes.c_size_t()
    if call(lib, ctypes.byref(out)) != SUCCESS:
        if kind == "cache":
            raise MemoryError
        raise FormatError(f"{name} does not open: its bytes are not a sequence of chunks")
    return Object(lib, out.value, kind, mode, name, view, growing)


def _close(lib: Library, handle: int, view: Optional[View], growing: Optional[bytearray]) -> None:
    """Close an object, and cut its bytearray to the size that the object had."""
    size = lib.get_size(handle)
    lib.close(handle)
    if view is not None:
        view.release()
    if growing is not None:
        del growing[size:]
