#include "hevc/HevcParameterSets.h"

#include "support/Analysis.h"
#include "support/HevcStream.h"
#include "support/PageBytes.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

const Timing timing = {.num_units_in_tick = 1001, .time_scale = 60000};
const HevcVui timedVui = {.timing = timing};
const Window window = {.left = 1, .right = 8, .top = 2, .bottom = 4};

// Reads a parameter set whose last `missing` bits are cut off: with some bits in front that are stepped over,
// the data may end behind any bit.
template <typename Set>
SequenceInfo Read(const Set& set, size_t missing = 0)
{
    const auto inFront = static_cast<unsigned>(missing % 8);
    BitWriter alone;
    set.WriteTo(alone);
    BitWriter writer;
    writer.U(inFront, 0);
    set.WriteTo(writer);
    const PageBytes rbsp = AtPageEnd(writer.Written(), (inFront + alone.BitCount() - missing) / 8);
    CBitReader bits(rbsp.data(), rbsp.size());
    bits.Bits(inFront);
    SequenceInfo info;
    if constexpr (std::is_same_v<Set, HevcVps>)
        ReadHevcVps(bits, info);
    else
        ReadHevcSps(bits, info);
    return info;
}

bool HasTiming(const SequenceInfo& info)
{
    EXPECT_EQ(info.frameRateNumerator, info.frameRateDenominator == 0 ? 0u : 60000u);
    EXPECT_EQ(info.frameRateDenominator, info.frameRateNumerator == 0 ? 0u : 1001u);
    return info.frameRateNumerator != 0;
}

// Every set of the tables ends with timing, so that an element read too many or too few shows.
const HevcSubLayer both = {.hasProfile = true, .hasLevel = true};
const HevcVps vpsCases[] = {
    {.timing = timing},
    {.sub_layer_ordering_info_present_flag = 0, .timing = timing},
    {.subLayers = {{false, true}, {false, true}}, .timing = timing},
    {.subLayers = {both, {}, {true, false}}, .sub_layer_ordering_info_present_flag = 0, .timing = timing},
    {.subLayers = {both, both, both, both, both, both, both}, .timing = timing},
    {.vps_max_layer_id = 5, .vps_num_layer_sets_minus1 = 3, .timing = timing},
};

struct SpsCase
{
    const char* name;
    void (*change)(HevcSps& sps);
    uint32_t width = 416;
    uint32_t height = 240;

    HevcSps Sps() const
    {
        HevcSps sps = {.vui = timedVui};
        change(sps);
        return sps;
    }
};

template <uint32_t chroma_format_idc>
void WithWindow(HevcSps& sps)
{
    sps.chroma_format_idc = chroma_format_idc;
    sps.conformanceWindow = window;
}

const SpsCase spsCases[] = {
    {"plain", [](HevcSps&) {}},
    {"4:0:0", WithWindow<0>, 407, 234},
    {"4:2:0", WithWindow<1>, 398, 228},
    {"4:2:2", WithWindow<2>, 398, 234},
    {"4:4:4", WithWindow<3>, 407, 234},
    {"unknown format", WithWindow<4>, 416, 240},
    {"window too large", [](HevcSps& sps) { sps.conformanceWindow = Window{.right = 209}; }, UINT32_MAX - 1},
    {"sub-layers",
     [](HevcSps& sps) {
         sps.subLayers = {both, {false, true}, {true, false}, {}};
     }},
    {"ordering once",
     [](HevcSps& sps) {
         sps.subLayers = {{}, {}}, sps.sub_layer_ordering_info_present_flag = 0;
     }},
    {"default scaling lists", [](HevcSps& sps) { sps.scalingLists = HevcScalingLists::Default; }},
    {"predicted scaling lists", [](HevcSps& sps) { sps.scalingLists = HevcScalingLists::Predicted; }},
    {"coded scaling lists", [](HevcSps& sps) { sps.scalingLists = HevcScalingLists::Coded; }},
    {"PCM", [](HevcSps& sps) { sps.pcm = true; }},
    {"reference picture sets",
     [](HevcSps& sps) {
         sps.refPicSets = {{2, 1}, {0, 0}, {0, 3}};
     }},
    // 3 pictures, hence 4 flag pairs; 3 of them are set, hence 4; 2, hence 3; none, hence 1
    {"predicted sets",
     [](HevcSps& sps) {
         sps.refPicSets = {{1, 2}, {0, 0, "ud-u"}, {0, 0, "-d-u"}, {0, 0, "---"}, {0, 0, "u"}, {1, 0}};
     }},
    {"64 sets",
     [](HevcSps& sps) {
         sps.refPicSets.assign(64, {1, 1});
     }},
    {"long-term pictures",
     [](HevcSps& sps) {
         sps.lt_ref_pic_poc_lsb_sps = {0xFF, 0, 0x12};
     }},
    {"default display window", [](HevcSps& sps) { sps.vui->defaultDisplayWindow = window; }},
    {"whole VUI",
     [](HevcSps& sps) {
         sps.vui->description = {SampleAspectRatio{255, 4, 3}, 1,
                                 VideoSignalType{1, 1, ColourDescription{9, 16, 10}}, 2};
     }},
};

TEST(HevcParameterSets, GiveAfterEveryBitWhatWasReadWhole)
{
    for (const HevcVps& vps : vpsCases) {
        BitWriter whole;
        vps.WriteTo(whole);
        for (size_t left = 0; left <= whole.BitCount(); ++left) {
            const SequenceInfo info = Read(vps, whole.BitCount() - left);
            EXPECT_EQ(HasTiming(info), left >= whole.BitsTo("timing")) << left;
            EXPECT_EQ(info.sequenceInfoValid, 0u);
        }
    }
    EXPECT_TRUE(HasTiming(
        Read(HevcVps{.vps_max_layer_id = 62, .vps_num_layer_sets_minus1 = 1023, .timing = timing})));
    EXPECT_FALSE(HasTiming(Read(HevcVps{})) || HasTiming(Read(HevcSps{})));
    for (const SpsCase& row : spsCases) {
        BitWriter whole;
        row.Sps().WriteTo(whole);
        for (size_t left = 0; left <= whole.BitCount(); ++left) {
            const SequenceInfo info = Read(row.Sps(), whole.BitCount() - left);
            const bool hasSize = left >= whole.BitsTo("size");
            ASSERT_EQ(info.sequenceInfoValid, hasSize ? 1u : 0u) << row.name << ", " << left << " bits";
            ASSERT_EQ(info.width, hasSize ? row.width : 0u) << row.name << ", " << left << " bits";
            ASSERT_EQ(info.height, hasSize ? row.height : 0u) << row.name << ", " << left << " bits";
            ASSERT_EQ(info.video_format != 0, left >= whole.BitsTo("colour"))
                << row.name << ", " << left << " bits";
            ASSERT_EQ(HasTiming(info), left >= whole.BitsTo("timing")) << row.name << ", " << left << " bits";
        }
    }
}

TEST(HevcParameterSets, MoreThanSixtyFourReferencePictureSetsEndTheReading)
{
    HevcSps sps = {.vui = timedVui};
    sps.refPicSets.assign(65, {1, 1});
    const SequenceInfo info = Read(sps);
    EXPECT_TRUE(info.width == 416 && info.sequenceInfoValid == 1);
    EXPECT_TRUE(info.video_format == 0 && !HasTiming(info));
}

TEST(HevcParameterSets, SpsOverridesTheRateOfTheVpsOrKeepsIt)
{
    const Timing film = {.num_units_in_tick = 1, .time_scale = 24};
    struct
    {
        const char* name;
        HevcVps vps;
        HevcSps sps;
        uint32_t numerator;
        uint32_t denominator;
    } const cases[] = {
        {"both", {.timing = film}, {.vui = timedVui}, 60000, 1001},
        {"VPS, a scale of 0", {.timing = film}, {.vui = HevcVui{.timing = Timing{1001, 0}}}, 0, 1001},
        {"VPS, no VUI", {.timing = film}, {}, 24, 1},
        {"VPS, VUI without timing", {.timing = film}, {.vui = HevcVui{}}, 24, 1},
        {"SPS", {}, {.vui = timedVui}, 60000, 1001},
        {"neither", {}, {.vui = HevcVui{}}, 0, 0},
    };
    for (const auto& row : cases) {
        const Bytes unit =
            row.vps.Write() + row.sps.Write() + HevcPps() + HevcSlice{.nal_unit_type = 19}.Write();
        Analysis analysis(VideoCodecHEVC);
        for (const Bytes& fed : {unit, HevcDelimiter() + unit, unit, Bytes{}})
            analysis.Feed(fed);
        ASSERT_EQ(analysis.Reports().size(), 3u);
        for (const Analysis::Report& report : analysis.Reports()) {
            EXPECT_EQ(report.info.frameRateNumerator, row.numerator) << row.name;
            EXPECT_EQ(report.info.frameRateDenominator, row.denominator) << row.name;
            EXPECT_EQ(report.info.width, 416u) << row.name;
        }
    }
}

}  // namespace

}  // namespace videoparams::test
