#include "avc/AvcSliceReader.h"

#include "support/AvcStream.h"
#include "support/PageBytes.h"

#include <cstring>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

// Has read one SPS and one PPS, and reads slices.
class SliceReader
{
public:
    explicit SliceReader(const AvcSps& sps = {}, const AvcPps& pps = {})
        : seqParameterSet(sps), picParameterSet(pps)
    {
        EXPECT_TRUE(scanner.Create());
        Take(sps);
        Take(pps);
    }

    template <typename Set>
    void Take(const Set& set)
    {
        BitWriter writer;
        set.WriteTo(writer);
        const CBitReader bits(writer.Written().data(), Size(writer.Written()));
        SequenceInfo info;
        constexpr bool IsSps = std::is_same_v<Set, AvcSps>;
        EXPECT_EQ(IsSps ? tables.ReadSps(bits, info) : tables.ReadPps(bits), ResultOk);
    }

    SliceReading ReadUnit(const Bytes& unit)
    {
        const PageBytes page = AtPageEnd(unit);
        scanner.SetData(page.data(), page.size());
        EXPECT_EQ(scanner.NextUnit(), ScanOutcome::Unit);
        OpenedSlice slice;
        const SliceReading reading = reader.Read(slice);
        newPicture = reading == SliceReading::Read && reader.StartsPicture();
        bitsRead = slice.rbsp.size * size_t{8} - slice.bits.BitsLeft() - 8;
        return reading;
    }

    SliceReading Read(const AvcSlice& slice)
    {
        return ReadUnit(slice.Write(seqParameterSet, picParameterSet));
    }

    const SliceHeaderRecord& Header() const { return reader.Header(); }

    bool newPicture = false;
    size_t bitsRead = 0;  // after the unit header

private:
    AvcSps seqParameterSet;
    AvcPps picParameterSet;
    CNalScanner scanner{avcRules};
    CAvcParameterTables tables;
    CAvcSliceReader reader{scanner, tables};
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
        ASSERT_EQ(reader.Read(c.slice), SliceReading::Read) << &c - sliceCases;
        EXPECT_TRUE(IsSame(reader.Header(), RecordOf(c.slice))) << &c - sliceCases;
        EXPECT_FALSE(reader.newPicture) << "the first slice";
        EXPECT_EQ(reader.bitsRead, whole.BitsTo("read")) << &c - sliceCases;

        SliceReader padded(c.sps, c.pps);
        padded.Read(c.slice);
        for (size_t bits = 0; bits <= whole.BitCount(); ++bits) {
            Bytes kept(whole.Written().begin(), whole.Written().begin() + ptrdiff_t((bits + 7) / 8));
            if (bits % 8 != 0)
                kept.back() = static_cast<unsigned char>(kept.back() & 0xFF00 >> bits % 8);
            const uint32_t type = c.slice.nal_unit_type;
            const SliceReading result = reader.ReadUnit(AvcUnit(type, kept, 1));
            EXPECT_EQ(padded.ReadUnit(AvcUnit(type, kept + Bytes(300), 1)), result);
            ASSERT_TRUE(IsSame(reader.Header(), padded.Header())) << &c - sliceCases << ", " << bits;
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
        bool newPicture;
    } cases[] = {
        {"same", order0, {}, {.first_mb_in_slice = 40, .slice_type = 1}, false},
        {"frame_num", order0, {.frame_num = 1}, {.frame_num = 2}, true},
        {"IDR", order0, {}, {.nal_unit_type = 5}, true},
        {"no IDR", order0, {.nal_unit_type = 5}, {}, true},
        {"idr_pic_id", order0, {.nal_unit_type = 5}, {.nal_unit_type = 5, .idr_pic_id = 1}, true},
        {"partition A", order0, {}, {.nal_unit_type = 2}, false},
        {"reference", order0, {.nal_ref_idc = 2}, {.nal_ref_idc = 0}, true},
        {"no reference", order0, {.nal_ref_idc = 0}, {.nal_ref_idc = 1}, true},
        {"other nal_ref_idc", order0, {.nal_ref_idc = 3}, {.nal_ref_idc = 1}, false},
        {"order lsb", order0, {.pic_order_cnt_lsb = 1}, {.pic_order_cnt_lsb = 3}, true},
        {"order bottom", order0, {.delta_pic_order_cnt_bottom = 1}, {.delta_pic_order_cnt_bottom = -1}, true},
        {"delta 0", order1, {.delta_pic_order_cnt = {1, 0}}, {.delta_pic_order_cnt = {2, 0}}, true},
        {"delta 1", order1, {.delta_pic_order_cnt = {1, 0}}, {.delta_pic_order_cnt = {1, 5}}, true},
        {"deltas", order1, {.delta_pic_order_cnt = {1, 5}}, {.delta_pic_order_cnt = {1, 5}}, false},
        {"order 2", order2, {.frame_num = 3}, {.frame_num = 3}, false},
        {"field", fields, {}, {.field_pic_flag = 1}, true},
        {"second field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1, .bottom_field_flag = 1}, true},
        {"same field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1}, false},
    };
    for (const auto& c : cases) {
        SliceReader reader(c.sps, {.bottom_field_pic_order_in_frame_present_flag = 1});
        ASSERT_EQ(reader.Read(c.before), SliceReading::Read);
        ASSERT_EQ(reader.Read(c.now), SliceReading::Read);
        EXPECT_EQ(reader.newPicture, c.newPicture) << c.what;
    }
}

TEST(AvcSliceHeader, AnotherPictureParameterSetIsAnotherPicture)
{
    SliceReader reader;
    reader.Take(AvcPps{.pic_parameter_set_id = 1});
    ASSERT_EQ(reader.Read({}), SliceReading::Read);
    ASSERT_EQ(reader.Read({.pic_parameter_set_id = 1}), SliceReading::Read);
    EXPECT_TRUE(reader.newPicture);
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
        EXPECT_EQ(reader.Read(slice), SliceReading::UnknownParameterSets) << pic_parameter_set_id;
        EXPECT_TRUE(IsSame(reader.Header(), {3, 1, pic_parameter_set_id, 0, 0, 0, 0, 0, 0, 0, 0, {0, 0}}));
    };
    expectRefused(1);
    ASSERT_EQ(reader.Read({.first_mb_in_slice = 1, .frame_num = 5}), SliceReading::Read);
    EXPECT_FALSE(reader.newPicture) << "it is still the first slice";
    for (const uint32_t identifier : {1u, 2u, 3u, 4u, 255u, 256u, UINT32_MAX - 1})
        expectRefused(identifier);
    ASSERT_EQ(reader.Read({.frame_num = 5}), SliceReading::Read);
    EXPECT_FALSE(reader.newPicture) << "compared with the last slice that was read";
}

TEST(AvcSliceHeader, AFrameNumOfMoreBitsThanAnyUnitHasIsZero)
{
    SliceReader reader({.log2_max_frame_num_minus4 = UINT32_MAX - 1});
    EXPECT_EQ(reader.ReadUnit(AvcUnit(1, Bytes(200, 0xFF))), SliceReading::Read);
    EXPECT_EQ(reader.Header().frame_num, 0u);
}

}  // namespace videoparams::test
