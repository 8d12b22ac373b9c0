"""Finds and loads the shared library, and declares the C functions that the module uses."""

from __future__ import annotations

import ctypes
import os
import threading
from pathlib import Path
from typing import Any, Callable, Optional, Tuple, Union

NAME = "libvelmor-core.so.0"

SUCCESS = 0
BAD_HANDLE = -200
READ_ONLY, READ_WRITE, CREATE = range(3)

# Handles and addresses are plain integers here, 0 is null.
_HANDLE = _ADDRESS = ctypes.c_size_t
_U32, _U64, _STATUS = ctypes.c_uint32, ctypes.c_uint64, ctypes.c_int32
_OUT = ctypes.POINTER(_HANDLE)

Getter = Callable[[int], int]


class Uuid(ctypes.Structure):
    """velmor_core_uuid_t."""

    _fields_ = [("bytes", ctypes.c_uint8 * 16)]


class _Version(ctypes.Structure):
    _fields_ = [("version", _U64), ("extra", ctypes.c_char_p)]


class Library:
    """The C functions, typed.

    The short functions that walk the tree keep the global interpreter lock, because releasing it
    takes longer than the call. All others release it.
    """

    def __init__(self, path: str) -> None:
        walking, working = ctypes.PyDLL(path), ctypes.CDLL(path)

        def bind(library: ctypes.CDLL, name: str, result: Any, *arguments: Any) -> Any:
            function = library["velmor_core_" + name]
            function.restype, function.argtypes = result, arguments
            return function

        def walk(name: str, result: Any, *arguments: Any) -> Any:
            return bind(walking, "riff_" + name, result, _HANDLE, *arguments)

        def work(name: str, result: Any, *arguments: Any) -> Any:
            return bind(working, name, result, *arguments)

        self.get_id: Getter = walk("chunk_get_id", _U32)
        self.get_group_id: Getter = walk("chunk_get_group_id", _U32)
        self.get_parent: Getter = walk("chunk_get_parent", _HANDLE)
        self.get_next: Getter = walk("chunk_get_next", _HANDLE)
        self.get_child_count: Getter = walk("chunk_get_child_count", _U32)
        self.get_child: Callable[[int, int], int] = walk("chunk_get_child", _HANDLE, _U32)
        self.get_data_size: Getter = walk("chunk_get_data_size", _U32)
        self.get_root: Getter = walk("object_get_virtual_root_chunk", _HANDLE)
        self.get_size: Getter = walk("cache_get_size", _U64)
        self.get_capacity: Getter = walk("cache_get_capacity", _U64)

        self.open_file: Callable[[bytes, int, Any], int] = work(
            "riff_open_file", _STATUS, ctypes.c_char_p, ctypes.c_int32, _OUT
        )
        self.open_buffer_ro: Callable[[int, int, Any], int] = work(
            "riff_open_buffer_ro", _STATUS, _ADDRESS, _U64, _OUT
        )
        self.open_buffer_rw: Callable[[int, int, int, Any], int] = work(
            "riff_open_buffer_rw", _STATUS, _ADDRESS, _U64, _U64, _OUT
        )
        self.open_cache: Callable[[int, Any], int] = work("riff_open_cache", _STATUS, _U64, _OUT)
        self.close: Callable[[int], None] = work("riff_close", None, _HANDLE)
        self.clear: Callable[[int], None] = work("riff_cache_clear", None, _HANDLE)
        self.get_data: Callable[[int, int, int, int], int] = work(
            "riff_chunk_get_data", _STATUS, _HANDLE, _ADDRESS, _U32, _U32
        )
        self.set_data: Callable[[int, int, int, int], int] = work(
            "riff_chunk_set_data", _STATUS, _HANDLE, _ADDRESS, _U32, _U32
        )
        self.set_data_size: Callable[[int, int], int] = work(
            "riff_chunk_set_data_size", _STATUS, _HANDLE, _U32
        )
        self.add_chunk: Callable[[int, int], int] = work(
            "riff_chunk_add_chunk", _HANDLE, _HANDLE, _HANDLE
        )
        self.add_cache: Callable[[int, int], int] = work(
            "riff_chunk_add_cache", _HANDLE, _HANDLE, _HANDLE
        )
        self.add_data_chunk: Callable[[int, int, int, int], int] = work(
            "riff_chunk_add_data_chunk", _HANDLE, _HANDLE, _U32, _ADDRESS, _U32
        )
        self.add_group_chunk: Callable[[int, int, int], int] = work(
            "riff_chunk_add_group_chunk", _HANDLE, _HANDLE, _U32, _U32
        )
        self.recycle: Callable[[Any], int] = work("riff_chunk_recycle", _STATUS, _OUT)
        self.remove: Callable[[int], int] = work("riff_chunk_remove", _STATUS, _HANDLE)

        out = ctypes.c_void_p
        self.str_to_f64: Callable[[bytes, Any], bool] = work(
            "str_to_f64", ctypes.c_bool, ctypes.c_char_p, out
        )
        self.str_to_i64: Callable[[bytes, Any], bool] = work(
            "str_to_i64", ctypes.c_bool, ctypes.c_char_p, out
        )
        self.str_to_u64: Callable[[bytes, Any], bool] = work(
            "str_to_u64", ctypes.c_bool, ctypes.c_char_p, out
        )
        self.uuid_random: Callable[[Any], None] = work("uuid_generate_random", None, out)
        self.uuid_parse: Callable[[bytes, int, Any], bool] = work(
            "uuid_parse2", ctypes.c_bool, ctypes.c_char_p, _U64, out
        )
        self.uuid_unparse: Callable[[Any, Any], None] = work("uuid_unparse", None, out, out)
        self.sha256: Callable[[int, int, Any], None] = work(
            "hash_sha256", None, _ADDRESS, _U64, ctypes.c_char_p
        )
        self.init: Callable[[], None] = work("init", None)
        self.cpu_count: Callable[[], int] = work("cpu_get_count", _U32)
        self.memory_size: Callable[[], int] = work("memory_get_physical_size", _U64)
        self.cpu_has: Callable[[str], bool] = lambda feature: bool(
            work("cpu_has_" + feature, ctypes.c_bool)()
        )
        packed = work("get_version", ctypes.POINTER(_Version))().contents.version
        self.version: Tuple[int, ...] = tuple(packed >> shift & 0xFFFF for shift in (48, 32, 16, 0))


_lock = threading.Lock()
_loaded: Optional[Library] = None


def load(path: Union[str, "os.PathLike[str]"]) -> None:
    """Load the shared library from a path of your own, before anything else is used.

    Without this call, the first use loads ``libvelmor-core.so.0``: from the package's folder if it
    was installed from a wheel, otherwise from the system.

    Raises ``RuntimeError`` if the library is loaded already, and ``ImportError`` if the file is not
    this library.

    >>> import velmor_core
    >>> velmor_core.load("/opt/velmor/lib/libvelmor-core.so.0")
    Traceback (most recent call last):
    RuntimeError: libvelmor-core.so.0 is loaded already
    """
    global _loaded
    with _lock:
        if _loaded is not None:
            raise RuntimeError(f"{NAME} is loaded already")
        _loaded = _load(os.fspath(path))


def library() -> Library:
    """Return the library, loaded at the first call."""
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                beside = Path(__file__).parent / NAME
                _loaded = _load(str(beside) if beside.exists() else NAME)
    return _loaded


def _load(path: str) -> Library:
    try:
        return Library(path)
    except (OSError, AttributeError) as error:
        raise ImportError(
            f"cannot load {path}: {error}; install libvelmor-core0, or call velmor_core.load()"
        ) from error
