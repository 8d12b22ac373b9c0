"""Any object with a buffer (bytes, bytearray, memoryview, array, mmap) as address and length.

A `View` uses CPython's buffer protocol: no byte is copied, and the buffer cannot be resized while
the view holds it.
"""

from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Tuple, Union

if TYPE_CHECKING:
    import array
    import mmap

Buffer = Union[bytes, bytearray, memoryview, "array.array[Any]", "mmap.mmap"]

_SIMPLE, _WRITABLE = 0, 1


class _Record(ctypes.Structure):
    """Py_buffer."""

    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_char_p),
        ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p),
        ("suboffsets", ctypes.c_void_p),
        ("internal", ctypes.c_void_p),
    ]


_get = ctypes.pythonapi.PyObject_GetBuffer
_get.argtypes, _get.restype = (ctypes.py_object, ctypes.c_void_p, ctypes.c_int), ctypes.c_int
_release = ctypes.pythonapi.PyBuffer_Release
_release.argtypes, _release.restype = (ctypes.c_void_p,), None
_new_bytes = ctypes.pythonapi.PyBytes_FromStringAndSize
_new_bytes.argtypes, _new_bytes.restype = (ctypes.c_void_p, ctypes.c_ssize_t), ctypes.py_object
_address_of_bytes = ctypes.pythonapi.PyBytes_AsString
_address_of_bytes.argtypes, _address_of_bytes.restype = (ctypes.py_object,), ctypes.c_size_t


class View:
    """The memory of an object with a buffer. The buffer is held until `release`."""

    def __init__(self, source: Buffer, writable: bool = False) -> None:
        self._record = _Record()
        self._held = False
        # Raises TypeError if there is no buffer, and BufferError if it is not contiguous or, where
        # that is needed, not writable.
        _get(source, ctypes.byref(self._record), _WRITABLE if writable else _SIMPLE)
        self._held = True
        self.address: int = self._record.buf or 0
        self.size: int = self._record.len

    def release(self) -> None:
        if self._held:
            self._held = False
            _release(ctypes.byref(self._record))

    def __del__(self) -> None:
        self.release()

    def __enter__(self) -> View:
        return self

    def __exit__(self, *_: object) -> None:
        self.release()

    def overlaps(self, address: int, size: int) -> bool:
        return self.address < address + size and address < self.address + self.size


def is_writable(source: Buffer) -> bool:
    with memoryview(source) as view:
        return not view.readonly


def new_bytes(size: int) -> Tuple[bytes, int]:
    """Return a bytes object with uninitialised content, and the address to write it to."""
    if size == 0:
        return b"", 0
    made: bytes = _new_bytes(None, size)
    return made, _address_of_bytes(made)
