#include "support/Codec.h"

#include <iterator>
#include <span>

namespace videoparams::test {

namespace {

struct TypeRange
{
    uint32_t first;
    uint32_t last;
    UnitKind kind;
};

UnitKind KindIn(std::span<const TypeRange> table, uint32_t nal_unit_type)
{
    for (const TypeRange& range : table) {
        if (nal_unit_type >= range.first && nal_unit_type <= range.last)
            return range.kind;
    }
    return UnitKind::Other;
}

// H.264 Table 7-1, Annex A
UnitKind AvcKind(uint32_t nal_unit_type)
{
    static constexpr TypeRange table[] = {
        {1, 1, UnitKind::Slice},      // slice of a non-IDR picture
        {2, 2, UnitKind::Slice},      // data partition A
        {3, 4, UnitKind::OtherVcl},   // data partitions B and C
        {5, 5, UnitKind::KeySlice},   // slice of an IDR picture
        {6, 9, UnitKind::Leading},    // SEI, SPS, PPS, access unit delimiter
        {14, 18, UnitKind::Leading},  // prefix unit, subset SPS, depth parameter set, reserved
    };
    return KindIn(table, nal_unit_type);
}

// H.265 Table 7-1
UnitKind HevcKind(uint32_t nal_unit_type)
{
    static constexpr TypeRange table[] = {
        {0, 9, UnitKind::Slice},       // TRAIL_N … RASL_R
        {10, 15, UnitKind::OtherVcl},  // RSV_VCL_N10 … RSV_VCL_R15
        {16, 21, UnitKind::KeySlice},  // BLA_W_LP … CRA_NUT
        {22, 23, UnitKind::Slice},     // RSV_IRAP_VCL22, RSV_IRAP_VCL23
        {24, 31, UnitKind::OtherVcl},  // RSV_VCL24 … RSV_VCL31
        {32, 35, UnitKind::Leading},   // VPS, SPS, PPS, access unit delimiter
        {39, 39, UnitKind::Leading},   // PREFIX_SEI_NUT
        {41, 44, UnitKind::Leading},   // RSV_NVCL41 … RSV_NVCL44
        {48, 55, UnitKind::Leading},   // UNSPEC48 … UNSPEC55
    };
    return KindIn(table, nal_unit_type);
}

Bytes AvcSliceOf(uint32_t number, Picture picture, bool isFirst)
{
    const bool isKey = picture == Picture::Key;
    return AvcSlice{.nal_unit_type = isKey ? 5u : 1u,
                    .first_mb_in_slice = isFirst ? 0u : 20u,
                    .frame_num = isKey ? 0 : number,
                    .idr_pic_id = number}
        .Write();
}

Bytes HevcSliceOf(uint32_t number, Picture picture, bool isFirst)
{
    return HevcSlice{.nal_unit_type = picture == Picture::Key ? 19u : 1u,
                     .first_slice_segment_in_pic_flag = isFirst,
                     .sliceData = {static_cast<unsigned char>(number + 1), 0x6A}}
        .Write();
}

}  // namespace

const Codec avc = {
    .name = "Avc",
    .type = VideoCodecAVC,
    .typeCount = 32,
    .kindOf = AvcKind,
    .unit = [](uint32_t nal_unit_type, const Bytes& rbsp) { return AvcUnit(nal_unit_type, rbsp); },
    .sei = AvcSei,
    .slice = AvcSliceOf,
    .sets = AvcSps{}.Write() + AvcPps{}.Write(),
    .width = 160,
    .delimiter = AvcDelimiter(),
    .fillerType = 12,
};

const Codec hevc = {
    .name = "Hevc",
    .type = VideoCodecHEVC,
    .typeCount = 64,
    .kindOf = HevcKind,
    .unit = [](uint32_t nal_unit_type, const Bytes& rbsp) { return HevcUnit(nal_unit_type, rbsp); },
    .sei = HevcSei,
    .slice = HevcSliceOf,
    .sets = HevcVps{}.Write() + HevcSps{}.Write() + HevcPps(),
    .width = 416,
    .delimiter = HevcDelimiter(),
    .fillerType = 38,
};

}  // namespace videoparams::test
