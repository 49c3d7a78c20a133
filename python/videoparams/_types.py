"""The types of arguments."""

from __future__ import annotations

import array
import mmap
import os
from typing import Any, Iterable, Protocol, Union

from videoparams.model import AccessUnit, Unit


class ArrayLike(Protocol):
    """An array with a buffer, such as numpy.ndarray."""

    @property
    def nbytes(self) -> int:
        """The bytes of the elements."""

    def tobytes(self) -> bytes:
        """A copy of the elements."""


class Readable(Protocol):
    """A binary file, or anything with its method read. At the end, read returns b""."""

    def read(self, __size: int) -> bytes:
        """At most so many bytes."""


BytesLike = Union[bytes, bytearray, memoryview, "array.array[Any]", mmap.mmap, ArrayLike]
Sample = Union[BytesLike, AccessUnit, Unit]
Source = Union[str, "os.PathLike[str]", BytesLike, Readable, Iterable[BytesLike]]
