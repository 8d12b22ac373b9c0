"""The exceptions of the module."""

from __future__ import annotations


class Error(Exception):
    """The base of the module's own exceptions: an operation of the library failed.

    If an edit of a file raises `Error` itself and not a subclass, the file could not be read or
    written, or its last chunk was cut short. The edit may then have stopped half-way: close the
    object, and go back to a copy of the file. An edit in a signal handler also raises `Error` if it
    interrupts a call on the same object; it then changes nothing.
    """

    def __str__(self) -> str:
        return Exception.__str__(self)  # KeyError would print the message in quotes


class FormatError(Error, ValueError):
    """An object over a file or buffer cannot be opened.

    The usual reason is that the bytes are not a sequence of chunks. The library gives no reason.
    So this exception is also raised if the bytes cannot be read, or if memory runs out.
    """


class ClosedError(Error, ValueError):
    """The object has been closed."""


class EndedChunkError(Error):
    """The chunk has ended: removed, recycled, overwritten, or its object was cleared or closed."""


class WrongKindError(Error, TypeError):
    """The call needs a data chunk and got a group, or the other way round."""


class MissingChunkError(Error, KeyError):
    """No chunk fits a path, or a step of it fits several chunks and has no number."""


class ReadOnlyError(Error):
    """The object was opened for reading only.

    No byte was changed, but a chunk may show a new id or size. Open the object again before you
    rely on its chunks.
    """


class NoRoomError(Error):
    """A buffer is too small for the edit.

    Nothing was changed, with one exception: if the pad byte of the last chunk was missing, the edit
    may have appended it.
    """


class SizeLimitError(Error, OverflowError):
    """A group or chunk would reach 4 GiB, more than a size field holds. Nothing was changed."""
