"""Parser: stream analysis, queries, parameter sets and NAL units."""

from __future__ import annotations

import ctypes
from fractions import Fraction
from typing import Optional, cast

from videoparams import _reasons
from videoparams._buffer import Borrowed, contiguous
from videoparams._handle import Handle
from videoparams._library import ParameterSetsRecord, SampleTestRecord, VideoInfoRecord
from videoparams._types import Sample
from videoparams.colour import ColourPrimaries, MatrixCoefficients, TransferCharacteristics, VideoFormat
from videoparams.errors import StreamError
from videoparams.model import (
    AccessUnit,
    Codec,
    Colour,
    NalUnit,
    ParameterSets,
    PictureType,
    SampleTest,
    VideoInfo,
)


def _describe(record: VideoInfoRecord) -> VideoInfo:
    numerator, denominator = record.frameRateNumerator, record.frameRateDenominator
    colour = Colour()
    if record.video_signal_type_present_flag:
        colour = Colour(
            VideoFormat(record.video_format),
            bool(record.video_full_range_flag),
            ColourPrimaries(record.colour_primaries),
            TransferCharacteristics(record.transfer_characteristics),
            MatrixCoefficients(record.matrix_coefficients),
            True,
            bool(record.colour_description_present_flag),
        )
    rate = Fraction(numerator, denominator) if numerator and denominator else None
    return VideoInfo(record.width, record.height, rate, colour)


class Parser(Handle):
    """Analyses one stream of whole NAL units, and answers questions about H.264 samples.

    Every method may be called from any thread; a call waits for the one under way. All results are copies, except the
    views of split and nal_units, which keep the caller's object alive.

    Use one Parser for parse and flush, and another one for test_sample and nal_units: they read parameter sets and
    slice headers on the way, and parse would then split or join pictures.
    """

    _create = "ParseCreate"
    _release = "ParseRelease"

    def __init__(self, codec: Codec) -> None:
        super().__init__(codec, 0, 0)
        self._record = VideoInfoRecord()
        self._info: Optional[VideoInfo] = None

    def parse(self, data: Sample) -> Optional[AccessUnit]:
        """Takes whole NAL units, best one per call. Returns the access unit that they complete, one picture late.

        If a call completes several, the last one is returned. Fewer than 5 bytes are ignored. Raises StreamError for 5
        bytes or more without a start code and for a damaged unit; the units before it are taken.
        """
        with Borrowed(self._checked(data)) as borrowed:
            if borrowed.size == 0:
                return None
            found, failed = self._parse(borrowed)
        if failed:
            error = _reasons.failure(data, self._codec)
            if isinstance(error, StreamError):
                error.access_unit = found
            raise error
        return found

    def flush(self) -> Optional[AccessUnit]:
        """Returns the last access unit. The next call of parse begins a new stream, with the known parameter sets."""
        found, failed = self._parse(None)
        if failed:
            raise _reasons.out_of_memory(b"")
        return found

    def _parse(self, data: Optional[Borrowed], pts: Optional[Fraction] = None) -> tuple[Optional[AccessUnit], bool]:
        record = self._record
        pointer, size = (data.pointer, data.size) if data else (None, 0)
        with self._lock:
            result = self._library.ParseVideoParams(self._opened(), pointer, size, ctypes.byref(record))
            if not record.accessUnitFound:
                return None, result != 0
            has_own_info = bool(record.sequenceInfoValid)
            if has_own_info:
                self._info = _describe(record)
            found = AccessUnit(
                ctypes.string_at(record.accessUnitData, record.accessUnitSize),
                bool(record.keyFrame),
                pts,
                self._info,
                has_own_info,
                self._codec,
            )
        return found, result != 0

    def test_sample(self, sample: Sample) -> SampleTest:
        """Tests whether an H.264 sample continues the sequence of reference pictures (ITU-T H.264, 7.4.3).

        Pass every sample of a stream, one per call, in decoding order. Raises WrongCodecError for H.265, StreamError
        for 5 bytes or more without a start code.
        """
        self._require_avc("test_sample")
        test = SampleTestRecord()
        with Borrowed(self._checked(sample)) as data, self._lock:
            result = self._library.VideoSampleTest(self._opened(), data.pointer, data.size, ctypes.byref(test))
        if result != 0 and not test.sampleError:
            raise _reasons.failure(sample, self._codec)
        return SampleTest(bool(test.sampleError), bool(test.isFrame), bool(test.isIntra))

    def picture_type(self, sample: Sample) -> Optional[PictureType]:
        """The slice_type of the first slice of an H.264 sample, as coded (ITU-T H.264, Table 7-6).

        None: no slice, or a value above 9. Raises WrongCodecError for H.265, StreamError for a damaged sample.
        """
        self._require_avc("picture_type")
        value = ctypes.c_int32(-1)
        with Borrowed(self._checked(sample)) as data, self._lock:
            result = self._library.QueryType(self._opened(), data.pointer, data.size, ctypes.byref(value))
        if result == 0:
            return PictureType(value.value) if 0 <= value.value <= 9 else None
        if damage := _reasons.damage(sample, self._codec):
            raise damage
        if _reasons.has_slice_to_query(sample):
            raise _reasons.out_of_memory(sample)
        return None

    def set_parameter_sets(self, sps: Sample, pps: Sample) -> None:
        """Gives the parser the parameter sets of an H.264 stream without them. Start codes are optional.

        The parser keeps copies, reads slices with them, and inserts them into key frames without an SPS. Raises
        WrongCodecError for H.265, ValueError for no bytes, StreamError for a unit that cannot be read.
        """
        self._require_avc("set_parameter_sets")
        with Borrowed(self._checked(sps)) as first, Borrowed(self._checked(pps)) as second, self._lock:
            if not first.size or not second.size:
                raise ValueError("an SPS and a PPS have at least one byte each")
            result = self._library.SetParameterSetData(
                self._opened(), first.pointer, first.size, second.pointer, second.size
            )
        if result != 0:
            raise _reasons.unreadable_sets(sps, pps)

    def parameter_sets(self, data: Sample) -> ParameterSets:
        """Copies of the last SPS and the last PPS in a part of an H.264 stream. WrongCodecError for H.265."""
        self._require_avc("parameter_sets")
        sets = ParameterSetsRecord()
        with Borrowed(self._checked(data)) as borrowed:
            if borrowed.size == 0:
                return ParameterSets(None, None, None)
            with self._lock:
                result = self._library.GetParameterSetData(
                    self._opened(), borrowed.pointer, borrowed.size, ctypes.byref(sets)
                )
                if result == 0:
                    return ParameterSets(
                        None,
                        ctypes.string_at(sets.sps, sets.spsSize) if sets.sps else None,
                        ctypes.string_at(sets.pps, sets.ppsSize) if sets.pps else None,
                    )
        raise _reasons.failure(data, self._codec)

    def split(self, data: Sample) -> list[memoryview]:
        """The NAL units of an H.264 buffer as views of it, start codes included. WrongCodecError for H.265."""
        self._require_avc("split")
        data = contiguous(self._checked(data))
        count = ctypes.c_uint()
        addresses = ctypes.POINTER(ctypes.c_void_p)()
        sizes = ctypes.POINTER(ctypes.c_uint)()
        with Borrowed(data) as borrowed, self._lock:
            address = borrowed.address
            result = self._library.GetNalFromFrame(
                self._opened(), address, borrowed.size, ctypes.byref(count), ctypes.byref(addresses), ctypes.byref(sizes)
            )
            places = [(cast(int, addresses[i]) - address, sizes[i]) for i in range(count.value)] if result == 0 else []
        if result != 0:
            raise _reasons.failure(data, self._codec)
        view = memoryview(cast(bytes, data)).cast("B")
        return [view[offset : offset + length] for offset, length in places]

    def nal_units(self, data: Sample) -> list[NalUnit]:
        """The NAL units of an H.264 buffer as views of it, with measured slice headers. WrongCodecError for H.265.

        Units with forbidden_zero_bit 1, and start codes that are immediately followed by another one, are left out.
        """
        self._require_avc("nal_units")
        data = contiguous(self._checked(data))
        tries = len(self.split(data))
        view = memoryview(cast(bytes, data)).cast("B")
        found = []
        unit, size = ctypes.c_void_p(), ctypes.c_uint()
        is_slice, header_length = ctypes.c_bool(), ctypes.c_uint()
        results = [ctypes.byref(result) for result in (unit, size, is_slice, header_length)]
        with Borrowed(data) as borrowed, self._lock:
            handle, address = self._opened(), borrowed.address
            self._library.SetVideoData(handle, address, borrowed.size)
            for _ in range(tries):
                self._library.GetNalUnit(handle, *results)
                if unit.value is not None:
                    offset = unit.value - address
                    found.append(NalUnit(view[offset : offset + size.value], is_slice.value, header_length.value))
            self._library.SetVideoData(handle, None, 0)  # the library keeps no address
        return found
