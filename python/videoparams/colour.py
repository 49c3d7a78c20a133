"""Enumerations of the colour description in the video usability information (VUI)."""

from __future__ import annotations

from enum import IntEnum


class _TableValue(IntEnum):
    """A row of a table of the standard. A value without a row becomes a member named RESERVED_n."""

    title: str

    def __new__(cls, value: int, title: str = "Reserved") -> _TableValue:
        member = int.__new__(cls, value)
        member._value_ = value
        member.title = title
        return member

    @classmethod
    def _missing_(cls, value: object) -> object:
        if not isinstance(value, int) or not 0 <= value <= 255:
            return None
        member = int.__new__(cls, value)
        member._name_ = f"RESERVED_{value}"
        member._value_ = value
        member.title = "Reserved"
        return cls._value2member_map_.setdefault(value, member)

    def __reduce_ex__(self, _protocol: object) -> tuple[type[_TableValue], tuple[int]]:
        return type(self), (self._value_,)  # by value, because only the rows can be found by name

    def __repr__(self) -> str:
        return f"<{type(self).__name__}.{self.name}: {self.value}>"


class VideoFormat(_TableValue):
    """video_format (ITU-T H.264, Table E-2; ITU-T H.265, Table E.2): the signal before it was coded."""

    COMPONENT = 0, "Component"
    PAL = 1, "PAL"
    NTSC = 2, "NTSC"
    SECAM = 3, "SECAM"
    MAC = 4, "MAC"
    UNSPECIFIED = 5, "Unspecified video format"


class ColourPrimaries(_TableValue):
    """colour_primaries (ITU-T H.264, Table E-3; ITU-T H.265, Table E.3). `title` is the name in the table."""

    BT_709 = 1, "Rec. ITU-R BT.709-6"
    UNSPECIFIED = 2, "Unspecified"
    BT_470_SYSTEM_M = 4, "Rec. ITU-R BT.470-6 System M (historical)"
    BT_470_SYSTEM_B_G = 5, "Rec. ITU-R BT.470-6 System B, G (historical)"
    SMPTE_170 = 6, "SMPTE ST 170 (Rec. ITU-R BT.601-7 525)"
    SMPTE_240 = 7, "SMPTE ST 240"
    GENERIC_FILM = 8, "Generic film (colour filters using Illuminant C)"
    BT_2020 = 9, "Rec. ITU-R BT.2020-2"
    SMPTE_428_1 = 10, "SMPTE ST 428-1 (CIE 1931 XYZ)"
    SMPTE_431_2 = 11, "SMPTE RP 431-2"
    SMPTE_432_1 = 12, "SMPTE EG 432-1"
    EBU_3213_E = 22, "EBU Tech. 3213-E"


class TransferCharacteristics(_TableValue):
    """transfer_characteristics (ITU-T H.264, Table E-4; ITU-T H.265, Table E.4). `title` is the name in the table."""

    BT_709 = 1, "Rec. ITU-R BT.709-6"
    UNSPECIFIED = 2, "Unspecified"
    BT_470_SYSTEM_M = 4, "Rec. ITU-R BT.470-6 System M (historical), assumed display gamma 2.2"
    BT_470_SYSTEM_B_G = 5, "Rec. ITU-R BT.470-6 System B, G (historical), assumed display gamma 2.8"
    SMPTE_170 = 6, "SMPTE ST 170 (Rec. ITU-R BT.601-7)"
    SMPTE_240 = 7, "SMPTE ST 240"
    LINEAR = 8, "Linear transfer characteristics"
    LOGARITHMIC_100 = 9, "Logarithmic transfer characteristic (100:1 range)"
    LOGARITHMIC_316 = 10, "Logarithmic transfer characteristic (100 * Sqrt( 10 ) : 1 range)"
    IEC_61966_2_4 = 11, "IEC 61966-2-4"
    BT_1361 = 12, "Rec. ITU-R BT.1361-0 extended colour gamut system (historical)"
    IEC_61966_2_1 = 13, "IEC 61966-2-1 sRGB or sYCC"
    BT_2020_10_BIT = 14, "Rec. ITU-R BT.2020-2 (10-bit system)"
    BT_2020_12_BIT = 15, "Rec. ITU-R BT.2020-2 (12-bit system)"
    SMPTE_2084 = 16, "SMPTE ST 2084 (Rec. ITU-R BT.2100-2 PQ)"
    SMPTE_428_1 = 17, "SMPTE ST 428-1"
    ARIB_B67 = 18, "ARIB STD-B67 (Rec. ITU-R BT.2100-2 HLG)"


class MatrixCoefficients(_TableValue):
    """matrix_coefficients (ITU-T H.264, Table E-5; ITU-T H.265, Table E.5). `title` is the name in the table."""

    IDENTITY = 0, "Identity (RGB, YZX)"
    BT_709 = 1, "Rec. ITU-R BT.709-6"
    UNSPECIFIED = 2, "Unspecified"
    FCC_73_682 = 4, "United States Federal Communications Commission (2003) Title 47 CFR 73.682 (a) (20)"
    BT_470_SYSTEM_B_G = 5, "Rec. ITU-R BT.470-6 System B, G (historical)"
    SMPTE_170 = 6, "SMPTE ST 170 (Rec. ITU-R BT.601-7 525)"
    SMPTE_240 = 7, "SMPTE ST 240"
    YCGCO = 8, "YCgCo"
    BT_2020_NON_CONSTANT = 9, "Rec. ITU-R BT.2020-2 non-constant luminance"
    BT_2020_CONSTANT = 10, "Rec. ITU-R BT.2020-2 constant luminance"
    SMPTE_2085 = 11, "SMPTE ST 2085"
    CHROMATICITY_NON_CONSTANT = 12, "Chromaticity-derived non-constant luminance"
    CHROMATICITY_CONSTANT = 13, "Chromaticity-derived constant luminance"
    ICTCP = 14, "ICtCp (Rec. ITU-R BT.2100-2)"
    IPT_PQ_C2 = 15, "IPT-PQ-C2"
    YCGCO_RE = 16, "YCgCo-Re"
    YCGCO_RO = 17, "YCgCo-Ro"
