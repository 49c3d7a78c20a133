#pragma once

#include "VideoParams.h"
#include "bitstream/BitReader.h"

#include <algorithm>
#include <cstdint>

namespace videoparams {

// The description of a sequence: the fields of VideoInfo from `width` on, and whether they are filled.
struct SequenceInfo
{
    uint32_t sequenceInfoValid = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t frameRateNumerator = 0;
    uint32_t frameRateDenominator = 0;
    uint32_t video_signal_type_present_flag = 0;
    uint32_t video_format = 0;
    uint32_t video_full_range_flag = 0;
    uint32_t colour_description_present_flag = 0;
    uint32_t colour_primaries = 0;
    uint32_t transfer_characteristics = 0;
    uint32_t matrix_coefficients = 0;

    bool HasFrameRate() const { return frameRateNumerator != 0 || frameRateDenominator != 0; }
    void CopyTo(VideoInfo& info) const;
};

// Luma samples for one unit of a cropping offset.
struct CroppingUnit
{
    uint32_t width;
    uint32_t height;
};

// SubWidthC and SubHeightC, H.264 Table 6-1 and H.265 Table 6-1; 0 and 0 for a chroma_format_idc that has
// none.
CroppingUnit ChromaSubsampling(uint32_t chroma_format_idc);

// Sizes wrap modulo 2^32, as do the products.
uint32_t CroppedSize(uint32_t codedSize, uint32_t unit, uint32_t firstOffset, uint32_t lastOffset);

// The bits of a u(v) whose length is coded as a logarithm minus 4. No data is longer than 2^32 bits.
inline uint32_t BitsOf(uint32_t log2_minus4)
{
    return std::min(log2_minus4, UINT32_MAX - 4) + 4;
}

// The first part of vui_parameters(), which both standards share (H.264 E.1.1, H.265 E.2.1): from
// aspect_ratio_info_present_flag to the chroma sample locations.
void ReadVideoDescription(CBitReader& bits, SequenceInfo& info);

}  // namespace videoparams
