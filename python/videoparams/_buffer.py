"""Lends the bytes of Python objects to the library."""

from __future__ import annotations

import ctypes
from typing import Optional, Union, cast

from videoparams._types import BytesLike, Sample
from videoparams.errors import TooLargeError
from videoparams.model import AccessUnit, Unit

LARGEST = 0xFFFFFFFF


class _PyBuffer(ctypes.Structure):
    """Py_buffer of CPython."""

    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_char_p),
        ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p),
        ("suboffsets", ctypes.c_void_p),
        ("internal", ctypes.c_void_p),
    ]


# A PYFUNCTYPE raises the exception that the function set.
_get_buffer = ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object, ctypes.c_void_p, ctypes.c_int)(
    ("PyObject_GetBuffer", ctypes.pythonapi)
)
_release_buffer = ctypes.PYFUNCTYPE(None, ctypes.c_void_p)(("PyBuffer_Release", ctypes.pythonapi))


def contiguous(sample: Sample) -> BytesLike:
    """The bytes-like object of an argument; a copy of its bytes if they are not one block."""
    data = sample.data if isinstance(sample, (AccessUnit, Unit)) else sample
    if isinstance(data, bytes):
        return data
    try:
        view = memoryview(cast(bytes, data))
    except TypeError:
        raise TypeError(f"bytes-like object expected, not {type(data).__name__}") from None
    return data if view.c_contiguous else view.tobytes()


class Borrowed:
    """Inside a with block, the bytes stay where they are: the object can be neither freed nor resized.

    Attributes:
        pointer: What a pointer argument takes: the address, or a bytes object.
        size: Number of bytes.
    """

    __slots__ = ("pointer", "size", "_buffer")

    def __init__(self, sample: Sample) -> None:
        self._buffer: Optional[_PyBuffer] = None
        data = contiguous(sample)
        self.pointer: Union[int, bytes, None]
        if type(data) is bytes:
            self.pointer, self.size = data, len(data)
        else:
            self._pin(data)
        if self.size > LARGEST:
            self.__exit__()
            raise TooLargeError(f"{self.size} bytes in one call: the library takes less than 4 GiB")

    def _pin(self, data: BytesLike) -> None:
        buffer = _PyBuffer()
        _get_buffer(data, ctypes.byref(buffer), 0)
        self._buffer = buffer
        self.pointer, self.size = buffer.buf, buffer.len

    @property
    def address(self) -> int:
        """The address of the first byte."""
        if isinstance(self.pointer, bytes):
            self._pin(self.pointer)
        return cast(int, self.pointer or 0)

    def __enter__(self) -> Borrowed:
        return self

    def __exit__(self, *_unused: object) -> None:
        if self._buffer is not None:
            _release_buffer(ctypes.byref(self._buffer))
            self._buffer = None
