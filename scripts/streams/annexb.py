"""Walk over the NAL units of an H.264 or H.265 Annex B byte stream."""

import re
from dataclasses import dataclass, field

START_CODE = re.compile(b"\x00?\x00\x00\x01")


@dataclass
class NalUnit:
    """One NAL unit as it is in the stream, start code included."""

    data: bytes
    header_offset: int
    codec: str
    syntax: dict = field(default_factory=dict)

    @property
    def type(self):
        header = self.data[self.header_offset]
        return header & 0x1F if self.codec == "h264" else (header >> 1) & 0x3F

    @property
    def payload(self):
        return self.data[self.header_offset :]

    @property
    def is_slice(self):
        return self.type in (1, 2, 5) if self.codec == "h264" else self.type <= 9 or 16 <= self.type <= 21

    @property
    def is_key_slice(self):
        """IDR slice of H.264, IRAP slice of H.265."""
        return self.type == 5 if self.codec == "h264" else 16 <= self.type <= 21

    @property
    def may_open_access_unit(self):
        """Types whose first one after the last slice of a picture starts an access unit
        (H.264 7.4.1.2.3, H.265 7.4.2.4.4)."""
        if self.codec == "h264":
            return 6 <= self.type <= 9 or 14 <= self.type <= 18
        return 32 <= self.type <= 35 or self.type == 39 or 41 <= self.type <= 44 or 48 <= self.type <= 55

    @property
    def is_parameter_set(self):
        return self.type in ((7, 8) if self.codec == "h264" else (32, 33, 34))

    @property
    def is_user_data(self):
        """An SEI unit whose first message is user_data_unregistered."""
        if self.codec == "h264":
            return self.type == 6 and self.payload[1] == 5
        return self.type == 39 and self.payload[2] == 5


def codec_of(path):
    return {"h264": "h264", "h265": "hevc"}[str(path).rsplit(".", 1)[1]]


def nal_units(data, codec):
    codes = list(START_CODE.finditer(data))
    ends = [code.start() for code in codes[1:]] + [len(data)]
    return [NalUnit(data[c.start() : e], c.end() - c.start(), codec) for c, e in zip(codes, ends)]


def access_units(units, starts_picture):
    """Group units into access units; starts_picture(unit, previous slice) detects the first slice of a picture."""
    groups = []
    previous = None
    for unit in units:
        follows_slice = bool(groups) and any(u.is_slice for u in groups[-1])
        opens = follows_slice and (
            unit.may_open_access_unit or (unit.is_slice and starts_picture(unit, previous))
        )
        if opens or not groups:
            groups.append([])
        groups[-1].append(unit)
        if unit.is_slice:
            previous = unit
    return groups
