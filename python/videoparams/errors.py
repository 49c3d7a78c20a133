"""The exceptions of the package. Every one is an Error, and also the built-in exception that it is nearest to."""

from __future__ import annotations

from typing import TYPE_CHECKING, Optional

if TYPE_CHECKING:
    from videoparams.model import AccessUnit


class Error(Exception):
    """The base of all exceptions of this package."""


class ClosedError(Error, ValueError):
    """A call on a Parser or a UserData after close()."""


class WrongCodecError(Error, ValueError):
    """A call for H.264 on an H.265 handle or stream, or a stream or sample of another codec than the caller named."""


class StreamError(Error, ValueError):
    """The bytes are not what the call takes: they have no start code, or a damaged unit.

    Attributes:
        offset: Bytes from the start of the call's input to the damaged unit, or of the stream for functions that take
            a stream. None: the fault has no single place.
        access_unit: What Parser.parse completed before the fault. None: nothing.
    """

    def __init__(self, message: str, offset: Optional[int] = None, access_unit: Optional[AccessUnit] = None) -> None:
        super().__init__(message)
        self.offset = offset
        self.access_unit = access_unit


class NoPlaceError(StreamError):
    """UserData.add found neither an SEI unit nor a slice, so the message has no place."""


class ContainerError(Error, ValueError):
    """The source is neither a byte stream nor a container that can be read, or has no H.264 or H.265 video."""


class MissingPyAVError(ContainerError, ImportError):
    """The source is a container, and PyAV, which reads containers, is not installed."""


class TooLargeError(Error, OverflowError):
    """The library counts bytes in 32 bits, and the input or the result does not fit."""


class OutOfMemoryError(Error, MemoryError):
    """The library could not allocate memory. The handle stays usable; a later call can succeed."""


class LibraryNotFoundError(Error, ImportError):
    """The shared library is not installed, or lacks a function."""
