"""VideoParams for Python: analyses and edits H.264/AVC and H.265/HEVC Annex B elementary streams.

    import videoparams as vp

    with vp.Parser(vp.Codec.AVC) as parser, open("film.h264", "rb") as file:
        for unit in vp.units(iter(lambda: file.read(1 << 20), b"")):
            access_unit = parser.parse(unit)
            if access_unit:
                print(len(access_unit.data), access_unit.key_frame)
        last = parser.flush()

The module needs CPython and the shared library. It looks for it in $VIDEOPARAMS_LIBRARY (a file), then in the
folder of this file, then in the system's library folders.

Input can be any object with a contiguous buffer. It is not copied. NAL units are returned as memoryviews of it.
Results in a block of the library, which later calls overwrite, are copied once and returned as bytes.

Use a Parser or a UserDataEditor from one thread at a time.
"""

from __future__ import annotations

import ctypes
import ctypes.util
import enum
import os
import pathlib
import sys
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any, Iterable, Iterator, Optional, TypeVar, Union

__version__ = "1.0.0"
__all__ = [
    "AccessUnit", "Codec", "Error", "NalUnit", "ParameterSets", "Parser", "PictureType", "SampleTest", "SequenceInfo",
    "UserDataEditor", "units",
]

BytesLike = Union[bytes, bytearray, memoryview]


class Error(Exception):
    """A call of the library returned -1. Its documentation lists the reasons."""


class Codec(enum.IntEnum):
    """The codec of a stream."""

    AVC = 0
    HEVC = 1


class PictureType(enum.IntEnum):
    """slice_type as coded (ITU-T H.264, Table 7-6). With ALL_, every slice of the picture has this type."""

    P = 0
    B = 1
    I = 2
    SP = 3
    SI = 4
    ALL_P = 5
    ALL_B = 6
    ALL_I = 7
    ALL_SP = 8
    ALL_SI = 9


@dataclass(frozen=True)
class SequenceInfo:
    """The values of a sequence parameter set, as coded, without range checks."""

    width: int
    """Luma samples after cropping. Wraps modulo 2**32 if the stream crops more than its picture."""
    height: int
    frame_rate_numerator: int
    """Frames per second = numerator / denominator. Both are 0 if the stream codes no rate."""
    frame_rate_denominator: int
    """H.264: 2 * num_units_in_tick. H.265: num_units_in_tick. Can be 0: check it before you divide."""
    video_signal_type_present_flag: int
    video_format: int
    video_full_range_flag: int
    colour_description_present_flag: int
    colour_primaries: int
    transfer_characteristics: int
    matrix_coefficients: int


@dataclass(frozen=True)
class AccessUnit:
    """One access unit."""

    data: bytes
    """The NAL units with their start codes. An H.264 key frame may have the held parameter sets inserted."""
    key_frame: bool
    """Whether the access unit has an H.264 IDR slice or an H.265 IRAP slice."""
    sequence: Optional[SequenceInfo]
    """None if the access unit has no sequence parameter set (an H.264 key frame: and the parser holds none)."""


@dataclass(frozen=True)
class SampleTest:
    """The result of Parser.test_sample."""

    error: bool
    """The sample does not continue the sequence of reference pictures, or its parameter sets are unknown."""
    is_frame: bool
    is_intra: bool


@dataclass(frozen=True)
class ParameterSets:
    """The last parameter sets of a part of a stream, start codes included."""

    sps: Optional[bytes]
    pps: Optional[bytes]


@dataclass(frozen=True)
class NalUnit:
    """One unit of Parser.nal_units."""

    data: memoryview
    """A view of the caller's bytes, start code included."""
    is_slice: bool
    slice_header_length: int
    """Bytes after the unit header up to the picture order count: less than the whole slice header."""


def units(pieces: Iterable[BytesLike]) -> Iterator[bytes]:
    """Takes a stream in pieces of any size and returns whole NAL units, start codes included.

    A unit of 3 or 4 bytes (such as an end of sequence) is joined to the previous unit, because Parser.parse ignores a
    buffer so short.
    """
    held = bytearray()  # the current unit and what follows it, once a unit has begun
    begun = False
    cut = 0  # the end of the current unit, unless the next unit is too short; 0: not known
    scanned = 0
    for piece in pieces:
        held += piece
        begin = 0
        while True:
            at = held.find(b"\0\0\1", scanned)
            start = at - 1 if at > 0 and held[at - 1] == 0 else at
            if at < 0 or len(held) - start < 5:  # a start code counts if five bytes are left
                scanned = max(scanned, len(held) - 3 if at < 0 else at)
                break
            scanned = at + 3
            if not begun:
                begun = True
                begin = start
            elif cut and start - cut < 5:
                cut = start
            else:
                if cut:
                    yield bytes(held[begin:cut])
                    begin = cut
                cut = start
        if cut and scanned > cut + 5:  # no start code follows within five bytes after the cut
            yield bytes(held[begin:cut])
            begin, cut = cut, 0
        if not begun:
            begin = max(scanned - 1, 0)
        del held[:begin]
        scanned -= begin
        cut = max(cut - begin, 0)
    if cut:
        yield bytes(held[:cut])
    if begun and held:
        yield bytes(held[cut:])


class _VideoInfo(ctypes.Structure):
    _fields_ = [
        ("accessUnitFound", ctypes.c_uint32),
        ("sequenceInfoValid", ctypes.c_uint32),
        ("keyFrame", ctypes.c_uint32),
        ("accessUnitData", ctypes.c_void_p),
        ("accessUnitSize", ctypes.c_uint32),
        ("width", ctypes.c_uint32),
        ("height", ctypes.c_uint32),
        ("frameRateNumerator", ctypes.c_uint32),
        ("frameRateDenominator", ctypes.c_uint32),
        ("video_signal_type_present_flag", ctypes.c_uint32),
        ("video_format", ctypes.c_uint32),
        ("video_full_range_flag", ctypes.c_uint32),
        ("colour_description_present_flag", ctypes.c_uint32),
        ("colour_primaries", ctypes.c_uint32),
        ("transfer_characteristics", ctypes.c_uint32),
        ("matrix_coefficients", ctypes.c_uint32),
        ("reserved1", ctypes.c_ubyte * 1024),
        ("reserved2", ctypes.c_ubyte * 1088),
    ]


class _VideoInfoEx(ctypes.Structure):
    _fields_ = [("sampleError", ctypes.c_uint32), ("isFrame", ctypes.c_uint32), ("isIntra", ctypes.c_uint32)]


class _ParameterSetData(ctypes.Structure):
    _fields_ = [
        ("vps", ctypes.c_void_p), ("vpsSize", ctypes.c_uint32),
        ("sps", ctypes.c_void_p), ("spsSize", ctypes.c_uint32),
        ("pps", ctypes.c_void_p), ("ppsSize", ctypes.c_uint32),
    ]


class _PyBuffer(ctypes.Structure):
    """Py_buffer of the C interface: gives the address of a read-only object's bytes."""

    _fields_ = [
        ("buf", ctypes.c_void_p), ("obj", ctypes.py_object), ("len", ctypes.c_ssize_t), ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int), ("ndim", ctypes.c_int), ("format", ctypes.c_char_p), ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p), ("suboffsets", ctypes.c_void_p), ("internal", ctypes.c_void_p),
    ]


@contextmanager
def _address(data: Optional[BytesLike]) -> Iterator[tuple[Optional[int], int]]:
    """Address and size of an object's bytes, which do not move inside the with block."""
    if data is None:
        yield None, 0
        return
    buffer = _PyBuffer()
    ctypes.pythonapi.PyObject_GetBuffer(ctypes.py_object(data), ctypes.byref(buffer), 0)
    try:
        if buffer.len > 0xFFFFFFFF:
            raise ValueError("more than 2**32 - 1 bytes in one call")
        yield buffer.buf, buffer.len
    finally:
        ctypes.pythonapi.PyBuffer_Release(ctypes.byref(buffer))


_POINTER, _SIZE = ctypes.c_void_p, ctypes.c_uint
_SIGNATURES = {
    "ParseCreate": [_POINTER, ctypes.c_int32, _SIZE, _SIZE],
    "ParseRelease": [_POINTER],
    "ParseVideoParams": [_POINTER, _POINTER, _SIZE, _POINTER],
    "VideoSampleTest": [_POINTER, _POINTER, _SIZE, _POINTER],
    "QueryType": [_POINTER, _POINTER, _SIZE, _POINTER],
    "SetParameterSetData": [_POINTER, _POINTER, _SIZE, _POINTER, _SIZE],
    "GetParameterSetData": [_POINTER, _POINTER, _SIZE, _POINTER],
    "SetVideoData": [_POINTER, _POINTER, _SIZE],
    "GetNalUnit": [_POINTER, _POINTER, _POINTER, _POINTER, _POINTER],
    "GetNalFromFrame": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER, _POINTER],
    "UserDataCreate": [_POINTER, ctypes.c_int32],
    "UserDataRelease": [_POINTER],
    "AddUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _SIZE, _POINTER, _POINTER],
    "GetUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER],
    "RemoveUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER],
}


def _load() -> ctypes.CDLL:
    name = "VideoParams.dll" if sys.platform == "win32" else "libVideoParams.so.1"
    beside = pathlib.Path(__file__).parent / name
    named = os.environ.get("VIDEOPARAMS_LIBRARY")
    candidates: list[Optional[str]] = [name, ctypes.util.find_library("VideoParams")]
    if named or beside.exists():
        candidates = [named or str(beside)]
    for candidate in filter(None, candidates):
        try:
            library = ctypes.CDLL(candidate)
        except OSError as error:
            failure = error
            continue
        for function, arguments in _SIGNATURES.items():
            getattr(library, function).argtypes = arguments
            getattr(library, function).restype = ctypes.c_int64
        return library
    raise ImportError(f"{name} not found: install the library, or set VIDEOPARAMS_LIBRARY to its file") from failure


class _Library:
    """Loaded by the first call, because parts of the package do not need it."""

    def __getattr__(self, function: str) -> Any:
        if function not in _SIGNATURES:
            raise AttributeError(function)
        library = _load()
        self.__dict__.update({name: getattr(library, name) for name in _SIGNATURES})
        return self.__dict__[function]


_library = _Library()


def _check(result: int, call: str) -> None:
    if result != 0:
        raise Error(f"{call} failed")


_Own = TypeVar("_Own", bound="_Handle")


class _Handle:
    """A handle of the library. Freed by close(), at the end of a with block, or with the object."""

    _release: str

    def __init__(self) -> None:
        self._handle = ctypes.c_void_p()

    def close(self) -> None:
        """Frees the handle. A second call does nothing."""
        if self._handle:
            getattr(_library, self._release)(self._handle)
            self._handle = ctypes.c_void_p()

    def __enter__(self: _Own) -> _Own:
        return self

    def __exit__(self, *_unused: object) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_handle"):
            self.close()


class Parser(_Handle):
    """A parse handle: stream analysis, queries, parameter sets and NAL units."""

    _release = "ParseRelease"

    def __init__(self, codec: Codec) -> None:
        super().__init__()
        _check(_library.ParseCreate(ctypes.byref(self._handle), codec, 0, 0), "ParseCreate")

    def parse(self, data: BytesLike) -> Optional[AccessUnit]:
        """Takes whole NAL units, best one per call. Returns the access unit that they complete, one picture late.

        If a call completes several, the last one is returned. Raises Error for 5 bytes or more without a start code,
        and for a unit with forbidden_zero_bit 1.
        """
        return self._parse(data) if len(data) else None

    def flush(self) -> Optional[AccessUnit]:
        """Returns the last access unit; the next call of parse begins a new stream."""
        return self._parse(None)

    def _parse(self, data: Optional[BytesLike]) -> Optional[AccessUnit]:
        info = _VideoInfo()
        with _address(data) as (address, size):
            _check(_library.ParseVideoParams(self._handle, address, size, ctypes.byref(info)), "ParseVideoParams")
        if not info.accessUnitFound:
            return None
        sequence = None
        if info.sequenceInfoValid:
            sequence = SequenceInfo(*(getattr(info, name) for name, _ in _VideoInfo._fields_[5:16]))
        data = ctypes.string_at(info.accessUnitData, info.accessUnitSize)
        return AccessUnit(data, bool(info.keyFrame), sequence)

    def test_sample(self, sample: BytesLike) -> Optional[SampleTest]:
        """Tests whether an H.264 sample continues the sequence of reference pictures. None for H.265.

        Pass every sample in decoding order, to a parser that is not used for parse.
        """
        test = _VideoInfoEx(2, 2, 2)
        with _address(sample) as (address, size):
            result = _library.VideoSampleTest(self._handle, address, size, ctypes.byref(test))
        if test.isFrame == 2:
            return None
        if not test.sampleError:
            _check(result, "VideoSampleTest")
        return SampleTest(bool(test.sampleError), bool(test.isFrame), bool(test.isIntra))

    def picture_type(self, sample: BytesLike) -> Optional[PictureType]:
        """The slice_type of the first slice of an H.264 sample; None if there is no slice, and for H.265."""
        value = ctypes.c_int32(-1)
        with _address(sample) as (address, size):
            if _library.QueryType(self._handle, address, size, ctypes.byref(value)) != 0:
                return None
        return PictureType(value.value) if 0 <= value.value <= 9 else None

    def set_parameter_sets(self, sps: BytesLike, pps: BytesLike) -> None:
        """Gives an H.264 parser the parameter sets of a stream without them. Start codes are optional."""
        with _address(sps) as (spsAddress, spsSize), _address(pps) as (ppsAddress, ppsSize):
            result = _library.SetParameterSetData(self._handle, spsAddress, spsSize, ppsAddress, ppsSize)
        _check(result, "SetParameterSetData")

    def parameter_sets(self, data: BytesLike) -> ParameterSets:
        """The last SPS and the last PPS in a part of an H.264 stream; None for H.265."""
        sets = _ParameterSetData()
        with _address(data) as (address, size):
            _check(_library.GetParameterSetData(self._handle, address, size, ctypes.byref(sets)), "GetParameterSetData")
        return ParameterSets(
            ctypes.string_at(sets.sps, sets.spsSize) if sets.sps else None,
            ctypes.string_at(sets.pps, sets.ppsSize) if sets.pps else None,
        )

    def nal_units(self, data: BytesLike) -> list[NalUnit]:
        """The NAL units of an H.264 buffer, with measured slice headers; an empty list for H.265.

        Units with forbidden_zero_bit 1, and start codes that are immediately followed by another one, are left out.
        The call reads parameter sets on the way, so use a parser that is not used for parse.
        """
        tries = len(self.split(data))
        view = memoryview(data).cast("B")
        found = []
        with _address(data) as (address, total):
            _library.SetVideoData(self._handle, address, total)
            for _ in range(tries):
                unit, size = ctypes.c_void_p(), ctypes.c_uint()
                isSlice, headerLength = ctypes.c_bool(), ctypes.c_uint()
                _library.GetNalUnit(self._handle, ctypes.byref(unit), ctypes.byref(size), ctypes.byref(isSlice),
                                    ctypes.byref(headerLength))
                if unit.value is not None:
                    offset = unit.value - (address or 0)
                    found.append(NalUnit(view[offset:offset + size.value], isSlice.value, headerLength.value))
            _library.SetVideoData(self._handle, None, 0)  # the library keeps no address
        return found

    def split(self, data: BytesLike) -> list[memoryview]:
        """The NAL units of an H.264 buffer as views of it; an empty list for H.265."""
        count, addresses, sizes = ctypes.c_uint(), ctypes.POINTER(ctypes.c_void_p)(), ctypes.POINTER(ctypes.c_uint)()
        view = memoryview(data).cast("B")
        with _address(data) as (address, size):
            _check(
                _library.GetNalFromFrame(self._handle, address, size, ctypes.byref(count), ctypes.byref(addresses),
                                         ctypes.byref(sizes)), "GetNalFromFrame")
            places = [(addresses[i] - address, sizes[i]) for i in range(count.value)]
        return [view[offset:offset + length] for offset, length in places]


class UserDataEditor(_Handle):
    """A user-data handle: bytes of your own in user-data SEI messages."""

    _release = "UserDataRelease"

    def __init__(self, codec: Codec) -> None:
        super().__init__()
        _check(_library.UserDataCreate(ctypes.byref(self._handle), codec), "UserDataCreate")

    def add(self, access_unit: BytesLike, user_data: BytesLike) -> bytes:
        """A copy of the access unit with the bytes in it.

        Raises Error if there is no place for them (neither an SEI unit nor a slice), or for an SEI unit without an end.
        """
        with _address(user_data) as (dataAddress, dataSize):
            result, copy = self._edit("AddUserData", access_unit, dataAddress, dataSize)
        _check(result, "AddUserData")
        return copy or b""

    def get(self, access_unit: BytesLike) -> Optional[bytes]:
        """The bytes that `add` put into an access unit; None if there are none. Of several messages, the last."""
        result, copy = self._edit("GetUserData", access_unit)
        _check(result, "GetUserData")
        return copy

    def remove(self, stream: BytesLike) -> bytes:
        """A copy of the stream without user-data messages, whoever wrote them."""
        result, copy = self._edit("RemoveUserData", stream)
        _check(result, "RemoveUserData")
        return copy or b""

    def _edit(self, call: str, stream: BytesLike, *arguments: Optional[int]) -> tuple[int, Optional[bytes]]:
        output, size = ctypes.c_void_p(), ctypes.c_uint()
        with _address(stream) as (address, total):
            result = getattr(_library, call)(self._handle, address, total, *arguments, ctypes.byref(output),
                                             ctypes.byref(size))
        return result, ctypes.string_at(output, size.value) if output else None
