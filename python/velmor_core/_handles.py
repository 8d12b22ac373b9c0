"""Keeps track of which handles are still valid.

A chunk handle is an address. Once a chunk has ended, the library gives its memory to the next chunk
that is made, so an old handle may seem valid and mean another chunk. Therefore every handle has a
*life*, a number that changes when its chunk ends. A `Chunk` stores its handle and the life that the
handle had. The handle is passed to the library only if its life is still the same.
"""

from __future__ import annotations

from typing import Dict, Iterable, List, Set


class Edit:
    """One running edit: the state of the handles before it, and the handles that it ends."""

    def __init__(self, ended: Dict[int, int], first: int, free: Dict[int, Set[int]]) -> None:
        self.ended_before = ended
        self.first = first
        self.free = free
        self.ended: List[int] = []


class Handles:
    """The lives of the handles of one object.

    While an edit runs, no handle is valid. So an interruption between the library's call and the
    update of the lives, such as a KeyboardInterrupt, leaves no dangling handle.
    """

    def __init__(self) -> None:
        # The handles whose life is not `first`, with their lives. A handle that ends gets a new
        # life.
        self.ended: Dict[int, int] = {}
        self.first = 0  # the life of all other handles
        self._last = 0  # the highest life so far
        # For each group that a chunk was added to: its children with the id "JUNK".
        self._free: Dict[int, Set[int]] = {}

    def life(self, handle: int) -> int:
        return self.ended.get(handle, self.first)

    def suspend(self) -> Edit:
        """End all handles until resume()."""
        edit = Edit(self.ended, self.first, self._free)
        self.end_all()
        return edit

    def resume(self, edit: Edit, ended: Iterable[int]) -> None:
        """Undo suspend(), except for the handles that the edit ended: these stay ended."""
        self._last += 1
        for handle in ended:
            edit.ended_before[handle] = self._last
            edit.free.pop(handle, None)
        self._free = edit.free
        self.ended = edit.ended_before
        self.first = edit.first

    def end_all(self) -> None:
        self._last += 1
        self.ended = {}
        self.first = self._last
        self._free = {}

    def keep(self, handle: int, life: int) -> None:
        """Make one handle valid again that end_all() has ended."""
        self.ended[handle] = life
