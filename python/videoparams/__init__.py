"""VideoParams for Python: analyses and edits H.264/AVC and H.265/HEVC streams.

    import videoparams

    for unit in videoparams.access_units("film.mp4"):
        print(unit.pts, unit.key_frame, unit.info)

These functions read a path, bytes, a file object or an iterator of chunks, and detect the codec:

    access_units     pictures, with key-frame flag, time, size, frame rate and colour
    units            NAL units
    parameter_sets   the last VPS, SPS and PPS
    test_samples     whether reference pictures are missing (H.264)

picture_type finds the type of one H.264 picture. Two classes work on single samples: Parser and UserData.

Everything that is returned is a copy that stays valid, except the views of Parser.split and Parser.nal_units, which keep
the caller's bytes alive.

Everything may be used from several threads. An iterator belongs to one thread at a time.

The package needs CPython and the shared library. The first use looks for it in $VIDEOPARAMS_LIBRARY (a file), then beside
the package's files, then in the system's library folders.
"""

from videoparams._types import BytesLike, Sample, Source
from videoparams.colour import ColourPrimaries, MatrixCoefficients, TransferCharacteristics, VideoFormat
from videoparams.errors import (
    ClosedError,
    ContainerError,
    Error,
    LibraryNotFoundError,
    MissingPyAVError,
    NoPlaceError,
    OutOfMemoryError,
    StreamError,
    TooLargeError,
    WrongCodecError,
)
from videoparams.model import (
    AccessUnit,
    Codec,
    Colour,
    NalUnit,
    ParameterSets,
    PictureType,
    SampleTest,
    Unit,
    VideoInfo,
)
from videoparams.parser import Parser
from videoparams.streams import access_units, parameter_sets, picture_type, test_samples, units
from videoparams.userdata import UserData

__version__ = "1.0.0"
__all__ = [
    "AccessUnit",
    "BytesLike",
    "ClosedError",
    "Codec",
    "Colour",
    "ColourPrimaries",
    "ContainerError",
    "Error",
    "LibraryNotFoundError",
    "MatrixCoefficients",
    "MissingPyAVError",
    "NalUnit",
    "NoPlaceError",
    "OutOfMemoryError",
    "ParameterSets",
    "Parser",
    "PictureType",
    "Sample",
    "SampleTest",
    "Source",
    "StreamError",
    "TooLargeError",
    "TransferCharacteristics",
    "Unit",
    "UserData",
    "VideoFormat",
    "VideoInfo",
    "WrongCodecError",
    "access_units",
    "parameter_sets",
    "picture_type",
    "test_samples",
    "units",
]
