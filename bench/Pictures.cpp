#include "Pictures.h"

#include "streams/AvcStream.h"
#include "streams/HevcStream.h"

namespace bench {

namespace {

using namespace videoparams::streams;

const VideoDescription colour = {.signalType = VideoSignalType{5, 0, ColourDescription{1, 1, 1}}};
const Timing fifty = {.num_units_in_tick = 1, .time_scale = 50};

// High profile, 1088 rows cropped to 1080.
const AvcSps avcSps = {.profile_idc = 100,
                       .log2_max_frame_num_minus4 = 4,
                       .log2_max_pic_order_cnt_lsb_minus4 = 4,
                       .pic_width_in_mbs_minus1 = 119,
                       .pic_height_in_map_units_minus1 = 67,
                       .cropping = Window{.bottom = 4},
                       .vui = AvcVui{colour, fifty}};

Bytes AvcPicture(uint32_t index, const Bytes& payload)
{
    return AvcSlice{.nal_unit_type = index == 0 ? 5u : 1u,
                    .nal_ref_idc = 3,
                    .slice_type = index == 0 ? 7u : 5u,
                    .frame_num = index,
                    .pic_order_cnt_lsb = 2 * index,
                    .sliceData = payload}
        .Write(avcSps);
}

const HevcVps hevcVps = {.timing = fifty};
const HevcSps hevcSps = {.pic_width_in_luma_samples = 1920,
                         .pic_height_in_luma_samples = 1080,
                         .refPicSets = {{1, 0}},
                         .vui = HevcVui{.description = colour, .timing = fifty}};

// IDR_W_RADL, then TRAIL_R and TRAIL_N in turn: the header of the latter begins with a zero byte.
Bytes HevcPicture(uint32_t index, const Bytes& payload)
{
    return HevcSlice{
        .nal_unit_type = index == 0 ? 19 : index % 2, .slice_pic_order_cnt_lsb = index, .sliceData = payload}
        .Write();
}

}  // namespace

const PictureWriter& PicturesOf(VideoCodecType codec)
{
    static const PictureWriter avc = {AvcDelimiter(), avcSps.Write() + AvcPps{}.Write(), AvcSei, AvcPicture};
    static const PictureWriter hevc = {HevcDelimiter(), hevcVps.Write() + hevcSps.Write() + HevcPps(),
                                       HevcSei, HevcPicture};
    return codec == VideoCodecAVC ? avc : hevc;
}

}  // namespace bench
