#include "analysis/SequenceInfo.h"

namespace videoparams {

namespace {

constexpr uint32_t ExtendedSar = 255;

// video_signal_type_present_flag and the elements that depend on it, with the values that hold if they are
// not coded. They are written if they were read whole.
void ReadVideoSignalType(CBitReader& bits, SequenceInfo& info)
{
    uint32_t video_format = 5;
    uint32_t video_full_range_flag = 0;
    uint32_t colour_description_present_flag = 0;
    uint32_t colour_primaries = 2;
    uint32_t transfer_characteristics = 2;
    uint32_t matrix_coefficients = 2;

    const uint32_t video_signal_type_present_flag = bits.Bits(1);
    if (video_signal_type_present_flag) {
        video_format = bits.Bits(3);
        video_full_range_flag = bits.Bits(1);
        colour_description_present_flag = bits.Bits(1);
        if (colour_description_present_flag) {
            colour_primaries = bits.Bits(8);
            transfer_characteristics = bits.Bits(8);
            matrix_coefficients = bits.Bits(8);
        }
    }

    if (bits.PastEnd())
        return;
    info.video_signal_type_present_flag = video_signal_type_present_flag;
    info.video_format = video_format;
    info.video_full_range_flag = video_full_range_flag;
    info.colour_description_present_flag = colour_description_present_flag;
    info.colour_primaries = colour_primaries;
    info.transfer_characteristics = transfer_characteristics;
    info.matrix_coefficients = matrix_coefficients;
}

}  // namespace

void SequenceInfo::CopyTo(VideoInfo& info) const
{
    info.sequenceInfoValid = sequenceInfoValid;
    info.width = width;
    info.height = height;
    info.frameRateNumerator = frameRateNumerator;
    info.frameRateDenominator = frameRateDenominator;
    info.video_signal_type_present_flag = video_signal_type_present_flag;
    info.video_format = video_format;
    info.video_full_range_flag = video_full_range_flag;
    info.colour_description_present_flag = colour_description_present_flag;
    info.colour_primaries = colour_primaries;
    info.transfer_characteristics = transfer_characteristics;
    info.matrix_coefficients = matrix_coefficients;
}

CroppingUnit ChromaSubsampling(uint32_t chroma_format_idc)
{
    switch (chroma_format_idc) {
    case 0:
    case 3:
        return {1, 1};
    case 1:
        return {2, 2};
    case 2:
        return {2, 1};
    default:
        return {0, 0};
    }
}

uint32_t CroppedSize(uint32_t codedSize, uint32_t unit, uint32_t firstOffset, uint32_t lastOffset)
{
    return codedSize - unit * lastOffset - unit * firstOffset;
}

void ReadVideoDescription(CBitReader& bits, SequenceInfo& info)
{
    const uint32_t aspect_ratio_info_present_flag = bits.Bits(1);
    if (aspect_ratio_info_present_flag) {
        const uint32_t aspect_ratio_idc = bits.Bits(8);
        if (aspect_ratio_idc == ExtendedSar) {
            bits.Bits(16);  // sar_width
            bits.Bits(16);  // sar_height
        }
    }
    const uint32_t overscan_info_present_flag = bits.Bits(1);
    if (overscan_info_present_flag)
        bits.Bits(1);  // overscan_appropriate_flag
    ReadVideoSignalType(bits, info);
    const uint32_t chroma_loc_info_present_flag = bits.Bits(1);
    if (chroma_loc_info_present_flag) {
        bits.Ue();  // chroma_sample_loc_type_top_field
        bits.Ue();  // chroma_sample_loc_type_bottom_field
    }
}

}  // namespace videoparams
