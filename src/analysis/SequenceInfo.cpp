#include "analysis/SequenceInfo.h"

#include "parser/ParserBase.h"

#include <cstddef>
#include <cstring>

namespace videoparams {

namespace {

constexpr uint32_t ExtendedSar = 255;

constexpr size_t SequenceBlockBegin = offsetof(VideoInfo, width);
constexpr size_t SequenceBlockEnd = offsetof(VideoInfo, reserved2);

}  // namespace

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

void CopySequenceInfo(const VideoInfo& from, VideoInfo& to)
{
    to.sequenceInfoValid = from.sequenceInfoValid;
    std::memcpy(reinterpret_cast<unsigned char*>(&to) + SequenceBlockBegin,
                reinterpret_cast<const unsigned char*>(&from) + SequenceBlockBegin,
                SequenceBlockEnd - SequenceBlockBegin);
}

// From aspect_ratio_info_present_flag up to the chroma sample locations. The colour fields are written if
// they were read whole.
void CParserBase::ReadVuiVideoDescription(VideoInfo& info)
{
    const uint32_t aspect_ratio_info_present_flag = ReadData(1);
    if (aspect_ratio_info_present_flag) {
        const uint32_t aspect_ratio_idc = ReadData(8);
        if (aspect_ratio_idc == ExtendedSar) {
            ReadData(16);  // sar_width
            ReadData(16);  // sar_height
        }
    }
    const uint32_t overscan_info_present_flag = ReadData(1);
    if (overscan_info_present_flag)
        ReadData(1);  // overscan_appropriate_flag
    ReadVideoSignalType(info);
    const uint32_t chroma_loc_info_present_flag = ReadData(1);
    if (chroma_loc_info_present_flag) {
        GetUE();  // chroma_sample_loc_type_top_field
        GetUE();  // chroma_sample_loc_type_bottom_field
    }
}

// video_signal_type_present_flag and what hangs on it, with the values that hold where nothing is coded.
void CParserBase::ReadVideoSignalType(VideoInfo& info)
{
    uint32_t video_format = 5;
    uint32_t video_full_range_flag = 0;
    uint32_t colour_description_present_flag = 0;
    uint32_t colour_primaries = 2;
    uint32_t transfer_characteristics = 2;
    uint32_t matrix_coefficients = 2;

    const uint32_t video_signal_type_present_flag = ReadData(1);
    if (video_signal_type_present_flag) {
        video_format = ReadData(3);
        video_full_range_flag = ReadData(1);
        colour_description_present_flag = ReadData(1);
        if (colour_description_present_flag) {
            colour_primaries = ReadData(8);
            transfer_characteristics = ReadData(8);
            matrix_coefficients = ReadData(8);
        }
    }

    if (readPastEnd)
        return;
    info.video_signal_type_present_flag = video_signal_type_present_flag;
    info.video_format = video_format;
    info.video_full_range_flag = video_full_range_flag;
    info.colour_description_present_flag = colour_description_present_flag;
    info.colour_primaries = colour_primaries;
    info.transfer_characteristics = transfer_characteristics;
    info.matrix_coefficients = matrix_coefficients;
}

}  // namespace videoparams
