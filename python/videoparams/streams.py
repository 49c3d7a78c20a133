"""Functions that read a whole stream from any source."""

from __future__ import annotations

from contextlib import ExitStack, contextmanager
from dataclasses import dataclass
from fractions import Fraction
from typing import Iterator, Optional

from videoparams import _reasons, _sources
from videoparams._buffer import Borrowed
from videoparams._containers import OpenContainer, open_container
from videoparams._detection import ENOUGH_BYTES, ENOUGH_FOR_CONTAINER, container_name, rate
from videoparams._types import Sample, Source
from videoparams._units import describe, join_short, split
from videoparams.errors import ContainerError, StreamError, WrongCodecError
from videoparams.model import AccessUnit, Codec, ParameterSets, PictureType, SampleTest, Unit
from videoparams.parser import Parser


@dataclass
class _Stream:
    """A source of which codec and kind are known."""

    codec: Codec
    source: _sources.OpenSource
    container: Optional[OpenContainer]  # None: a byte stream


def _detect(source: _sources.OpenSource, wanted: Optional[Codec]) -> tuple[Optional[str], Optional[Codec]]:
    """The name of the container, or the codec of the byte stream. Reads only as much as it needs."""
    size = ENOUGH_FOR_CONTAINER
    while True:
        head = source.peek(size)
        container = container_name(head)
        codec, is_certain = rate(head)
        if container is None and wanted is not None:
            return None, codec if is_certain else wanted
        if is_certain or container is not None or len(head) < size or size >= ENOUGH_BYTES:
            return container, codec
        size = 2 * len(head)


@contextmanager
def _open(source: Source, codec: Optional[Codec], number: Optional[int]) -> Iterator[_Stream]:
    with ExitStack() as stack:
        opened = stack.enter_context(_sources.OpenSource(source))
        container_format, found = _detect(opened, codec)
        video = None
        if container_format is not None or found is None:
            if not opened.peek(1):
                raise ContainerError(f"{opened.name} is empty")
            video = stack.enter_context(open_container(opened.file(), opened.name, container_format, number))
            found = video.codec
        if codec is not None and found is not codec:
            raise WrongCodecError(f"{opened.name} is {found.standard}, and the caller asked for {codec.standard}")
        yield _Stream(found, opened, video)


def _take(parser: Parser, unit: bytes, offset: Optional[int], pts: Optional[Fraction], errors: str) -> Iterator[AccessUnit]:
    """Gives one unit to the parser."""
    with Borrowed(unit) as borrowed:
        found, failed = parser._parse(borrowed, pts)
    if found:
        yield found
    if failed:
        error = _reasons.failure(unit, parser.codec)
        if not isinstance(error, StreamError):
            raise error
        if errors == "strict":
            place = "in the container" if offset is None else f"at byte {offset}"
            raise StreamError(f"damaged unit {place}: forbidden_zero_bit is 1 (errors='ignore' leaves it out)", offset)


def _flush(parser: Parser, pts: Optional[Fraction]) -> Iterator[AccessUnit]:
    found, _ = parser._parse(None, pts)
    if found:
        yield found


def _from_container(container: OpenContainer, parser: Parser, errors: str) -> Iterator[AccessUnit]:
    """A sample is complete, so the parser is flushed after each, and all of its access units have its time."""
    sets = container.sets  # for the first sample, which may repeat them
    for sample, pts in container.samples():
        sample_units = list(container.units(sample, errors))
        for unit in [unit for unit in sets if unit not in sample_units] + sample_units:
            yield from _take(parser, unit, None, pts, errors)
        sets = []
        yield from _flush(parser, pts)


def _access_units(source: Source, codec: Optional[Codec], number: Optional[int], errors: str) -> Iterator[AccessUnit]:
    with _open(source, codec, number) as stream, Parser(stream.codec) as parser:
        if stream.container is not None:
            yield from _from_container(stream.container, parser, errors)
            return
        for offset, unit in join_short(split(stream.source.pieces())):
            yield from _take(parser, unit, offset, None, errors)
        yield from _flush(parser, None)


def access_units(
    source: Source, *, codec: Optional[Codec] = None, stream: Optional[int] = None, errors: str = "strict"
) -> Iterator[AccessUnit]:
    """Yields the access units (pictures or fields) of a stream in decoding order.

        for unit in videoparams.access_units("film.mp4"):
            print(unit.pts, unit.key_frame, len(unit.data), unit.info)

    Args:
        source: A path; bytes of any kind; a file object that is open in binary mode; or an iterator of chunks of any
            size. It is a byte stream (Annex B), or a container such as MP4 if PyAV is installed. A file object is read
            to its end, and not closed.
        codec: The codec. None: detected from the first bytes, at most 1 MiB.
        stream: The number of the stream in the container. None: the first one with H.264 or H.265 video.
        errors: What a damaged unit (forbidden_zero_bit 1) does. "strict": StreamError. "ignore": it is left out.

    Raises:
        StreamError: A unit is damaged.
        ContainerError: The source is neither a byte stream nor a container that can be read. MissingPyAVError: PyAV is not installed.
        WrongCodecError: The source has another codec than `codec`.
        OutOfMemoryError, OSError: As the names say.

    H.264 slices with unknown parameter sets are dropped. The iterator belongs to one thread at a time.
    """
    _sources.check(source)
    if errors not in ("strict", "ignore"):
        raise ValueError(f"errors must be 'strict' or 'ignore', not {errors!r}")
    return _access_units(source, None if codec is None else Codec(codec), stream, errors)


def _units(source: Source, codec: Optional[Codec], number: Optional[int]) -> Iterator[Unit]:
    with _open(source, codec, number) as stream:
        if stream.container is None:
            for offset, unit in split(stream.source.pieces()):
                yield describe(unit, stream.codec, offset)
            return
        for unit in stream.container.sets:
            yield describe(unit, stream.codec, None)
        for sample, pts in stream.container.samples():
            for unit in stream.container.units(sample, "strict"):
                yield describe(unit, stream.codec, None, pts)


def units(source: Source, *, codec: Optional[Codec] = None, stream: Optional[int] = None) -> Iterator[Unit]:
    """Yields the NAL units of a stream, start codes included. Damaged units too: see Unit.damaged.

    Bytes before the first start code are left out. The arguments and exceptions are those of access_units.
    """
    _sources.check(source)
    return _units(source, None if codec is None else Codec(codec), stream)


def parameter_sets(source: Source, *, codec: Optional[Codec] = None, stream: Optional[int] = None) -> ParameterSets:
    """The last parameter set of each kind in a stream. The arguments and exceptions are those of access_units."""
    found: dict[int, bytes] = {}
    kinds = (-1, 7, 8)
    for unit in units(source, codec=codec, stream=stream):
        if unit.codec is Codec.HEVC:
            kinds = (32, 33, 34)
        if unit.type in kinds and not unit.damaged:
            found[unit.type] = unit.data
    vps, sps, pps = (found.get(kind) for kind in kinds)
    return ParameterSets(vps, sps, pps)


def _test_samples(samples: Iterator[AccessUnit]) -> Iterator[tuple[AccessUnit, SampleTest]]:
    with Parser(Codec.AVC) as parser:
        for sample in samples:
            if sample.codec is not Codec.AVC:
                raise WrongCodecError("test_samples works for H.264 only, and this is an H.265 stream")
            yield sample, parser.test_sample(sample)


def test_samples(
    source: Source, *, codec: Optional[Codec] = None, stream: Optional[int] = None, errors: str = "strict"
) -> Iterator[tuple[AccessUnit, SampleTest]]:
    """Yields the access units of an H.264 stream with the result of Parser.test_sample for each.

    The arguments and exceptions are those of access_units. WrongCodecError for H.265.
    """
    return _test_samples(access_units(source, codec=codec, stream=stream, errors=errors))


def picture_type(sample: Sample) -> Optional[PictureType]:
    """The slice_type of the first slice of one H.264 sample, as Parser.picture_type finds it."""
    if isinstance(sample, (AccessUnit, Unit)) and sample.codec is not Codec.AVC:
        raise WrongCodecError("picture_type works for H.264 only, and this sample is H.265")
    with Parser(Codec.AVC) as parser:
        return parser.picture_type(sample)
