"""What Parser and UserData have in common: a handle of the library, its lock and its end."""

from __future__ import annotations

import ctypes
import threading
from typing import NoReturn, TypeVar

from videoparams._library import load
from videoparams._types import Sample
from videoparams.errors import ClosedError, OutOfMemoryError, WrongCodecError
from videoparams.model import AccessUnit, Codec, Unit

_Own = TypeVar("_Own", bound="Handle")


class Handle:
    """A handle of the library. Every call takes its lock, because the library takes a handle from one thread at a time.

    The library is called without the lock of the interpreter, so different handles work at the same time.
    """

    _create: str
    _release: str

    def __init__(self, codec: Codec, *settings: int) -> None:
        self._pointer = ctypes.c_void_p()
        self._codec = Codec(codec)
        self._lock = threading.Lock()
        self._library = load()
        if getattr(self._library, self._create)(ctypes.byref(self._pointer), self._codec, *settings) != 0:
            raise OutOfMemoryError(f"out of memory for a {type(self).__name__}")

    @property
    def codec(self) -> Codec:
        """The codec of the streams that it reads."""
        return self._codec

    @property
    def closed(self) -> bool:
        """Whether close() was called."""
        return not self._pointer

    def close(self) -> None:
        """Frees the memory of the library. Waits for a call on another thread. A second call does nothing."""
        with self._lock:
            if self._pointer:
                getattr(self._library, self._release)(self._pointer)
                self._pointer = ctypes.c_void_p()

    def _opened(self) -> ctypes.c_void_p:
        """The handle, for a caller that holds the lock."""
        if not self._pointer:
            raise ClosedError(f"this {type(self).__name__} is closed")
        return self._pointer

    def _require_avc(self, what: str) -> None:
        if self._codec is not Codec.AVC:
            raise WrongCodecError(f"{what} works for H.264 only, and this {type(self).__name__} is for H.265")

    def _checked(self, sample: Sample) -> Sample:
        """The argument, which must not be of the other codec."""
        if isinstance(sample, (AccessUnit, Unit)) and sample.codec is not self._codec:
            name = type(self).__name__
            raise WrongCodecError(f"the sample is {sample.codec.standard}, and this {name} is for {self._codec.standard}")
        return sample

    def __reduce_ex__(self, _protocol: object) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} can be neither copied nor pickled: make another one")

    def __enter__(self: _Own) -> _Own:
        return self

    def __exit__(self, *_unused: object) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_library"):
            self.close()

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self._codec.standard}{', closed' if self.closed else ''}>"
