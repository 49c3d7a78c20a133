"""Reads the samples of containers such as MP4, Matroska and MPEG-TS with PyAV, and turns them into byte streams."""

from __future__ import annotations

import io
from contextlib import contextmanager
from fractions import Fraction
from typing import Any, BinaryIO, Iterator, NoReturn, Optional

from videoparams._units import START_CODE, join_short, split
from videoparams.errors import ContainerError, MissingPyAVError, StreamError
from videoparams.model import Codec

_LONG_START_CODE = b"\0" + START_CODE
_CODECS = {"h264": Codec.AVC, "hevc": Codec.HEVC}


class _SampleForm:
    """How samples code their units, from the description (ISO/IEC 14496-15): with lengths, or as a byte stream.

    Attributes:
        length_size: Bytes of the length before each unit. 0: start codes.
        sets: The parameter sets of the description.
    """

    def __init__(self, codec: Codec, description: bytes) -> None:
        self.length_size = 0
        self.sets: list[bytes] = []
        if not description or description.startswith((START_CODE, _LONG_START_CODE)):
            self.sets = [unit for _, unit in split([description])]
            return
        try:
            self._read(codec, io.BytesIO(description))
        except (EOFError, IndexError):
            raise ContainerError("the sample description is damaged: its parameter sets are cut short") from None

    def _read(self, codec: Codec, file: BinaryIO) -> None:
        header = file.read(22 if codec else 5)
        self.length_size = (header[21] if codec else header[4]) % 4 + 1
        if codec:
            for _ in range(_number(file, 1)):  # arrays, each with one type of unit
                _number(file, 1)
                self._take_sets(file, _number(file, 2))
        else:
            self._take_sets(file, _number(file, 1) & 31)
            self._take_sets(file, _number(file, 1))

    def _take_sets(self, file: BinaryIO, count: int) -> None:
        for _ in range(count):
            self.sets.append(_LONG_START_CODE + _exactly(file, _number(file, 2)))

    def units(self, sample: bytes) -> Iterator[bytes]:
        """The units of a sample, with start codes."""
        if not self.length_size:
            yield from (unit for _, unit in join_short(split([sample])))
        at = 0
        while self.length_size and at < len(sample):
            begin = at + self.length_size
            at = begin + int.from_bytes(sample[at:begin], "big")
            if at > len(sample):
                raise StreamError("damaged sample: a unit is longer than its sample (errors='ignore' leaves it out)")
            yield _LONG_START_CODE + sample[begin:at]


def _exactly(file: BinaryIO, size: int) -> bytes:
    data = file.read(size)
    if len(data) < size:
        raise EOFError
    return data


def _number(file: BinaryIO, size: int) -> int:
    return int.from_bytes(_exactly(file, size), "big")


def _pyav(name: str, format_name: Optional[str]) -> Any:
    try:
        import av
    except ImportError as error:
        what = f"{name} is {format_name}" if format_name else f"{name} is not an H.264 or H.265 byte stream"
        raise MissingPyAVError(
            f"{what}: to read containers, install PyAV (Debian: python3-av, pip: av), or pass a byte stream (Annex B)"
        ) from error
    return av


def _refuse(url: str, *_unused: object) -> NoReturn:
    raise PermissionError(f"the container names another file: {url}")


def _codec_name(stream: Any) -> str:
    return str(stream.codec_context.name) if stream.codec_context else "unknown"


def _choose(container: Any, name: str, number: Optional[int]) -> Any:
    known = [stream for stream in container.streams.video if _codec_name(stream) in _CODECS]
    if number is not None:
        known = [stream for stream in known if stream.index == number]
    if not known:
        found = ", ".join(f"{stream.index}: {stream.type} {_codec_name(stream)}" for stream in container.streams)
        wanted = "no H.264 or H.265 video" if number is None else f"no H.264 or H.265 video in stream {number}"
        raise ContainerError(f"{name} has {wanted} (it has {found or 'no streams'})")
    return known[0]


class OpenContainer:
    """The video of a container.

    Attributes:
        codec: Its codec.
        sets: The parameter sets of its description. They come before the first sample.
    """

    def __init__(self, container: Any, stream: Any, av: Any) -> None:
        self.codec = _CODECS[stream.codec_context.name]
        self._form = _SampleForm(self.codec, bytes(stream.codec_context.extradata or b""))
        self.sets = self._form.sets if self._form.length_size else []
        self._container, self._stream, self._av = container, stream, av

    def units(self, sample: bytes, errors: str) -> Iterator[bytes]:
        """The units of a sample, with start codes."""
        try:
            yield from self._form.units(sample)
        except StreamError:
            if errors == "strict":
                raise

    def samples(self) -> Iterator[tuple[bytes, Optional[Fraction]]]:
        """The samples in decoding order, as the container codes them, and when each is shown, in seconds."""
        try:
            for packet in self._container.demux(self._stream):
                if packet.size:
                    pts = None if packet.pts is None else Fraction(packet.pts) * packet.time_base
                    yield bytes(packet), pts
        except self._av.FFmpegError as error:
            raise ContainerError(f"reading ended: {error}") from error


@contextmanager
def open_container(
    file: BinaryIO, name: str, format_name: Optional[str], number: Optional[int]
) -> Iterator[OpenContainer]:
    """Opens the container. A playlist in it cannot open other files."""
    av = _pyav(name, format_name)
    try:
        container = av.open(file, "r", io_open=_refuse, metadata_errors="replace")
    except (av.FFmpegError, PermissionError) as error:
        raise ContainerError(
            f"{name} is neither an H.264 or H.265 byte stream nor a container that can be read ({getattr(error, 'strerror', None) or error})"
        ) from error
    with container:
        yield OpenContainer(container, _choose(container, name, number), av)
