"""Finds the shared library, loads it once, and declares its functions and records for ctypes."""

from __future__ import annotations

import ctypes
import ctypes.util
import functools
import os
import pathlib
import sys
from typing import Optional

from videoparams.errors import LibraryNotFoundError


class VideoInfoRecord(ctypes.Structure):
    """VideoInfo of VideoParams.h."""

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


class SampleTestRecord(ctypes.Structure):
    """VideoInfoEx of VideoParams.h."""

    _fields_ = [("sampleError", ctypes.c_uint32), ("isFrame", ctypes.c_uint32), ("isIntra", ctypes.c_uint32)]


class ParameterSetsRecord(ctypes.Structure):
    """ParameterSetData of VideoParams.h."""

    _fields_ = [
        ("vps", ctypes.c_void_p),
        ("vpsSize", ctypes.c_uint32),
        ("sps", ctypes.c_void_p),
        ("spsSize", ctypes.c_uint32),
        ("pps", ctypes.c_void_p),
        ("ppsSize", ctypes.c_uint32),
    ]


_POINTER, _SIZE, _CODEC = ctypes.c_void_p, ctypes.c_uint, ctypes.c_int32
_SIGNATURES = {
    "ParseCreate": [_POINTER, _CODEC, _SIZE, _SIZE],
    "ParseRelease": [_POINTER],
    "ParseVideoParams": [_POINTER, _POINTER, _SIZE, _POINTER],
    "VideoSampleTest": [_POINTER, _POINTER, _SIZE, _POINTER],
    "QueryType": [_POINTER, _POINTER, _SIZE, _POINTER],
    "SetParameterSetData": [_POINTER, _POINTER, _SIZE, _POINTER, _SIZE],
    "GetParameterSetData": [_POINTER, _POINTER, _SIZE, _POINTER],
    "SetVideoData": [_POINTER, _POINTER, _SIZE],
    "GetNalUnit": [_POINTER, _POINTER, _POINTER, _POINTER, _POINTER],
    "GetNalFromFrame": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER, _POINTER],
    "UserDataCreate": [_POINTER, _CODEC],
    "UserDataRelease": [_POINTER],
    "AddUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _SIZE, _POINTER, _POINTER],
    "GetUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER],
    "RemoveUserData": [_POINTER, _POINTER, _SIZE, _POINTER, _POINTER],
}

NAME = "VideoParams.dll" if sys.platform == "win32" else "libVideoParams.so.1"
FOLDER = pathlib.Path(__file__).parent


def _candidates() -> list[str]:
    """What to load: the file that the user named, else the one in the wheel, else an installed one."""
    named = os.environ.get("VIDEOPARAMS_LIBRARY")
    if named:
        return [named]
    if (FOLDER / NAME).exists():
        return [str(FOLDER / NAME)]
    found: Optional[str] = ctypes.util.find_library("VideoParams")
    return [NAME, found] if found else [NAME]


@functools.lru_cache(maxsize=None)
def load() -> ctypes.CDLL:
    """The library, with its functions declared. Loaded by the first call, so that an import needs no library."""
    failures = []
    for candidate in _candidates():
        try:
            library = ctypes.CDLL(candidate)
            for name, arguments in _SIGNATURES.items():
                function = getattr(library, name)
                function.argtypes = arguments
                function.restype = ctypes.c_int64
        except (OSError, AttributeError) as error:
            failures.append(str(error))
        else:
            return library
    raise LibraryNotFoundError(
        f"{NAME} cannot be loaded ({'; '.join(failures)}): install the library (Debian: libvideoparams1), or set "
        "VIDEOPARAMS_LIBRARY to its file")
