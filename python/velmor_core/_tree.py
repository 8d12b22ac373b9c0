"""The table that `tree()` returns."""

from __future__ import annotations

from typing import TYPE_CHECKING, List, Tuple

if TYPE_CHECKING:
    from ._chunk import Chunk

# Deeper chunks are not indented further; their level comes before them as a number.
_DEEPEST_INDENT = 20
_HEAD = ("offset", "chunk", "data size", "total")


def tree_text(group: Chunk) -> str:
    rows: List[Tuple[str, str, str, str, str]] = []
    ends: List[int] = []  # where the groups that hold the current chunk end
    offset = group.offset if group.is_root else group.offset + 12
    object_size = group.object.size
    for chunk in group.walk():
        while ends and offset >= ends[-1]:
            ends.pop()
        size, total, is_group = chunk.size, chunk.total_size, chunk.is_group
        level = len(ends)
        deeper = f"({level}) " if level > _DEEPEST_INDENT else ""
        indent = "  " * min(level, _DEEPEST_INDENT) + deeper
        missing = 0 if is_group else offset + total - object_size
        rows.append(
            (str(offset), indent + chunk.name, f"{size:,}", f"{total:,}", _note(chunk, missing))
        )
        if is_group:
            ends.append(offset + total)
            offset += 12
        else:
            offset += total
    return _table(rows)


def _note(chunk: Chunk, missing: int) -> str:
    pad = chunk.size % 2 if not chunk.is_group else 0
    if missing > 0:
        return f"cut short by {missing - pad:,} bytes" if missing > pad else "without its pad byte"
    return ", ".join(["pad"] * pad + ["free"] * (chunk.id == "JUNK"))


def _table(rows: List[Tuple[str, str, str, str, str]]) -> str:
    columns = list(zip(_HEAD, *(row[:4] for row in rows)))
    offset, name, size, total = (max(map(len, column)) for column in columns)
    return "\n".join(
        f"  {row[0]:>{offset}}  {row[1]:<{name}}  {row[2]:>{size}}  {row[3]:>{total}}  "
        f"{row[4]}".rstrip()
        for row in [(*_HEAD, ""), *rows]
    )
