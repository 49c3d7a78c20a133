"""One way to read all sources: a path, bytes, a file object, or an iterator of chunks."""

from __future__ import annotations

import io
import os
from typing import BinaryIO, Iterable, Iterator, Optional, Union, cast

from videoparams._buffer import contiguous
from videoparams._types import BytesLike, Readable, Source

PIECE = 1 << 20


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
    if not isinstance(source, (str, os.PathLike, Iterable)) and not hasattr(source, "read"):
        if not _is_bytes_like(source):
            raise TypeError(f"source must be a path, bytes, a binary file or an iterable of bytes, not {kind}")


def _read(file: Readable) -> Iterator[BytesLike]:
    """What a pipe has, as soon as it has some: read1 does not wait for a full piece."""
    read = getattr(file, "read1", file.read)
    while piece := read(PIECE):
        if not isinstance(piece, bytes):
            piece = contiguous(piece)
        yield piece
    if piece is None:
        raise BlockingIOError("the file is non-blocking and has no bytes now: pass a blocking file")


def _checked(pieces: Iterable[BytesLike]) -> Iterator[BytesLike]:
    for piece in pieces:
        yield contiguous(piece)


def _cut(data: BytesLike) -> Iterator[BytesLike]:
    view = memoryview(cast(bytes, contiguous(data))).cast("B")
    for begin in range(0, len(view), PIECE):
        yield view[begin : begin + PIECE]


class _PiecesFile(io.RawIOBase):
    """A file without seeking, which reads from pieces."""

    def __init__(self, pieces: Iterator[BytesLike]) -> None:
        self._pieces = pieces
        self._rest = memoryview(b"")

    def readable(self) -> bool:
        return True

    def readinto(self, buffer: Union[bytearray, memoryview]) -> int:  # type: ignore[override]
        while not self._rest:
            piece = next(self._pieces, None)
            if piece is None:
                return 0
            self._rest = memoryview(cast(bytes, piece)).cast("B")
        count = min(len(buffer), len(self._rest))
        buffer[:count] = self._rest[:count]
        self._rest = self._rest[count:]
        return count


class OpenSource:
    """A source that is open for reading. It can be looked at without taking anything from it.

    Attributes:
        name: For messages: the path, or the type.
    """

    def __init__(self, source: Source) -> None:
        self.name = type(source).__name__
        self._source = source
        self._file: Optional[Readable] = None
        self._owned: Optional[BinaryIO] = None
        self._held: list[BytesLike] = []
        self._start = 0
        self._pieces = self._open(source)

    def _open(self, source: Source) -> Iterator[BytesLike]:
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
        return _checked(cast("Iterable[BytesLike]", source))

    def _can_seek(self) -> bool:
        seekable = getattr(self._file, "seekable", None)
        return bool(seekable and seekable())

    def peek(self) -> Optional[bytes]:
        """The bytes so far, with one piece more than the last call. None: the source has no more."""
        piece = next(self._pieces, None)
        if piece is None:
            return None
        self._held.append(piece)
        return b"".join(cast("list[bytes]", self._held))

    def pieces(self) -> Iterator[BytesLike]:
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
            return io.BytesIO(cast(bytes, contiguous(cast(BytesLike, self._source))))
        return cast(BinaryIO, io.BufferedReader(_PiecesFile(self.pieces())))

    def __enter__(self) -> OpenSource:
        return self

    def __exit__(self, *_unused: object) -> None:
        if self._owned is not None:
            self._owned.close()
