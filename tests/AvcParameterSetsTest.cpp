#include "avc/AvcParameterTables.h"

#include "support/AvcStream.h"
#include "support/PageBytes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

constexpr uint32_t Huge = UINT32_MAX - 1;  // the largest ue(v)

SequenceInfo UnwrittenInfo()
{
    SequenceInfo info;
    std::fill_n(&info.sequenceInfoValid, sizeof info / sizeof(uint32_t), 0xABABABAB);
    return info;
}

bool IsSame(const SequenceInfo& a, const SequenceInfo& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Reads the first bits of a set. Data end with a whole byte, so the reader steps over some bits in front.
template <typename Set>
Result ReadFirst(size_t bits, const Set& set, CAvcParameterTables& tables, SequenceInfo& info)
{
    const auto inFront = static_cast<unsigned>((8 - bits % 8) % 8);
    BitWriter writer;
    writer.U(inFront, 0);
    set.WriteTo(writer);
    const PageBytes rbsp = AtPageEnd(writer.Written(), (inFront + bits) / 8);
    CBitReader reader(rbsp.data(), rbsp.size());
    reader.Bits(inFront);
    if constexpr (std::is_same_v<Set, AvcSps>)
        return tables.ReadSps(reader, info);
    else
        return tables.ReadPps(reader);
}

template <typename Set>
BitWriter Write(const Set& set)
{
    BitWriter writer;
    set.WriteTo(writer);
    return writer;
}

SequenceInfo ReadSps(CAvcParameterTables& tables, const AvcSps& sps)
{
    SequenceInfo info = UnwrittenInfo();
    EXPECT_EQ(ReadFirst(Write(sps).BitCount(), sps, tables, info), ResultOk);
    return info;
}

void ReadPps(CAvcParameterTables& tables, const AvcPps& pps)
{
    SequenceInfo unused;
    EXPECT_EQ(ReadFirst(Write(pps).BitCount(), pps, tables, unused), ResultOk);
}

using Colour = std::array<uint32_t, 7>;

void SetColour(SequenceInfo& info, const Colour& colour)
{
    std::memcpy(&info.video_signal_type_present_flag, colour.data(), sizeof colour);
}

void SetTiming(SequenceInfo& info, uint32_t numerator, uint32_t denominator)
{
    info.frameRateNumerator = numerator;
    info.frameRateDenominator = denominator;
}

const AvcVui fullVui = {
    .description = {.aspectRatio = SampleAspectRatio{255, 4, 3},
                    .overscan_appropriate_flag = 1,
                    .signalType = VideoSignalType{3, 1, ColourDescription{9, 16, 10}},
                    .chroma_sample_loc_type = 2},
    .timing = Timing{1001, 60000},
};

struct Described
{
    const char* what;
    AvcSps sps;
    uint32_t width = 160;
    uint32_t height = 96;
};

const Window cropping = {1, 2, 3, 4};
const std::vector<int32_t> sixteen = {1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 6, -6, 7, -7, 0, 120};

const Described described[] = {
    {"plain", {}},
    {"wide frame_num, gaps", {.log2_max_frame_num_minus4 = 12, .gaps_in_frame_num_value_allowed_flag = 1}},
    {"log2_max_frame_num out of range", {.seq_parameter_set_id = 31, .log2_max_frame_num_minus4 = 255}},
    {"order type 0", {.log2_max_pic_order_cnt_lsb_minus4 = 12}},
    {"order type 1",
     {.pic_order_cnt_type = 1, .delta_pic_order_always_zero_flag = 1, .offset_for_ref_frame = {0, -70000}}},
    {"cycle of 256", {.pic_order_cnt_type = 1, .offset_for_ref_frame = std::vector<int32_t>(256, -2)}},
    {"order type 2", {.pic_order_cnt_type = 2}},
    {"order type 3", {.pic_order_cnt_type = 3}},
    {"scaling lists, whole and ended by a 0: 8 - 8, 10 - 10, 8 + 248, 8 - 264",
     {.profile_idc = 110,
      .scalingLists = {sixteen, {}, {-8}, {2, -10}, {248}, {-264}, std::vector<int32_t>(64), {}}}},
    {"12 scaling lists",
     {.profile_idc = 244,
      .chroma_format_idc = 3,
      .scalingLists = {{}, {}, {}, {}, {}, sixteen, {}, {}, std::vector<int32_t>(64, 2), {}, {}, {-8}}}},
    {"fields", {.frame_mbs_only_flag = 0}, 160, 192},
    {"4:0:0", {.profile_idc = 100, .chroma_format_idc = 0, .cropping = cropping}, 160 - 3, 96 - 7},
    {"4:2:0 fields",
     {.profile_idc = 100, .frame_mbs_only_flag = 0, .cropping = cropping},
     160 - 2 * 3,
     192 - 4 * 7},
    {"4:2:2", {.profile_idc = 122, .chroma_format_idc = 2, .cropping = cropping}, 160 - 2 * 3, 96 - 7},
    {"4:4:4, separate planes",
     {.profile_idc = 244, .chroma_format_idc = 3, .separate_colour_plane_flag = 1, .cropping = cropping},
     160 - 3,
     96 - 7},
    {"unknown format", {.profile_idc = 100, .chroma_format_idc = Huge, .cropping = cropping}},
    // Modulo 2^32: 160 - 2 x (2^32 - 2) and 96 - 400; 16 x (2^32 - 1).
    {"cropped away", {.cropping = Window{.right = Huge, .bottom = 200}}, 164, 4294966992},
    {"huge", {.pic_width_in_mbs_minus1 = Huge}, 4294967280, 96},
};

void ExpectRecord(const SpsRecord* record, const AvcSps& sps, const char* what)
{
    const SpsRecord expected = {sps.seq_parameter_set_id,
                                sps.separate_colour_plane_flag,
                                sps.log2_max_frame_num_minus4,
                                sps.pic_order_cnt_type,
                                sps.log2_max_pic_order_cnt_lsb_minus4,
                                sps.delta_pic_order_always_zero_flag,
                                sps.frame_mbs_only_flag,
                                sps.gaps_in_frame_num_value_allowed_flag};
    ASSERT_NE(record, nullptr) << what;
    EXPECT_EQ(std::memcmp(record, &expected, sizeof expected), 0) << what;
}

}  // namespace

// A VUI stands behind each, so that an element too many or too few shows.
TEST(AvcSequenceParameterSet, GivesAfterEveryBitWhatWasReadWholeAndNoMore)
{
    for (const Described& row : described) {
        AvcSps sps = row.sps;
        sps.vui = fullVui;
        const BitWriter whole = Write(sps);
        for (size_t bits = 0; bits <= whole.BitCount(); ++bits) {
            SequenceInfo expected = UnwrittenInfo();
            if (bits >= whole.BitsTo("size")) {
                expected.sequenceInfoValid = 1;
                expected.width = row.width;
                expected.height = row.height;
            }
            if (bits >= whole.BitsTo("colour"))
                SetColour(expected, {1, 3, 1, 1, 9, 16, 10});
            if (bits >= whole.BitsTo("timing"))
                SetTiming(expected, 60000, 2002);

            CAvcParameterTables tables;
            SequenceInfo info = UnwrittenInfo();
            ASSERT_EQ(ReadFirst(bits, sps, tables, info), ResultOk);
            ASSERT_TRUE(IsSame(info, expected)) << row.what << ", " << bits << " bits";
            const SpsRecord* const record = tables.FindSps(sps.seq_parameter_set_id);
            if (bits >= whole.BitsTo("size"))
                ExpectRecord(record, sps, row.what);
            else
                ASSERT_EQ(record, nullptr) << row.what << ", " << bits << " bits";
        }
    }
}

TEST(AvcSequenceParameterSet, TwelveProfilesCodeTheChromaFormat)
{
    CAvcParameterTables tables;
    for (uint32_t profile_idc = 0; profile_idc < 256; ++profile_idc) {
        const SequenceInfo info = ReadSps(tables, {.profile_idc = profile_idc, .vui = fullVui});
        EXPECT_TRUE(info.width == 160 && info.frameRateNumerator == 60000) << profile_idc;
    }
}

TEST(AvcSequenceParameterSet, WritesOfTheVuiWhatIsCodedOrItsDefault)
{
    const struct
    {
        AvcVui vui;
        Colour colour;
        uint32_t numerator;
        uint32_t denominator;
    } cases[] = {
        {{}, {0, 5, 0, 0, 2, 2, 2}, 0xABABABAB, 0xABABABAB},
        {{.description = {.aspectRatio = SampleAspectRatio{}, .signalType = VideoSignalType{1, 1}}},
         {1, 1, 1, 0, 2, 2, 2},
         0xABABABAB,
         0xABABABAB},
        {{.timing = Timing{1, 50}}, {0, 5, 0, 0, 2, 2, 2}, 50, 2},
        {{.timing = Timing{0x80000001, UINT32_MAX}}, {0, 5, 0, 0, 2, 2, 2}, UINT32_MAX, 2},
    };
    CAvcParameterTables tables;
    for (const auto& c : cases) {
        SequenceInfo expected = ReadSps(tables, {});
        SetColour(expected, c.colour);
        SetTiming(expected, c.numerator, c.denominator);
        EXPECT_TRUE(IsSame(ReadSps(tables, {.vui = c.vui}), expected)) << "case " << &c - cases;
    }
}

TEST(AvcSequenceParameterSet, AnIdentifierOutOfRangeChangesNothing)
{
    CAvcParameterTables tables;
    for (const uint32_t identifier : {32u, 255u, 256u, Huge}) {
        const SequenceInfo info = ReadSps(tables, {.seq_parameter_set_id = identifier, .vui = fullVui});
        EXPECT_TRUE(IsSame(info, UnwrittenInfo())) << identifier;
    }
    for (uint32_t identifier = 0; identifier < 300; ++identifier)
        EXPECT_EQ(tables.FindSps(identifier), nullptr);
}

TEST(AvcParameterSets, TheLatestOfAnIdentifierCountsAndOthersStay)
{
    CAvcParameterTables tables;
    ReadSps(tables, {.seq_parameter_set_id = 4, .log2_max_frame_num_minus4 = 3});
    ReadSps(tables, {.seq_parameter_set_id = 5, .pic_order_cnt_type = 2});
    ReadSps(tables, {.seq_parameter_set_id = 4, .log2_max_frame_num_minus4 = 7});
    ExpectRecord(tables.FindSps(4), {.seq_parameter_set_id = 4, .log2_max_frame_num_minus4 = 7}, "replaced");
    ExpectRecord(tables.FindSps(5), {.seq_parameter_set_id = 5, .pic_order_cnt_type = 2}, "other");

    const AvcPps sets[] = {{0, 31, 0}, {255, 7, 1}, {1, Huge, 1}, {0, 3, 1}};
    for (const AvcPps& set : sets)
        ReadPps(tables, set);
    for (const AvcPps& set : {sets[1], sets[2], sets[3]}) {
        const PpsRecord* const record = tables.FindPps(set.pic_parameter_set_id);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->pic_parameter_set_id, set.pic_parameter_set_id);
        EXPECT_EQ(record->seq_parameter_set_id, set.seq_parameter_set_id);
        EXPECT_EQ(record->bottom_field_pic_order_in_frame_present_flag,
                  set.bottom_field_pic_order_in_frame_present_flag);
    }
}

TEST(AvcPictureParameterSet, CutShortOrOutOfRangeIsNotStored)
{
    CAvcParameterTables tables;
    for (const uint32_t identifier : {256u, 257u, Huge})
        ReadPps(tables, {.pic_parameter_set_id = identifier});
    const AvcPps pps = {.pic_parameter_set_id = 9, .seq_parameter_set_id = 30};
    const size_t needed = Write(pps).BitsTo("read");
    for (size_t bits = 0; bits <= needed; ++bits) {
        for (uint32_t identifier = 0; identifier < 300; ++identifier)
            ASSERT_EQ(tables.FindPps(identifier), nullptr) << bits;
        SequenceInfo unused;
        EXPECT_EQ(ReadFirst(bits, pps, tables, unused), ResultOk);
    }
    EXPECT_NE(tables.FindPps(9), nullptr);
}

}  // namespace videoparams::test
