"""Detects what a source is by its first bytes: an H.264 or H.265 byte stream, or a container."""

from __future__ import annotations

from typing import Optional

from videoparams._units import START_CODE, describe, split
from videoparams.model import Codec, Unit

ENOUGH_BYTES = 1 << 20
ENOUGH_FOR_CONTAINER = 400
_ENOUGH_UNITS = 200
_CERTAIN_LEAD = 8  # a lead that a few more units would not change
_IMPOSSIBLE, _NEUTRAL, _LIKELY, _TELLING = -1, 0, 1, 4

# The bytes at one offset that a format begins with.
_SIGNATURES = (
    (4, b"ftyp", "an MP4 file"),
    (4, b"moov", "an MP4 file"),
    (4, b"mdat", "an MP4 file"),
    (4, b"styp", "a fragment of an MP4 file"),
    (4, b"moof", "a fragment of an MP4 file"),
    (0, b"\x1a\x45\xdf\xa3", "a Matroska file"),
    (8, b"AVI ", "an AVI file"),
    (0, b"FLV\x01", "an FLV file"),
    (0, b"\x06\x0e\x2b\x34\x02\x05\x01\x01", "an MXF file"),
    (0, b"\x30\x26\xb2\x75\x8e\x66\xcf\x11", "an ASF file"),
    (0, b"\0\0\1\xba", "an MPEG program stream"),
)

# profile_idc (ITU-T H.264, Annexes A, F to I)
_AVC_PROFILES = frozenset((44, 66, 77, 83, 86, 88, 100, 110, 118, 122, 128, 134, 135, 138, 139, 144, 244))


def container_name(head: bytes) -> Optional[str]:
    """What a message calls the container. None: the bytes are not those of a known one."""
    for offset, signature, name in _SIGNATURES:
        if head.startswith(signature, offset):
            return name
    for packet, sync in (188, 0), (192, 4):
        if head[sync : sync + 2 * packet + 1 : packet] == b"GGG":
            return "an MPEG transport stream"
    return None


def _rate_as_avc(unit: Unit) -> int:
    """How well the header fits. The rules for nal_ref_idc are those of ITU-T H.264, 7.4.1."""
    if unit.damaged:
        return _IMPOSSIBLE
    header = unit.data.index(START_CODE) + len(START_CODE)
    is_reference = unit.data[header] >> 5 & 3 != 0
    if unit.type == 7:
        has_profile = len(unit.data) > header + 1 and unit.data[header + 1] in _AVC_PROFILES
        return _TELLING if is_reference and has_profile else _IMPOSSIBLE
    if unit.type == 1 or (unit.type in (5, 8) and is_reference):
        return _LIKELY
    if unit.type in (6, 9, 10, 11, 12):
        return _IMPOSSIBLE if is_reference else _LIKELY
    return _NEUTRAL if unit.type in (2, 3, 4, 13, 14, 15, 19, 20, 21) else _IMPOSSIBLE


def _rate_as_hevc(unit: Unit) -> int:
    """How well the header fits. The rules for the temporal layer are those of ITU-T H.265, 7.4.2.2."""
    if unit.damaged:
        return _IMPOSSIBLE
    header = unit.data.index(START_CODE) + len(START_CODE)
    first, second = unit.data[header : header + 2]
    layer, temporal_id_plus1 = (first & 1) << 5 | second >> 3, second & 7
    if temporal_id_plus1 == 0:
        return _IMPOSSIBLE
    if layer != 0:
        return _NEUTRAL if layer < 8 and unit.type <= 40 else _IMPOSSIBLE
    is_lowest = temporal_id_plus1 == 1
    if unit.type in (32, 33):
        return _TELLING if is_lowest else _IMPOSSIBLE
    if 16 <= unit.type <= 21:
        return _LIKELY if is_lowest else _IMPOSSIBLE
    if unit.type <= 9 or 34 <= unit.type <= 40:
        return _LIKELY
    return _NEUTRAL if unit.type >= 62 else _IMPOSSIBLE


def rate(head: bytes) -> tuple[Optional[Codec], bool]:
    """The codec whose rules the units fit better, if they fit one at all, and whether more bytes would not change it."""
    avc = hevc = 0
    for count, (offset, unit) in enumerate(split([head])):
        if count == _ENOUGH_UNITS:
            break
        avc += _rate_as_avc(describe(unit, Codec.AVC, offset))
        hevc += _rate_as_hevc(describe(unit, Codec.HEVC, offset))
    if max(avc, hevc) <= 0 or avc == hevc:
        return None, False
    return (Codec.AVC if avc > hevc else Codec.HEVC), abs(avc - hevc) >= _CERTAIN_LEAD
