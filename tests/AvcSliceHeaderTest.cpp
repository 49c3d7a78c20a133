#include "support/AvcStream.h"
#include "support/PageBytes.h"
#include "support/Probes.h"

#include <cstring>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

// A parser that has read one SPS and one PPS, and reads slices.
class SliceReader : public Created<AvcProbe>
{
public:
    explicit SliceReader(const AvcSps& sps = {}, const AvcPps& pps = {})
        : seqParameterSet(sps), picParameterSet(pps)
    {
        Take(sps);
        Take(pps);
    }

    template <typename Set>
    void Take(const Set& set)
    {
        BitWriter writer;
        set.WriteTo(writer);
        InitReadData(writer.Written().data(), Size(writer.Written()));
        VideoInfo info{};
        constexpr bool IsSps = std::is_same_v<Set, AvcSps>;
        EXPECT_EQ(IsSps ? ReadSequenceParameterSetData(&info) : ReadPictureParameterSetData(&info), ResultOk);
    }

    Result ReadUnit(const Bytes& unit)
    {
        const PageBytes page = AtPageEnd(unit);
        SetData(page.data(), page.size());
        EXPECT_EQ(BeginNextUnit(avcRules), ResultOk);
        EXPECT_EQ(OpenHead(avcRules), ResultOk);
        newPicture = 7;
        const Result result = ReadSliceHeaderData(nullptr, openUnit.header.nal_unit_type,
                                                  openUnit.header.nal_ref_idc, &newPicture);
        bitsRead = static_cast<size_t>(readPtr - openUnit.rbsp) * 8 + readBitPos - 8;
        return result;
    }

    Result Read(const AvcSlice& slice) { return ReadUnit(slice.Write(seqParameterSet, picParameterSet)); }

    int32_t newPicture = 7;
    size_t bitsRead = 0;  // behind the unit header

private:
    AvcSps seqParameterSet;
    AvcPps picParameterSet;
};

SliceHeaderRecord RecordOf(const AvcSlice& slice)
{
    return {slice.first_mb_in_slice,
            slice.slice_type,
            slice.pic_parameter_set_id,
            slice.frame_num,
            slice.field_pic_flag,
            slice.bottom_field_flag,
            slice.nal_ref_idc,
            slice.nal_unit_type == 5 ? 1u : 0u,
            slice.idr_pic_id,
            slice.pic_order_cnt_lsb,
            static_cast<uint32_t>(slice.delta_pic_order_cnt_bottom),
            {static_cast<uint32_t>(slice.delta_pic_order_cnt[0]),
             static_cast<uint32_t>(slice.delta_pic_order_cnt[1])}};
}

bool IsSame(const SliceHeaderRecord& a, const SliceHeaderRecord& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct SliceCase
{
    AvcSps sps;
    AvcPps pps;
    AvcSlice slice;
};

// Every branch of the syntax. Values that are not coded must be left at 0.
const SliceCase sliceCases[] = {
    {{}, {}, {.first_mb_in_slice = 99, .slice_type = 0, .frame_num = 15, .pic_order_cnt_lsb = 9}},
    {{}, {}, {.nal_unit_type = 5, .nal_ref_idc = 3, .idr_pic_id = 65535, .pic_order_cnt_lsb = 1}},
    {{.profile_idc = 244, .chroma_format_idc = 3, .separate_colour_plane_flag = 1},
     {},
     {.colour_plane_id = 2, .frame_num = 5, .pic_order_cnt_lsb = 6}},
    {{.log2_max_frame_num_minus4 = 12, .log2_max_pic_order_cnt_lsb_minus4 = 12},
     {255, 0, 1},
     {.pic_parameter_set_id = 255,
      .frame_num = 65535,
      .pic_order_cnt_lsb = 65534,
      .delta_pic_order_cnt_bottom = -3}},
    {{.frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.nal_unit_type = 2, .frame_num = 2, .pic_order_cnt_lsb = 4, .delta_pic_order_cnt_bottom = 1}},
    {{.frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.frame_num = 2, .field_pic_flag = 1, .bottom_field_flag = 1, .pic_order_cnt_lsb = 5}},
    {{.pic_order_cnt_type = 1}, {}, {.frame_num = 3, .delta_pic_order_cnt = {-9, 0}}},
    {{.pic_order_cnt_type = 1}, {0, 0, 1}, {.frame_num = 3, .delta_pic_order_cnt = {0, INT32_MAX}}},
    {{.pic_order_cnt_type = 1, .frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.frame_num = 3, .field_pic_flag = 1, .delta_pic_order_cnt = {7, 0}}},
    {{.pic_order_cnt_type = 1, .delta_pic_order_always_zero_flag = 1}, {0, 0, 1}, {.frame_num = 1}},
    {{.pic_order_cnt_type = 2, .gaps_in_frame_num_value_allowed_flag = 1}, {0, 0, 1}, {.frame_num = 1}},
    // Longer than any sound header: the reading goes on behind the bytes that are converted at first.
    {{.log2_max_frame_num_minus4 = 1000}, {}, {.frame_num = 77, .pic_order_cnt_lsb = 3}},
    {{.log2_max_frame_num_minus4 = 600},
     {0, 0, 1},
     {.frame_num = 1, .pic_order_cnt_lsb = 3, .delta_pic_order_cnt_bottom = 1, .sliceData = Bytes(300)}},
};

}  // namespace

// Behind the end there are zeros.
TEST(AvcSliceHeader, ReadsEachElementAndCutShortAfterAnyBitAsIfZerosFollowed)
{
    for (const SliceCase& c : sliceCases) {
        BitWriter whole;
        c.slice.WriteTo(whole, c.sps, c.pps);
        SliceReader reader(c.sps, c.pps);
        ASSERT_EQ(reader.Read(c.slice), ResultOk) << &c - sliceCases;
        EXPECT_TRUE(IsSame(reader.sliceHeader, RecordOf(c.slice))) << &c - sliceCases;
        EXPECT_TRUE(IsSame(reader.prevSliceHeader, reader.sliceHeader));
        EXPECT_EQ(reader.newPicture, 0) << "the first slice";
        EXPECT_EQ(reader.gapsInFrameNumAllowed, c.sps.gaps_in_frame_num_value_allowed_flag);
        EXPECT_EQ(reader.bitsRead, whole.BitsTo("read")) << &c - sliceCases;

        SliceReader padded(c.sps, c.pps);
        padded.Read(c.slice);
        for (size_t bits = 0; bits <= whole.BitCount(); ++bits) {
            Bytes kept(whole.Written().begin(), whole.Written().begin() + ptrdiff_t((bits + 7) / 8));
            if (bits % 8 != 0)
                kept.back() = static_cast<unsigned char>(kept.back() & 0xFF00 >> bits % 8);
            const uint32_t type = c.slice.nal_unit_type;
            const Result result = reader.ReadUnit(AvcUnit(type, kept, 1));
            EXPECT_EQ(padded.ReadUnit(AvcUnit(type, kept + Bytes(300), 1)), result);
            ASSERT_TRUE(IsSame(reader.sliceHeader, padded.sliceHeader)) << &c - sliceCases << ", " << bits;
            ASSERT_EQ(reader.newPicture, padded.newPicture) << &c - sliceCases << ", " << bits;
        }
    }
}

TEST(AvcSliceHeader, TellsTheFirstSliceOfAPicture)
{
    const AvcSps order0 = {};
    const AvcSps order1 = {.pic_order_cnt_type = 1};
    const AvcSps order2 = {.pic_order_cnt_type = 2};
    const AvcSps fields = {.frame_mbs_only_flag = 0};
    const struct
    {
        const char* what;
        AvcSps sps;
        AvcSlice before;
        AvcSlice now;
        int32_t newPicture;
    } cases[] = {
        {"same", order0, {}, {.first_mb_in_slice = 40, .slice_type = 1}, 0},
        {"frame_num", order0, {.frame_num = 1}, {.frame_num = 2}, 1},
        {"IDR", order0, {}, {.nal_unit_type = 5}, 1},
        {"no IDR", order0, {.nal_unit_type = 5}, {}, 1},
        {"idr_pic_id", order0, {.nal_unit_type = 5}, {.nal_unit_type = 5, .idr_pic_id = 1}, 1},
        {"partition A", order0, {}, {.nal_unit_type = 2}, 0},
        {"reference", order0, {.nal_ref_idc = 2}, {.nal_ref_idc = 0}, 1},
        {"no reference", order0, {.nal_ref_idc = 0}, {.nal_ref_idc = 1}, 1},
        {"other nal_ref_idc", order0, {.nal_ref_idc = 3}, {.nal_ref_idc = 1}, 0},
        {"order lsb", order0, {.pic_order_cnt_lsb = 1}, {.pic_order_cnt_lsb = 3}, 1},
        {"order bottom", order0, {.delta_pic_order_cnt_bottom = 1}, {.delta_pic_order_cnt_bottom = -1}, 1},
        {"delta 0", order1, {.delta_pic_order_cnt = {1, 0}}, {.delta_pic_order_cnt = {2, 0}}, 1},
        {"delta 1", order1, {.delta_pic_order_cnt = {1, 0}}, {.delta_pic_order_cnt = {1, 5}}, 1},
        {"deltas", order1, {.delta_pic_order_cnt = {1, 5}}, {.delta_pic_order_cnt = {1, 5}}, 0},
        {"order 2", order2, {.frame_num = 3}, {.frame_num = 3}, 0},
        {"field", fields, {}, {.field_pic_flag = 1}, 1},
        {"second field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1, .bottom_field_flag = 1}, 1},
        {"same field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1}, 0},
    };
    for (const auto& c : cases) {
        SliceReader reader(c.sps, {.bottom_field_pic_order_in_frame_present_flag = 1});
        ASSERT_EQ(reader.Read(c.before), ResultOk);
        ASSERT_EQ(reader.Read(c.now), ResultOk);
        EXPECT_EQ(reader.newPicture, c.newPicture) << c.what;
    }
}

TEST(AvcSliceHeader, AnotherPictureParameterSetIsAnotherPicture)
{
    SliceReader reader;
    reader.Take(AvcPps{.pic_parameter_set_id = 1});
    ASSERT_EQ(reader.Read({}), ResultOk);
    ASSERT_EQ(reader.Read({.pic_parameter_set_id = 1}), ResultOk);
    EXPECT_EQ(reader.newPicture, 1);
}

TEST(AvcSliceHeader, WithoutItsParameterSetsLeavesTheComparisonAsItWas)
{
    const AvcPps sets[] = {{1, 31, 0}, {2, 32, 0}, {3, UINT32_MAX - 1, 0}};
    SliceReader reader({.log2_max_frame_num_minus4 = 2, .gaps_in_frame_num_value_allowed_flag = 1});
    for (const AvcPps& set : sets)
        reader.Take(set);
    const auto expectRefused = [&reader](uint32_t pic_parameter_set_id) {
        const AvcSlice slice = {.first_mb_in_slice = 3,
                                .slice_type = 1,
                                .pic_parameter_set_id = pic_parameter_set_id,
                                .frame_num = 9};
        EXPECT_EQ(reader.Read(slice), ResultFailed) << pic_parameter_set_id;
        EXPECT_EQ(reader.newPicture, 0);
        EXPECT_TRUE(IsSame(reader.sliceHeader, {3, 1, pic_parameter_set_id, 0, 0, 0, 0, 0, 0, 0, 0, {0, 0}}));
    };
    expectRefused(1);
    EXPECT_EQ(reader.accessUnits.firstSlice, 1u);

    ASSERT_EQ(reader.Read({.first_mb_in_slice = 1, .frame_num = 5}), ResultOk);
    const SliceHeaderRecord before = reader.prevSliceHeader;
    for (const uint32_t identifier : {1u, 2u, 3u, 4u, 255u, 256u, UINT32_MAX - 1})
        expectRefused(identifier);
    EXPECT_TRUE(IsSame(reader.prevSliceHeader, before));
    EXPECT_TRUE(reader.maxFrameNum == 64 && reader.gapsInFrameNumAllowed == 1);
    ASSERT_EQ(reader.Read({.frame_num = 5}), ResultOk);
    EXPECT_EQ(reader.newPicture, 0) << "compared with the slice before";
}

TEST(AvcSliceHeader, AFrameNumOfMoreBitsThanAnyUnitHasIsZero)
{
    SliceReader reader({.log2_max_frame_num_minus4 = UINT32_MAX - 1});
    EXPECT_EQ(reader.ReadUnit(AvcUnit(1, Bytes(200, 0xFF))), ResultOk);
    EXPECT_EQ(reader.sliceHeader.frame_num, 0u);
}

}  // namespace videoparams::test
