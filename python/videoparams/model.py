"""What the package returns: plain records, which own their values. A later call never changes them."""

from __future__ import annotations

from dataclasses import dataclass
from enum import IntEnum
from fractions import Fraction
from typing import NoReturn, Optional

from videoparams.colour import ColourPrimaries, MatrixCoefficients, TransferCharacteristics, VideoFormat


class Codec(IntEnum):
    """The codec of a stream."""

    AVC = 0
    HEVC = 1

    @property
    def standard(self) -> str:
        """The usual name: H.264 or H.265."""
        return "H.265" if self else "H.264"

    @classmethod
    def _missing_(cls, value: object) -> NoReturn:
        raise ValueError(f"codec must be Codec.AVC or Codec.HEVC, not {value!r}")


class PictureType(IntEnum):
    """slice_type as coded (ITU-T H.264, 7.4.3, Table 7-6). With ALL_, every slice of the picture has this type."""

    P = 0
    B = 1
    I = 2  # noqa: E741
    SP = 3
    SI = 4
    ALL_P = 5
    ALL_B = 6
    ALL_I = 7
    ALL_SP = 8
    ALL_SI = 9


@dataclass(frozen=True)
class Colour:
    """The colour description of the video usability information (ITU-T H.264, E.2.1; ITU-T H.265, E.3.1).

    An element that the stream does not code has the value that the standard infers: unspecified, limited range.

    Attributes:
        video_format: video_format, the signal before it was coded (Table E-2).
        full_range: video_full_range_flag. True: samples use the full range. False: limited range.
        primaries: colour_primaries (Table E-3).
        transfer: transfer_characteristics (Table E-4).
        matrix: matrix_coefficients, named matrix_coeffs in H.265 (Table E-5).
        has_signal_type: video_signal_type_present_flag. False: nothing of the above is coded.
        has_description: colour_description_present_flag. False: primaries, transfer and matrix are not coded.
    """

    video_format: VideoFormat = VideoFormat.UNSPECIFIED
    full_range: bool = False
    primaries: ColourPrimaries = ColourPrimaries.UNSPECIFIED
    transfer: TransferCharacteristics = TransferCharacteristics.UNSPECIFIED
    matrix: MatrixCoefficients = MatrixCoefficients.UNSPECIFIED
    has_signal_type: bool = False
    has_description: bool = False

    def __repr__(self) -> str:
        names = [self.primaries.name, self.transfer.name, self.matrix.name, "full" if self.full_range else "limited"]
        return f"<Colour {' '.join(names)}>"


@dataclass(frozen=True)
class VideoInfo:
    """Values of a sequence parameter set, as the stream codes them, without range checks.

    Attributes:
        width: Luma samples in a row, after cropping (ITU-T H.264, 7.4.2.1.1) or inside the conformance window (ITU-T
            H.265, 7.4.3.2.1). 0 to 2**32 - 1. It wraps if a damaged stream crops more than its picture: check it
            before you allocate memory for pictures.
        height: Luma rows after the same cropping. H.264: rows of a frame, also if the stream codes fields. H.265: rows
            of a picture, which may be one field.
        frame_rate: Frames per second (H.265: pictures per second) as an exact Fraction. None: not coded, or coded
            with a denominator of 0. H.264: time_scale / (2 * num_units_in_tick) (E.2.1). H.265: vui_time_scale /
            vui_num_units_in_tick (E.3.1), or that of the VPS (7.4.3.1).
        colour: The colour description.
    """

    width: int
    height: int
    frame_rate: Optional[Fraction]
    colour: Colour

    def __repr__(self) -> str:
        rate = "no frame rate" if self.frame_rate is None else f"{float(self.frame_rate):.6g} fps"
        return f"<VideoInfo {self.width}x{self.height}, {rate}, {self.colour.primaries.name}>"


@dataclass(frozen=True)
class AccessUnit:
    """One picture, or one field, with the units that belong to it.

    Attributes:
        data: The NAL units with their start codes, in the order of the stream. A copy of its own, so it stays valid.
            An H.264 key frame without a sequence parameter set has the SPS and PPS inserted that the parser holds.
            The units of a container's description come before the first sample.
        key_frame: The access unit has an H.264 IDR slice (nal_unit_type 5) or an H.265 IRAP slice (16 to 21).
        pts: When a player shows it, in seconds, as an exact Fraction. None: the source is a byte stream, or the
            container has no time for it. Two fields of one sample have the same time.
        info: What the last sequence parameter set says. None: no access unit had one so far.
        has_own_info: info comes from this access unit: it has a sequence parameter set, or it is an H.264 key frame
            and the parser holds one. False: info is that of an earlier access unit.
        codec: The codec of the stream.
    """

    data: bytes
    key_frame: bool
    pts: Optional[Fraction]
    info: Optional[VideoInfo]
    has_own_info: bool
    codec: Codec

    def __repr__(self) -> str:
        key = ", key frame" if self.key_frame else ""
        pts = "" if self.pts is None else f", {float(self.pts):.6g} s"
        return f"<AccessUnit {self.codec.standard}, {len(self.data)} bytes{key}{pts}>"


@dataclass(frozen=True)
class Unit:
    """One NAL unit (ITU-T H.264 and H.265, Annex B).

    Attributes:
        data: The unit with its start code. A copy of its own, so it stays valid.
        type: nal_unit_type (ITU-T H.264, Table 7-1: 0 to 31; ITU-T H.265, Table 7-1: 0 to 63).
        is_slice: The unit is a coded slice: H.264 types 1, 2 and 5, H.265 types 0 to 9 and 16 to 21.
        damaged: forbidden_zero_bit is 1, or the unit is too short for its header. Decoders ignore such a unit.
        offset: Bytes from the start of the byte stream to the unit. None: the unit comes from a container.
        pts: When the sample of a container is shown, in seconds. None: the source is a byte stream, or unknown.
        codec: The codec of the stream.
    """

    data: bytes
    type: int
    is_slice: bool
    damaged: bool
    offset: Optional[int]
    pts: Optional[Fraction]
    codec: Codec

    def __repr__(self) -> str:
        slice_or_not = ", slice" if self.is_slice else ""
        return f"<Unit {self.codec.standard}, type {self.type}{slice_or_not}, {len(self.data)} bytes>"


@dataclass(frozen=True)
class NalUnit:
    """One unit of Parser.nal_units.

    Attributes:
        data: A view of the caller's bytes, start code included. It keeps the caller's object alive and shows its later
            changes. (If the input is not contiguous, it is a view of a copy.)
        is_slice: nal_unit_type is 1, 2 or 5.
        slice_header_length: Bytes after the unit header up to the picture order count (ITU-T H.264, 7.3.3): less than
            the whole slice header. 0: not a slice. It can be one more than the unit has, if the unit ends there.
    """

    data: memoryview
    is_slice: bool
    slice_header_length: int

    def __repr__(self) -> str:
        kind = f"slice, header {self.slice_header_length} bytes" if self.is_slice else "not a slice"
        return f"<NalUnit {len(self.data)} bytes, {kind}>"


@dataclass(frozen=True)
class SampleTest:
    """The result of Parser.test_sample. All are False if the sample has no slice.

    Attributes:
        error: The sample breaks the sequence of frame_num (ITU-T H.264, 7.4.3): reference pictures are missing before
            it. Also True if the parameter sets of its first slice are unknown.
        is_frame: The first slice codes a frame. False: a field, or it could not be read.
        is_intra: The first slice is an IDR slice or an I slice. False: neither, or it could not be read.
    """

    error: bool
    is_frame: bool
    is_intra: bool

    def __repr__(self) -> str:
        words = ["frame" if self.is_frame else "no frame", *["intra"] * self.is_intra, *["error"] * self.error]
        return f"<SampleTest {', '.join(words)}>"


@dataclass(frozen=True)
class ParameterSets:
    """The last parameter set of each kind. Units with start codes, copies of their own.

    Attributes:
        vps: Video parameter set (nal_unit_type 32), or None if it was not found. Always None for H.264.
        sps: Sequence parameter set (H.264 type 7, H.265 type 33), or None.
        pps: Picture parameter set (H.264 type 8, H.265 type 34), or None.
    """

    vps: Optional[bytes]
    sps: Optional[bytes]
    pps: Optional[bytes]

    def __repr__(self) -> str:
        sizes = [f"{name} {len(unit)} bytes" for name, unit in vars(self).items() if unit is not None]
        return f"<ParameterSets {', '.join(sizes) or 'none'}>"
