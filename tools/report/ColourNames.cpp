#include "report/ColourNames.h"

#include <span>

namespace tool {

namespace {

constexpr const char* Reserved = "Reserved";

// H.264 Table E-2
constexpr const char* VideoFormats[] = {"Component", "PAL", "NTSC",
                                        "SECAM",     "MAC", "Unspecified video format"};

// H.273 Table 2
constexpr const char* Primaries[] = {
    Reserved,
    "Rec. ITU-R BT.709-6",
    "Unspecified",
    Reserved,
    "Rec. ITU-R BT.470-6 System M (historical)",
    "Rec. ITU-R BT.470-6 System B, G (historical)",
    "SMPTE ST 170 (Rec. ITU-R BT.601-7 525)",
    "SMPTE ST 240",
    "Generic film (colour filters using Illuminant C)",
    "Rec. ITU-R BT.2020-2",
    "SMPTE ST 428-1 (CIE 1931 XYZ)",
    "SMPTE RP 431-2",
    "SMPTE EG 432-1",
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    Reserved,
    "EBU Tech. 3213-E",
};

// H.273 Table 3
constexpr const char* Transfers[] = {
    Reserved,
    "Rec. ITU-R BT.709-6",
    "Unspecified",
    Reserved,
    "Rec. ITU-R BT.470-6 System M (historical), assumed display gamma 2.2",
    "Rec. ITU-R BT.470-6 System B, G (historical), assumed display gamma 2.8",
    "SMPTE ST 170 (Rec. ITU-R BT.601-7)",
    "SMPTE ST 240",
    "Linear transfer characteristics",
    "Logarithmic transfer characteristic (100:1 range)",
    "Logarithmic transfer characteristic (100 * Sqrt( 10 ) : 1 range)",
    "IEC 61966-2-4",
    "Rec. ITU-R BT.1361-0 extended colour gamut system (historical)",
    "IEC 61966-2-1 sRGB or sYCC",
    "Rec. ITU-R BT.2020-2 (10-bit system)",
    "Rec. ITU-R BT.2020-2 (12-bit system)",
    "SMPTE ST 2084 (Rec. ITU-R BT.2100-2 PQ)",
    "SMPTE ST 428-1",
    "ARIB STD-B67 (Rec. ITU-R BT.2100-2 HLG)",
};

// H.273 Table 4
constexpr const char* Matrices[] = {
    "Identity (RGB, YZX)",
    "Rec. ITU-R BT.709-6",
    "Unspecified",
    Reserved,
    "United States Federal Communications Commission (2003) Title 47 CFR 73.682 (a) (20)",
    "Rec. ITU-R BT.470-6 System B, G (historical)",
    "SMPTE ST 170 (Rec. ITU-R BT.601-7 525)",
    "SMPTE ST 240",
    "YCgCo",
    "Rec. ITU-R BT.2020-2 non-constant luminance",
    "Rec. ITU-R BT.2020-2 constant luminance",
    "SMPTE ST 2085",
    "Chromaticity-derived non-constant luminance",
    "Chromaticity-derived constant luminance",
    "ICtCp (Rec. ITU-R BT.2100-2)",
    "IPT-PQ-C2",
    "YCgCo-Re",
    "YCgCo-Ro",
};

const char* NameOf(std::span<const char* const> names, uint32_t value)
{
    return value < names.size() ? names[value] : Reserved;
}

}  // namespace

const char* VideoFormatName(uint32_t video_format)
{
    return NameOf(VideoFormats, video_format);
}

const char* ColourPrimariesName(uint32_t colour_primaries)
{
    return NameOf(Primaries, colour_primaries);
}

const char* TransferCharacteristicsName(uint32_t transfer_characteristics)
{
    return NameOf(Transfers, transfer_characteristics);
}

const char* MatrixCoefficientsName(uint32_t matrix_coefficients)
{
    return NameOf(Matrices, matrix_coefficients);
}

const char* ChromaFormatName(uint32_t chroma_format_idc)
{
    static constexpr const char* Names[] = {"monochrome", "4:2:0", "4:2:2", "4:4:4"};
    return chroma_format_idc < std::size(Names) ? Names[chroma_format_idc] : "unknown chroma format";
}

const char* ScanName(Scan scan)
{
    static constexpr const char* Names[] = {"scan not specified", "progressive", "interlaced"};
    return Names[static_cast<size_t>(scan)];
}

}  // namespace tool
