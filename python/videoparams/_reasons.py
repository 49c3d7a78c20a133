"""Finds out why a call failed. The library reports only that it did."""

from __future__ import annotations

from typing import Iterator, Optional, cast

from videoparams._buffer import LARGEST, contiguous
from videoparams._types import Sample
from videoparams._units import SHORTEST, START_CODE, describe, start_code_length
from videoparams.errors import Error, OutOfMemoryError, StreamError, TooLargeError
from videoparams.model import Codec, Unit

_HEAD = 8
"""Bytes with the start code and the header of a unit."""


def _bytes_of(sample: Sample) -> bytes:
    data = contiguous(sample)
    return data if isinstance(data, bytes) else memoryview(cast(bytes, data)).tobytes()


def _heads(data: bytes, codec: Codec) -> Iterator[tuple[int, int, Unit]]:
    """Where every unit begins and ends, and what it is. Copies no unit, because memory may be short."""
    at = data.find(START_CODE)
    begin = at - (data[at - 1 : at] == b"\0")
    while at >= 0:
        at = data.find(START_CODE, at + len(START_CODE))
        end = at - (data[at - 1] == 0) if at >= 0 else len(data)
        yield begin, end, describe(data[begin : min(end, begin + _HEAD)], codec, begin)
        begin = end


def damage(sample: Sample, codec: Codec) -> Optional[StreamError]:
    """What makes the bytes unreadable for any call. None: nothing."""
    data = _bytes_of(sample)
    has_start_code = False
    for begin, end, unit in _heads(data, codec):
        has_start_code |= len(data) - begin >= SHORTEST
        if unit.damaged and end - begin >= SHORTEST:
            return StreamError(f"damaged unit at byte {begin}: forbidden_zero_bit is 1", begin)
    if not has_start_code:
        return StreamError(
            f"no start code (00 00 01) in {len(data)} bytes: pass whole NAL units as a byte stream has them (Annex B)"
        )
    return None


def failure(sample: Sample, codec: Codec) -> Error:
    """The exception for a call that failed with these bytes."""
    return damage(sample, codec) or out_of_memory(sample)


def out_of_memory(sample: Sample, *others: Sample) -> Error:
    """The exception for a call that failed although its bytes can be read."""
    size = sum(memoryview(cast(bytes, contiguous(data))).nbytes for data in (sample, *others))
    if 2 * size > LARGEST:
        return TooLargeError(f"the result for {size} bytes needs a block of more than 4 GiB")
    return OutOfMemoryError(f"out of memory for a call with {size} bytes; the handle stays usable")


def has_slice_to_query(sample: Sample) -> bool:
    """Whether picture_type has a slice to read: of nal_unit_type 1 or 5."""
    return any(unit.type in (1, 5) for _, _, unit in _heads(_bytes_of(sample), Codec.AVC))


def unreadable_sets(sps: Sample, pps: Sample) -> Error:
    """The exception for parameter sets that were refused."""
    for name, sample in ("SPS", sps), ("PPS", pps):
        data = _bytes_of(sample)
        unit = data if start_code_length(data) else b"\0" + START_CODE + data
        if len(unit) < SHORTEST or describe(unit, Codec.AVC, 0).damaged:
            return StreamError(f"the {name} cannot be read: it is too short, or forbidden_zero_bit is 1")
    return out_of_memory(sps, pps)


def failure_to_add(access_unit: Sample, user_data: Sample, codec: Codec) -> Error:
    """The exception for user data that was refused although there is a place for it."""
    sei_type, header_length = (39, 2) if codec else (6, 1)
    data = _bytes_of(access_unit)
    for begin, end, unit in _heads(data, codec):
        body = begin + start_code_length(unit.data) + header_length
        if unit.type == sei_type and data.find(b"\x80", body, end) < 0:
            return StreamError(f"damaged SEI unit at byte {begin}: it has no end (80)", begin)
    return out_of_memory(access_unit, user_data)
