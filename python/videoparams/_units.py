"""Cuts a byte stream (ITU-T H.264 and H.265, Annex B) into NAL units.

A unit runs from its start code (00 00 01 or 00 00 00 01) to the next one. Further zeros before a start code belong to the
previous unit.
"""

from __future__ import annotations

from fractions import Fraction
from typing import Iterable, Iterator, Optional, Union

from videoparams._buffer import LARGEST
from videoparams.errors import TooLargeError
from videoparams.model import Codec, Unit

START_CODE = b"\0\0\1"
SHORTEST = 5
"""The library ignores a call with fewer bytes."""

_AVC_SLICES = frozenset((1, 2, 5))
_HEVC_SLICES = frozenset((*range(10), *range(16, 22)))


def split(pieces: Iterable[Union[bytes, memoryview]]) -> Iterator[tuple[int, bytes]]:
    """The offset and the bytes of every unit. Bytes before the first start code are left out."""
    held = bytearray()  # the current unit, or at most three bytes if none has begun
    offset = 0  # of held[0] in the stream
    begun = False
    searched = 0
    for piece in pieces:
        held += piece
        begin = 0
        at = held.find(START_CODE, searched)
        while at >= 0:
            start = at - 1 if at > begin and held[at - 1] == 0 else at
            if begun:
                yield offset + begin, bytes(memoryview(held)[begin:start])
            begun = True
            begin = start
            searched = at + len(START_CODE)
            at = held.find(START_CODE, searched)
        searched = max(searched, len(held) - 2)  # the last two bytes may begin a start code
        if not begun:
            begin = max(searched - 1, 0)
        del held[:begin]
        offset += begin
        searched -= begin
        if len(held) > LARGEST:
            raise TooLargeError(f"the unit at {offset} has more than 4 GiB")
    if begun:
        yield offset, bytes(held)


def join_short(units: Iterable[tuple[int, bytes]]) -> Iterator[tuple[int, bytes]]:
    """The same units, those that are too short for a call as the last bytes of the previous unit."""
    held: Optional[tuple[int, bytes]] = None
    for offset, unit in units:
        if held is None:
            held = offset, unit
        elif len(unit) < SHORTEST:
            held = held[0], held[1] + unit
        else:
            yield held
            held = offset, unit
    if held is not None:
        yield held


def start_code_length(unit: bytes) -> int:
    """3 or 4; 0 if the bytes do not begin with a start code."""
    if unit.startswith(START_CODE):
        return 3
    return 4 if unit.startswith(b"\0" + START_CODE) else 0


def describe(data: bytes, codec: Codec, offset: Optional[int], pts: Optional[Fraction] = None) -> Unit:
    """The record of a unit. The header has one byte in H.264 (7.3.1) and two in H.265 (7.3.1.2)."""
    at = start_code_length(data)
    if len(data) < at + (2 if codec else 1):
        return Unit(data, 0, False, True, offset, pts, codec)
    header = data[at]
    kind = header >> 1 & 63 if codec else header & 31
    slices = _HEVC_SLICES if codec else _AVC_SLICES
    return Unit(data, kind, kind in slices, header >= 128, offset, pts, codec)
