"""Chunks and groups."""

from __future__ import annotations

import builtins
import contextlib
import ctypes
import operator
from typing import TYPE_CHECKING, Iterator, List, Optional, Set, Tuple, Union, overload

from . import _ids, _tree
from ._buffers import Buffer, View, new_bytes
from ._errors import EndedChunkError, Error, MissingChunkError, SizeLimitError, WrongKindError
from ._handles import Edit
from ._ids import Id
from ._library import BAD_HANDLE, SUCCESS

if TYPE_CHECKING:
    from ._library import Getter
    from ._object import Object

_LARGEST = 0xFFFFFFFF
_GROUP_TOTAL = 12
# For data of this size or more, the last byte is read before memory is allocated: the size field of
# a chunk that was cut short may state any size.
_LARGE = 1 << 16
_FIRST_BATCH, _LARGEST_BATCH = 8, 512


class Container:
    """What groups and objects have in common: their chunks, and edits that add chunks.

    These calls on an object are calls on its `root`, the parent of the top-level chunks.
    """

    __slots__ = ()

    def _group(self) -> Chunk:
        raise NotImplementedError

    def __len__(self) -> int:
        """The number of children.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(len(f), len(f[0]), [chunk.id for chunk in f[0]])
        1 3 ['fmt ', 'LIST', 'data']
        """
        group = self._group()
        group._require_group()
        return group._get(group._object._library.get_child_count)

    def __bool__(self) -> bool:
        return True  # a group without children is true, too

    def __iter__(self) -> Iterator[Chunk]:
        """The children, in the order of the bytes.

        You may edit the object between two steps. But if the chunk of the last step ends, the next
        step raises `EndedChunkError`. To remove or recycle children in a loop, go over
        ``reversed(list(group))``: these edits end no child before the current one.
        """
        group = self._group()
        group._require_group()
        return group._inside(deep=False)

    def __contains__(self, item: object) -> bool:
        """Whether a chunk is a child of this group, or a path leads to a chunk.

        >>> with velmor_core.open("song.wav") as f:
        ...     print("RIFF:WAVE/LIST:INFO" in f, f[0] in f, f[0][1] in f)
        True True False
        """
        group = self._group()
        if isinstance(item, str):
            try:
                return bool(group._find(item))
            except MissingChunkError:
                return False
        return isinstance(item, Chunk) and item.is_valid and item.parent == group

    @overload
    def __getitem__(self, key: slice) -> bytes: ...

    @overload
    def __getitem__(self, key: Union[int, str]) -> Chunk: ...

    def __getitem__(self, key: Union[int, str, slice]) -> Union[Chunk, bytes]:
        """A child by its index, a chunk by its path, or a slice of a data chunk's data.

        A path is a sequence of ids, such as ``RIFF:WAVE/LIST:INFO/INAM``. A group id may follow the
        id of a group after a colon. If several chunks fit, a number in brackets selects one,
        counted from 1: ``LIST[2]`` is the second LIST. Blanks at the end of an id may be left out,
        and ``\\xHH`` stands for any byte.

        Raises `IndexError` for an index past the last child, `MissingChunkError` for a path that
        leads to no chunk, or to several, and `ValueError` for a text that is no path.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f[0][-1].id, f["RIFF:WAVE/LIST:INFO/INAM"].data)
        ...     print(f["RIFF:WAVE/fmt"][2:4])
        data b'Concert pitch\\x00'
        b'\\x01\\x00'
        """
        group = self._group()
        if isinstance(key, str):
            return group._find(key)
        if isinstance(key, slice):
            return group._read_slice(key)
        group._require_group()
        with group._object._lock:
            count = len(group)
            index = operator.index(key)
            index += count if index < 0 else 0
            if not 0 <= index < count:
                raise IndexError(f"there is no child {key}: the group has {count}")
            return group._object._chunk(
                group._object._library.get_child(group._live(), index)
            )

    def __delitem__(self, key: Union[int, str]) -> None:
        """Remove a child, as `Chunk.remove` does.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     del f["RIFF:WAVE/LIST:INFO"][0]
        ...     print([chunk.id for chunk in f["RIFF:WAVE/LIST:INFO"]])
        ['ICMT', 'INAM']
        """
        self[key].remove()

    def find(self, id: Id, group_id: Optional[Id] = None) -> Optional[Chunk]:
        """Return the first child with this id, or with this id and group id; None if there is none.

        >>> with velmor_core.open("song.wav") as f:
        ...     info = f[0].find("LIST", "INFO")
        ...     print(info.find("INAM").data, info.find("ICOP"))
        b'Concert pitch\\x00' None
        """
        wanted = _ids.id_value(id)
        wanted_group = None if group_id is None else _ids.id_value(group_id)
        group = self._group()
        group._require_group()
        with group._object._lock:
            found = group._matching(group._live(), wanted, wanted_group)
            handle = next(found, 0)
            return group._object._chunk(handle) if handle else None

    def walk(self) -> Iterator[Chunk]:
        """Go through all chunks in this group, at any depth, each group before its children.

        For edits in the loop, the rules are the same as for iterating over a group. To remove or
        recycle chunks, go over ``reversed(list(group.walk()))``.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(*(chunk.name for chunk in f.walk()))
        RIFF:WAVE fmt LIST:INFO IART ICMT INAM data
        """
        group = self._group()
        group._require_group()
        return group._inside(deep=True)

    def tree(self) -> str:
        """Return a table of all chunks in this group, with offsets and sizes in bytes.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f.tree())
          offset  chunk        data size  total
               0  RIFF:WAVE        8,116  8,124
              12    fmt               16     24
              36    LIST:INFO         72     80
              48      IART             7     16  pad
              64      ICMT            22     30
              94      INAM            14     22
             116    data           8,000  8,008
        """
        return _tree.tree_text(self._group())

    def add(self, id: Id, data: Buffer = b"") -> Chunk:
        """Add a data chunk and return it.

        It fills free space of the group ("JUNK" chunks) if it fits there, and is appended
        otherwise. A free chunk that it fills exactly ends.

        Raises `ValueError` for an id that is not four bytes, and for "RIFF" and "LIST": see
        `add_group`. Raises `SizeLimitError` if appending the chunk would make a group reach 4 GiB.
        It does so even if the chunk fits into free space. Raises `NoRoomError` if a buffer is too
        small.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     print(f["RIFF:WAVE/LIST:INFO"].add("ICOP", b"2024 A Fork\\0"))
        <velmor_core.Chunk RIFF:WAVE/LIST:INFO/ICOP, 12 bytes, in 'song.wav'>
        """
        value = _ids.id_value(id)
        if value in (_ids.RIFF, _ids.LIST):
            raise ValueError(f"{id!r} is the id of a group: use add_group()")
        group = self._group()
        group._require_group()
        owner = group._object
        with View(data) as given, owner._apart(given) as (address, size), owner._exclusive():
            if size > _LARGEST:
                raise SizeLimitError(f"{size} bytes are too many for a chunk")
            with owner._editing(group) as edit:
                total = 8 + size + size % 2
                group._check_limit(total)
                free = group._free_children(edit)
                count = owner._library.get_child_count(group._handle)
                made = owner._library.add_data_chunk(group._handle, value, address, size)
                if not made:
                    raise owner._failure("a chunk cannot be added", total)
                group._note_added(edit, free, made, 1, count)
            return owner._chunk(made)

    def add_group(self, id: Id, group_id: Id) -> Chunk:
        """Append an empty group, "RIFF" or "LIST", and return it.

        >>> with velmor_core.cache() as f:
        ...     f.add_group("RIFF", "WAVE").add_group("LIST", "INFO").add("INAM", b"Song\\0")
        ...     print(f["RIFF:WAVE"].total_size)
        <velmor_core.Chunk RIFF:WAVE/LIST:INFO/INAM, 5 bytes, in a cache>
        38
        """
        value, group_value = _ids.id_value(id), _ids.id_value(group_id)
        if value not in (_ids.RIFF, _ids.LIST):
            raise ValueError(f"{id!r} is no id of a group: those are 'RIFF' and 'LIST'")
        group = self._group()
        group._require_group()
        owner = group._object
        with owner._exclusive():
            with owner._editing(group):
                group._check_limit(_GROUP_TOTAL)
                made = owner._library.add_group_chunk(group._handle, value, group_value)
                if not made:
                    raise owner._failure("a group cannot be added", _GROUP_TOTAL)
            return owner._chunk(made)

    def add_copy(self, chunk: Chunk) -> Chunk:
        """Append a copy of a chunk, with everything in it, from this or another object.

        >>> with velmor_core.open("song.wav") as f, velmor_core.cache() as other:
        ...     other.add_copy(f["RIFF:WAVE/LIST:INFO"])
        <velmor_core.Chunk LIST:INFO, 72 bytes, in a cache>
        """
        if not isinstance(chunk, Chunk):
            raise TypeError(f"a chunk is needed, not {type(chunk).__name__}")
        group = self._group()
        group._require_group()
        owner = group._object
        with _both(owner, chunk._object):
            if chunk.is_root:
                raise WrongKindError("the root cannot be copied: copy its children")
            total = chunk.total_size
            source = chunk._live()
            with owner._editing(group) as edit:
                group._check_limit(total)
                free = edit.free.get(group._handle)
                made = owner._library.add_chunk(group._handle, source)
                if not made:
                    raise owner._failure("a chunk cannot be copied", total)
                if free is not None and owner._library.get_id(made) == _ids.JUNK:
                    free.add(made)
            return owner._chunk(made)

    def add_all(self, cache: Object) -> List[Chunk]:
        """Add all chunks of a cache, or of an object over a buffer, and return them.

        They are added one after the other, and use free space as `add` does. The cache stays as it
        is.

        >>> with velmor_core.cache() as tags, velmor_core.open("song.wav", "r+") as f:
        ...     tags.add("IGNR", b"Tone\\0")
        ...     tags.add("ISFT", b"velmor\\0")
        ...     print([chunk.id for chunk in f["RIFF:WAVE/LIST:INFO"].add_all(tags)])
        <velmor_core.Chunk IGNR, 5 bytes, in a cache>
        <velmor_core.Chunk ISFT, 7 bytes, in a cache>
        ['IGNR', 'ISFT']
        """
        group = self._group()
        group._require_group()
        owner = group._object
        if getattr(cache, "kind", "") not in ("cache", "buffer"):
            raise TypeError("a cache, or an object over a buffer, is needed")
        if cache is owner:
            raise WrongKindError("an object cannot be added to itself")
        with _both(owner, cache):
            added, total = len(cache), cache.size
            if not added:
                return []
            with owner._editing(group) as edit:
                group._check_limit(total)
                free = group._free_children(edit)
                count = owner._library.get_child_count(group._handle)
                made = owner._library.add_cache(group._handle, cache._open_handle())
                if not made:
                    raise owner._failure("the chunks of a cache cannot be added", total)
                group._note_added(edit, free, made, added, count)
            return [owner._chunk(handle) for handle in group._row(made, added)]


class Chunk(Container):
    """A chunk of an open object: a data chunk, a group, or the root above the top-level chunks.

    Get chunks from objects and groups; do not construct them. A chunk keeps its object from being
    garbage-collected. A chunk ends when it is removed, recycled or overwritten, or when its object
    is cleared or closed. Then only ``==``, ``hash()``, ``repr()``, `object` and `is_valid` work.
    Everything else raises `EndedChunkError`.

    Two `Chunk` values are equal if they are the same chunk of the same object.
    """

    __slots__ = ("_object", "_handle", "_life")

    def __init__(self, owner: Object, handle: int) -> None:
        self._object = owner
        self._handle = handle
        self._life = owner._handles.life(handle)

    # --- What it is ---

    @property
    def object(self) -> Object:
        """The object that the chunk belongs to.

        >>> with velmor_core.open("song.wav") as f:
        ...     f[0].object is f
        True
        """
        return self._object

    @property
    def is_valid(self) -> bool:
        """Whether the chunk has not ended.

        >>> with velmor_core.open("song.wav") as f:
        ...     chunk = f[0]
        >>> chunk.is_valid
        False
        """
        return self._object._handles.life(self._handle) == self._life

    @property
    def is_root(self) -> bool:
        """Whether this is the root of its object, which has no header and no parent.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f.root.is_root, f[0].is_root)
        True False
        """
        with self._object._lock:
            return self._live() == self._object._root

    @property
    def is_group(self) -> bool:
        """Whether this is a group: "RIFF", "LIST" or the root.

        >>> with velmor_core.open("song.wav") as f:
        ...     print([chunk.is_group for chunk in f[0]])
        [False, True, False]
        """
        identity = self._get(self._object._library.get_id)
        return identity in (_ids.RIFF, _ids.LIST) or (identity == 0 and self.is_root)

    @property
    def id(self) -> str:
        """The four characters of the id, such as ``"fmt "``; empty for the root.

        Bytes that are no printable ASCII characters, and those that are special in paths, are
        written as ``\\xHH``. All functions that take an id accept this form.

        >>> with velmor_core.cache() as f:
        ...     f.add(b"\\0001wb", b"").id
        '\\\\x001wb'
        """
        identity = self._get(self._object._library.get_id)
        return "" if identity == 0 and self.is_root else _ids.id_text(identity)

    @property
    def group_id(self) -> Optional[str]:
        """The four characters of a group's group id; None for a data chunk and for the root.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f[0].group_id, f[0][0].group_id)
        WAVE None
        """
        with self._object._lock:
            if self._get(self._object._library.get_id) not in (_ids.RIFF, _ids.LIST):
                return None
            return _ids.id_text(self._get(self._object._library.get_group_id))

    @property
    def name(self) -> str:
        """The chunk as a step of a path: its id, and for a group the group id.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f[0].name, f[0][0].name)
        RIFF:WAVE fmt
        """
        with self._object._lock:
            return self._name_of(self._live())

    @property
    def path(self) -> str:
        """The path that leads to this chunk from its object. Looks at all siblings on the way.

        >>> with velmor_core.open("clip.avi") as f:
        ...     print(f["RIFF:AVI/LIST:movi"][2].path)
        RIFF:AVI/LIST:movi/00dc[2]
        """
        library = self._object._library
        with self._object._lock:
            handle = self._live()
            steps: List[str] = []
            while True:
                parent = library.get_parent(handle)
                if not parent:
                    return "/".join(reversed(steps))
                value, group_value = library.get_id(handle), None
                if value in (_ids.RIFF, _ids.LIST):
                    group_value = library.get_group_id(handle)
                alike = list(self._matching(parent, value, group_value))
                number = f"[{alike.index(handle) + 1}]" if len(alike) > 1 else ""
                steps.append(self._name_of(handle) + number)
                handle = parent

    @property
    def size(self) -> int:
        """The data size in bytes: the size field. For the root, the bytes of its object.

        The size of a group includes its group id and its children.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/LIST:INFO/IART"].size)
        7
        """
        if self._handle == self._object._root:
            return self._get(lambda _: self._object.size)
        return self._get(self._object._library.get_data_size)

    @property
    def total_size(self) -> int:
        """The bytes that the chunk takes, with header and pad byte. For the root, the size
        of its object.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/LIST:INFO/IART"].total_size)
        16
        """
        if self._handle == self._object._root:
            return self.size
        size = self._get(self._object._library.get_data_size)
        return 8 + size + size % 2

    @property
    def offset(self) -> int:
        """Where the chunk's header begins, in bytes from the first byte of the object.

        It is computed from sizes. This takes two calls of the library for each sibling before the
        chunk, and for each sibling before one of its ancestors.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/data"].offset)
        116
        """
        library = self._object._library
        with self._object._lock:
            handle, offset = self._live(), 0
            while True:
                parent = library.get_parent(handle)
                if not parent:
                    return offset
                for sibling in self._children_of(parent):
                    if sibling == handle:
                        break
                    size = library.get_data_size(sibling)
                    offset += 8 + size + size % 2
                if library.get_parent(parent):
                    offset += _GROUP_TOTAL
                handle = parent

    @property
    def parent(self) -> Optional[Chunk]:
        """The group that holds this chunk: the root for a top-level chunk, None for the root.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/fmt"].parent.name, f[0].parent == f.root)
        RIFF:WAVE True
        """
        return self._get_chunk("get_parent")

    @property
    def next(self) -> Optional[Chunk]:
        """The next chunk in the same group, or None.

        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/fmt"].next.name, f["RIFF:WAVE/data"].next)
        LIST:INFO None
        """
        return self._get_chunk("get_next")

    def __eq__(self, other: builtins.object) -> bool:
        if not isinstance(other, Chunk):
            return NotImplemented
        return (
            self._object is other._object
            and self._handle == other._handle
            and self._life == other._life
        )

    def __hash__(self) -> int:
        return hash((id(self._object), self._handle, self._life))

    def __repr__(self) -> str:
        with self._object._lock:
            if not self.is_valid:
                return "<velmor_core.Chunk, ended>"
            names: List[str] = []
            handle = self._handle
            while len(names) < 8:
                parent = self._object._library.get_parent(handle)
                if not parent:
                    break
                names.append(self._name_of(handle))
                handle = parent
            else:
                names.append("…")
            where = "/".join(reversed(names)) or "root"
            return f"<velmor_core.Chunk {where}, {self.size} bytes, in {self._object._where()}>"

    # --- Its data ---

    @property
    def data(self) -> bytes:
        """All data of a data chunk. Assign bytes to replace them; the chunk gets their size.

        The bytes after the chunk move if its total size changes. Any object with a buffer can be
        assigned. To read or write only a part, use a slice of the chunk. The pad byte after
        data of odd size is not written.

        Raises `WrongKindError` for a group, `SizeLimitError`, and `NoRoomError` for a buffer that
        is too small.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     title = f["RIFF:WAVE/LIST:INFO/INAM"]
        ...     title.data = b"Chamber pitch\\0"
        ...     title[0:1] = b"c"
        ...     print(title.data, title[:7])
        b'chamber pitch\\x00' b'chamber'
        """
        with self._object._lock:
            return self._read(self._get(self._object._library.get_data_size), 0)

    @data.setter
    def data(self, value: bytes) -> None:
        owner = self._object
        with View(value) as given, owner._apart(given) as (address, size), owner._exclusive():
            self._resize(size)
            self._write(address, size, 0)

    def resize(self, size: int) -> None:
        """Lengthen or shorten a data chunk at its end. New bytes are zeros.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     title = f["RIFF:WAVE/LIST:INFO/INAM"]
        ...     title.resize(7)
        ...     title.resize(9)
        ...     print(title.data)
        b'Concert\\x00\\x00'
        """
        owner = self._object
        size = operator.index(size)
        with owner._exclusive():
            before = self._get(owner._library.get_data_size)
            self._resize(size)
            with View(bytes(min(_LARGE, max(size - before, 0)))) as zeros:
                while before < size:
                    piece = min(zeros.size, size - before)
                    self._write(zeros.address, piece, before)
                    before += piece

    def read_into(self, buffer: Buffer, offset: int = 0) -> int:
        """Read data from an offset on into a writable buffer. Return the number of bytes read.

        The number is smaller than the buffer if the data ends earlier. The data is copied once,
        straight into the buffer.

        >>> block = bytearray(4)
        >>> with velmor_core.open("song.wav") as f:
        ...     print(f["RIFF:WAVE/LIST:INFO/INAM"].read_into(block, 8), block)
        4 bytearray(b'pitc')
        """
        owner = self._object
        with View(buffer, writable=True) as view, owner._lock:
            size = self._get(owner._library.get_data_size)
            if not 0 <= operator.index(offset) <= size:
                raise ValueError(f"the data has {size} bytes: there is no offset {offset}")
            count = min(view.size, size - offset)
            self._check(
                owner._library.get_data(self._live(), view.address, count, offset), "read"
            )
            return count

    def __setitem__(self, key: slice, value: bytes) -> None:
        """Overwrite a slice of a data chunk's data with the same number of bytes."""
        if not isinstance(key, slice):
            raise TypeError("only slices of data can be assigned: use .data, add() or remove()")
        owner = self._object
        with View(value) as given, owner._apart(given) as (address, size), owner._exclusive():
            start, stop = self._range(key)
            if size != stop - start:
                raise ValueError(
                    f"{size} bytes for a slice of {stop - start}: assign to .data to resize"
                )
            self._write(address, size, start)

    # --- Edits ---

    def remove(self) -> None:
        """Remove the chunk and everything in it. All bytes after it move towards the start.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     f["RIFF:WAVE/LIST:INFO"].remove()
        ...     print(f.size, "RIFF:WAVE/LIST:INFO" in f)
        8044 False
        """
        owner = self._object
        library = owner._library
        with owner._exclusive(), owner._editing(self) as edit:
            parent = library.get_parent(self._handle)
            if not parent:
                raise WrongKindError("the root cannot be removed: use clear()")
            inside = self._handles_inside()
            if library.remove(self._handle) != SUCCESS:
                raise owner._failure("a chunk cannot be removed")
            edit.free.get(parent, set()).discard(self._handle)
            edit.ended += inside

    def recycle(self) -> Chunk:
        """Turn the chunk into free space, without moving a byte, and return the free chunk.

        It is merged with free chunks directly before and after it. A later `add` to the group can
        reuse the space. The chunk ends if it is a group or is merged. The chunks in a group end,
        too. If there are free chunks on both sides, the one after it also ends.

        >>> with velmor_core.open("song.wav", "r+") as f:
        ...     print(f["RIFF:WAVE/LIST:INFO"].recycle())
        <velmor_core.Chunk RIFF:WAVE/JUNK, 72 bytes, in 'song.wav'>
        """
        owner = self._object
        library = owner._library
        handle = self._handle
        with owner._exclusive():
            with owner._editing(self) as edit:
                parent = library.get_parent(handle)
                if not parent:
                    raise WrongKindError("the root cannot be recycled")
                following = library.get_next(handle)
                inside = self._handles_inside()
                is_group = library.get_id(handle) in (_ids.RIFF, _ids.LIST)
                cell = ctypes.c_size_t(handle)
                if library.recycle(ctypes.byref(cell)) != SUCCESS:
                    raise owner._failure("a chunk cannot be recycled")
                free = cell.value
                if is_group or free != handle:
                    edit.ended += inside
                # If the free chunk that followed is not the next one now, all three were merged.
                if following not in (0, free) and library.get_next(free) != following:
                    edit.ended.append(following)
                known = edit.free.get(parent)
                if known is not None:
                    known.difference_update(edit.ended)
                    known.add(free)
            return owner._chunk(free)

    # --- Internal: functions that take or return handles are called with the object locked ---

    def _group(self) -> Chunk:
        return self

    def _live(self) -> int:
        """The handle. Raises `EndedChunkError` if the chunk has ended."""
        handles = self._object._handles
        if handles.ended.get(self._handle, handles.first) != self._life:
            raise EndedChunkError("the chunk has ended: it was removed, recycled or overwritten, "
                                  "or its object was cleared or closed")
        return self._handle

    def _get(self, getter: Getter) -> int:
        owner = self._object
        with owner._lock:
            handles, handle = owner._handles, self._handle
            if handles.ended.get(handle, handles.first) != self._life:
                self._live()
            return getter(handle)

    def _get_chunk(self, getter: str) -> Optional[Chunk]:
        with self._object._lock:
            handle = self._get(getattr(self._object._library, getter))
            return self._object._chunk(handle) if handle else None

    def _require_group(self) -> None:
        if not self.is_group:
            raise WrongKindError(f"{self!r} is a data chunk, not a group")

    def _name_of(self, handle: int) -> str:
        library = self._object._library
        return _ids.name_text(library.get_id(handle), library.get_group_id(handle))

    def _children_of(self, group: int) -> Iterator[int]:
        library = self._object._library
        child = library.get_child(group, 0)
        while child:
            yield child
            child = library.get_next(child)

    def _matching(self, group: int, value: int, group_value: Optional[int]) -> Iterator[int]:
        library = self._object._library
        for child in self._children_of(group):
            if library.get_id(child) == value and (
                group_value is None or library.get_group_id(child) == group_value
            ):
                yield child

    def _find(self, path: str) -> Chunk:
        steps = _ids.parse_path(path)
        owner = self._object
        with owner._lock:
            handle = self._live()
            for text, value, group_value, number in steps:
                fitting = self._matching(handle, value, group_value)
                if number is None:
                    found = list(fitting)
                    if len(found) > 1:
                        raise MissingChunkError(
                            f"{text!r} fits {len(found)} chunks: name one of them as {text}[1] to "
                            f"{text}[{len(found)}]"
                        )
                else:
                    found = [child for _, child in zip(range(number), fitting)][number - 1 :]
                if not found:
                    root = not owner._library.get_parent(handle)
                    place = "at the top" if root else f"in {self._name_of(handle)}"
                    raise MissingChunkError(f"there is no chunk {text} {place}")
                handle = found[0]
            return owner._chunk(handle)

    def _inside(self, deep: bool) -> Iterator[Chunk]:
        """The children, or all chunks in this group, in the order of the bytes.

        Fetches them in batches. An edit of the object makes the current batch invalid.
        """
        owner = self._object
        library, handles, top = owner._library, owner._handles, self._handle
        get_child, get_next, get_parent = library.get_child, library.get_next, library.get_parent
        new = Chunk.__new__
        last = self
        size = _FIRST_BATCH
        while True:
            batch: List[Chunk] = []
            with owner._lock:
                edits = owner._edits
                handle = last._live()
                life, first = handles.ended.get, handles.first
                while len(batch) < size:
                    below = get_child(handle, 0) if deep or handle == top else 0
                    if below:
                        handle = below
                    else:
                        while handle != top:
                            after = get_next(handle)
                            if after:
                                break
                            handle = get_parent(handle)
                        if handle == top:
                            break
                        handle = after
                    chunk = new(Chunk)  # Chunk(), without the call
                    chunk._object, chunk._handle = owner, handle
                    chunk._life = life(handle, first)
                    batch.append(chunk)
            for last in batch:
                yield last
                if edits != owner._edits:
                    break
            else:
                if len(batch) < size:
                    return
            size = min(2 * size, _LARGEST_BATCH)

    def _handles_inside(self) -> List[int]:
        """The handles that end with this one: its own, and those of all chunks in it."""
        found = [self._handle]
        for handle in found:  # grows meanwhile
            found += self._children_of(handle)
        return found

    def _free_children(self, edit: Edit) -> Set[int]:
        """The free chunks of this group. Searched once, then kept up to date by every edit."""
        known = edit.free.get(self._handle)
        if known is None:
            known = set(self._matching(self._handle, _ids.JUNK, None))
            edit.free[self._handle] = known
        return known

    def _note_added(
        self, edit: Edit, free: Set[int], first: int, added: int, count_before: int
    ) -> None:
        """Find the free chunk that the new chunks, from `first` on, have filled exactly, if any."""
        library = self._object._library
        new = self._row(first, added)
        if library.get_child_count(self._handle) < count_before + added:
            filled = free
            if len(free) > 1:
                # A new chunk may already have the handle of the free chunk that ended.
                filled = free.difference(set(self._children_of(self._handle)).difference(new))
            if len(filled) != 1:
                raise RuntimeError("a free chunk was filled that was not known")
            edit.ended += filled
            free.difference_update(edit.ended)
        free.update(child for child in new if library.get_id(child) == _ids.JUNK)

    def _row(self, first: int, count: int) -> List[int]:
        """A child and those after it, `count` in all."""
        row = [first]
        while len(row) < count:
            row.append(self._object._library.get_next(row[-1]))
        return row

    def _check_limit(self, added: int, handle: int = 0) -> None:
        """Refuse an edit if the top-level group, the largest ancestor, would reach 4 GiB."""
        library = self._object._library
        top, handle = 0, handle or self._handle
        while True:
            parent = library.get_parent(handle)
            if not parent:
                break
            top, handle = handle, parent
        if top and library.get_data_size(top) + added > _LARGEST:
            raise SizeLimitError(f"a group cannot hold {added} bytes more: it would reach 4 GiB")

    def _resize(self, size: int) -> None:
        owner = self._object
        library = owner._library
        if not 0 <= size <= _LARGEST:
            raise SizeLimitError(f"a chunk cannot have {size} bytes")
        with owner._editing(self):
            before = library.get_data_size(self._handle)
            growth = max(size + size % 2 - before - before % 2, 0)
            self._check_limit(growth, library.get_parent(self._handle))
            self._check(library.set_data_size(self._handle, size), "resized", growth)

    def _range(self, key: slice) -> Tuple[int, int]:
        start, stop, step = key.indices(self._get(self._object._library.get_data_size))
        if step != 1:
            raise ValueError("slices of data have a step of 1")
        return start, max(start, stop)

    def _read_slice(self, key: slice) -> bytes:
        with self._object._lock:
            start, stop = self._range(key)
            return self._read(stop - start, start)

    def _read(self, size: int, offset: int) -> bytes:
        library = self._object._library
        handle = self._live()
        if size >= _LARGE:
            last = ctypes.c_char()
            address = ctypes.addressof(last)
            self._check(library.get_data(handle, address, 1, offset + size - 1), "read")
        data, address = new_bytes(size)
        self._check(library.get_data(handle, address, size, offset), "read")
        return data

    def _write(self, address: int, size: int, offset: int) -> None:
        status = self._object._library.set_data(self._live(), address, size, offset)
        self._check(status, "written")

    def _check(self, status: int, what: str, added: int = 0) -> None:
        if status == BAD_HANDLE:
            raise WrongKindError("a group has chunks, not data")
        if status != SUCCESS:
            if what == "read":
                raise Error("the data cannot be read, or was cut short")
            raise self._object._failure(f"the data cannot be {what}", added)


@contextlib.contextmanager
def _both(one: Object, other: Object) -> Iterator[None]:
    """Lock two objects: `one` to edit, `other` to read. Every thread uses the same order."""
    first, second = sorted((one, other), key=id)
    one._refuse_if_in_use()
    with first._lock, second._lock:
        yield
