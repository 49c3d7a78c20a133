"""One way to read all sources: a path, bytes, a file object, or an iterator of chunks."""

from __future__ import annotations

import io
import os
from typing import BinaryIO, Iterable, Iterator, Optional, Union, cast

from videoparams._buffer import contiguous
from videoparams._types import BytesLike, Readable, Source

PIECE = 1 << 20
Piece = Union[bytes, memoryview]


def _is_bytes_like(source: object) -> bool:
    try:
        memoryview(cast(bytes, source)).release()
    except TypeError:
        return False
    return True


def check(source: Source) -> None:
    """Raises TypeError for what is no source, so that the caller's line shows in the traceback."""
    kind = type(source).__name__
    if isinstance(source, io.TextIOBase):
        raise TypeError(f"the file is open for text: open it with mode 'rb' ({kind})")
    if isinstance(source, io.IOBase) and not source.readable():
        raise TypeError(f"the file is open for writing only: open it with mode 'rb' ({kind})")
    if not isinstance(source, (str, os.PathLike, Iterable)) and not hasattr(source, "read"):
        if not _is_bytes_like(source):
            raise TypeError(f"source must be a path, bytes, a binary file or an iterable of bytes, not {kind}")


def _flat(data: BytesLike) -> Piece:
    """The same bytes in a form that every call takes."""
    data = contiguous(data)
    return data if isinstance(data, bytes) else memoryview(cast(bytes, data)).cast("B")


def _read(file: Readable) -> Iterator[Piece]:
    """What a pipe has, as soon as it has some: read1 does not wait for a full piece."""
    read = getattr(file, "read1", file.read)
    while piece := read(PIECE):
        yield _flat(piece)
    if piece is None:
        raise BlockingIOError("the file is non-blocking and has no bytes now: pass a blocking file")


def _cut(data: BytesLike) -> Iterator[Piece]:
    view = memoryview(_flat(data))
    for begin in range(0, len(view), PIECE):
        yield view[begin : begin + PIECE]


class _PiecesFile(io.RawIOBase):
    """A file without seeking, which reads from pieces."""

    def __init__(self, pieces: Iterator[Piece]) -> None:
        self._pieces = pieces
        self._rest = memoryview(b"")

    def readable(self) -> bool:
        return True

    def readinto(self, buffer: Union[bytearray, memoryview]) -> int:  # type: ignore[override]
        while not self._rest:
            piece = next(self._pieces, None)
            if piece is None:
                return 0
            self._rest = memoryview(piece)
        count = min(len(buffer), len(self._rest))
        buffer[:count] = self._rest[:count]
        self._rest = self._rest[count:]
        return count


class OpenSource:
    """A source that is open for reading. It can be looked at without taking anything from it.

    Attributes:
        name: For messages: the path, or the type of the object.
    """

    def __init__(self, source: Source) -> None:
        self.name = f"this {type(source).__name__} object"
        self._source = source
        self._file: Optional[Readable] = None
        self._owned: Optional[BinaryIO] = None
        self._held: list[bytes] = []
        self._start = 0
        self._pieces = self._open(source)

    def _open(self, source: Source) -> Iterator[Piece]:
        if isinstance(source, (str, os.PathLike)):
            self.name = os.fspath(source)
            self._file = self._owned = open(source, "rb")
            return _read(self._file)
        if _is_bytes_like(source):
            return _cut(cast(BytesLike, source))
        if hasattr(source, "read"):
            self._file = cast(Readable, source)
            self._start = self._file.tell() if self._can_seek() else 0  # type: ignore[attr-defined]
            return _read(self._file)
        return map(_flat, cast("Iterable[BytesLike]", source))

    def _can_seek(self) -> bool:
        seekable = getattr(self._file, "seekable", None)
        return bool(seekable and seekable())

    def peek(self, size: int) -> bytes:
        """At least so many bytes from the start on. Fewer: the source has no more.

        They are copies, because a source may read the next piece into the memory of the previous one.
        """
        length = sum(map(len, self._held))
        while length < size and (piece := next(self._pieces, None)) is not None:
            self._held.append(bytes(piece))
            length += len(piece)
        self._held = [b"".join(self._held)]
        return self._held[0]

    def pieces(self) -> Iterator[Piece]:
        """Everything, from the start on."""
        held, self._held = self._held, []
        yield from held
        yield from self._pieces

    def file(self) -> BinaryIO:
        """The same as a file, which can seek if the source can."""
        if self._file is not None and self._can_seek():
            self._file.seek(self._start)  # type: ignore[attr-defined]
            return cast(BinaryIO, self._file)
        if self._file is None and _is_bytes_like(self._source):
            return io.BytesIO(_flat(cast(BytesLike, self._source)))
        return cast(BinaryIO, io.BufferedReader(_PiecesFile(self.pieces())))

    def __enter__(self) -> OpenSource:
        return self

    def __exit__(self, *_unused: object) -> None:
        if self._owned is not None:
            self._owned.close()
