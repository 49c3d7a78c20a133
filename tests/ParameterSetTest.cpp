// What is described of a sequence after its parameter sets.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/PageBytes.h"

#include <array>
#include <cstring>
#include <functional>

namespace videoparams::test {

namespace {

constexpr uint32_t Huge = UINT32_MAX - 1;  // the largest ue(v)

// The report of a key frame with these parameter sets; all of the bytes can be read and no more.
Analysis::Report Described(const Codec& codec, const Bytes& sets)
{
    const PageBytes stream = AtPageEnd(sets + codec.slice(0, Picture::Key, true));
    Analysis host(codec.type);
    EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
    host.Flush();
    return host.Reports().empty() ? Analysis::Report{} : host.Reports().back();
}

using Colour = std::array<uint32_t, 7>;

Colour ColourOf(const VideoInfo& info)
{
    Colour colour;
    std::memcpy(colour.data(), &info.video_signal_type_present_flag, sizeof colour);
    return colour;
}

const VideoDescription wholeDescription = {.aspectRatio = SampleAspectRatio{255, 4, 3},
                                           .overscan_appropriate_flag = 1,
                                           .signalType = VideoSignalType{3, 1, ColourDescription{9, 16, 10}},
                                           .chroma_sample_loc_type = 2};
const Timing timing = {.num_units_in_tick = 1001, .time_scale = 60000};
const Window window = {.left = 1, .right = 8, .top = 2, .bottom = 4};

// An SPS with its identifier and a whole VUI, so that an element read too many or too few shows; and the
// picture size that its syntax gives.
struct SpsCase
{
    const char* name;
    std::function<void(BitWriter& writer, uint32_t identifier)> write;
    uint32_t width;
    uint32_t height;
};

SpsCase Avc(const char* name, AvcSps sps, uint32_t width = 160, uint32_t height = 96)
{
    sps.vui = AvcVui{wholeDescription, timing};
    return {name,
            [sps](BitWriter& writer, uint32_t identifier) mutable {
                sps.seq_parameter_set_id = identifier;
                sps.WriteTo(writer);
            },
            width, height};
}

SpsCase Hevc(const char* name, HevcSps sps, uint32_t width = 416, uint32_t height = 240,
             std::optional<Window> displayWindow = {})
{
    sps.vui = HevcVui{wholeDescription, displayWindow, timing};
    return {name,
            [sps](BitWriter& writer, uint32_t identifier) mutable {
                sps.sps_seq_parameter_set_id = identifier;
                sps.WriteTo(writer);
            },
            width, height};
}

std::vector<SpsCase> AvcCases()
{
    const std::vector<int32_t> sixteen = {1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 6, -6, 7, -7, 0, 120};
    return {
        Avc("plain", {}),
        Avc("fields", {.frame_mbs_only_flag = 0}, 160, 192),
        Avc("wide frame_num, gaps",
            {.log2_max_frame_num_minus4 = 12, .gaps_in_frame_num_value_allowed_flag = 1}),
        Avc("log2_max_frame_num out of range", {.log2_max_frame_num_minus4 = 255}),
        Avc("order type 0", {.log2_max_pic_order_cnt_lsb_minus4 = 12}),
        Avc("order type 1", {.pic_order_cnt_type = 1,
                             .delta_pic_order_always_zero_flag = 1,
                             .offset_for_ref_frame = {0, -70000}}),
        Avc("cycle of 256", {.pic_order_cnt_type = 1, .offset_for_ref_frame = std::vector<int32_t>(256, -2)}),
        Avc("order type 2", {.pic_order_cnt_type = 2}),
        Avc("order type 3", {.pic_order_cnt_type = 3}),
        Avc("scaling lists, whole and ended by a 0: 8 - 8, 10 - 10, 8 + 248, 8 - 264",
            {.profile_idc = 110,
             .scalingLists = {sixteen, {}, {-8}, {2, -10}, {248}, {-264}, std::vector<int32_t>(64), {}}}),
        Avc("12 scaling lists",
            {.profile_idc = 244,
             .chroma_format_idc = 3,
             .scalingLists =
                 {{}, {}, {}, {}, {}, sixteen, {}, {}, std::vector<int32_t>(64, 2), {}, {}, {-8}}}),
        Avc("4:0:0", {.profile_idc = 100, .chroma_format_idc = 0, .cropping = window}, 160 - 9, 96 - 6),
        Avc("4:2:0 fields", {.profile_idc = 100, .frame_mbs_only_flag = 0, .cropping = window}, 160 - 2 * 9,
            192 - 4 * 6),
        Avc("4:2:2", {.profile_idc = 122, .chroma_format_idc = 2, .cropping = window}, 160 - 2 * 9, 96 - 6),
        Avc("4:4:4, separate planes",
            {.profile_idc = 244, .chroma_format_idc = 3, .separate_colour_plane_flag = 1, .cropping = window},
            160 - 9, 96 - 6),
        Avc("unknown format", {.profile_idc = 100, .chroma_format_idc = Huge, .cropping = window}),
        // Modulo 2^32: 160 - 2 x (2^32 - 2) and 96 - 400; 16 x (2^32 - 1).
        Avc("cropped away", {.cropping = Window{.right = Huge, .bottom = 200}}, 164, 4294966992),
        Avc("huge", {.pic_width_in_mbs_minus1 = Huge}, 4294967280, 96),
    };
}

std::vector<SpsCase> HevcCases()
{
    const HevcSubLayer both = {.hasProfile = true, .hasLevel = true};
    const auto sets = [](size_t count) { return std::vector<HevcRefPicSet>(count, {1, 1}); };
    return {
        Hevc("plain", {}),
        Hevc("4:0:0", {.chroma_format_idc = 0, .conformanceWindow = window}, 407, 234),
        Hevc("4:2:0", {.conformanceWindow = window}, 398, 228),
        Hevc("4:2:2", {.chroma_format_idc = 2, .conformanceWindow = window}, 398, 234),
        Hevc("4:4:4", {.chroma_format_idc = 3, .conformanceWindow = window}, 407, 234),
        Hevc("unknown format", {.chroma_format_idc = 4, .conformanceWindow = window}),
        Hevc("window too large", {.conformanceWindow = Window{.right = 209}}, UINT32_MAX - 1),
        Hevc("sub-layers", {.subLayers = {both, {false, true}, {true, false}, {}}}),
        Hevc("ordering once", {.subLayers = {{}, {}}, .sub_layer_ordering_info_present_flag = 0}),
        Hevc("default scaling lists", {.scalingLists = HevcScalingLists::Default}),
        Hevc("predicted scaling lists", {.scalingLists = HevcScalingLists::Predicted}),
        Hevc("coded scaling lists", {.scalingLists = HevcScalingLists::Coded}),
        Hevc("PCM", {.pcm = true}),
        Hevc("reference picture sets", {.refPicSets = {{2, 1}, {0, 0}, {0, 3}}}),
        // 3 pictures, hence 4 flag pairs; 3 of them are set, hence 4; 2, hence 3; none, hence 1
        Hevc("predicted sets",
             {.refPicSets = {{1, 2}, {0, 0, "ud-u"}, {0, 0, "-d-u"}, {0, 0, "---"}, {0, 0, "u"}, {1, 0}}}),
        Hevc("64 sets", {.refPicSets = sets(64)}),
        Hevc("long-term pictures", {.lt_ref_pic_poc_lsb_sps = {0xFF, 0, 0x12}}),
        Hevc("default display window", {}, 416, 240, window),
    };
}

// The RBSP cut after each byte, at four alignments.
void CutEverywhere(const SpsCase& row,
                   const std::function<void(const BitWriter& whole, const Bytes& cut)>& check)
{
    for (const uint32_t identifier : {0u, 1u, 3u, 7u}) {
        BitWriter whole;
        row.write(whole, identifier);
        for (size_t kept = 0; kept <= whole.Written().size(); ++kept)
            check(whole, {whole.Written().begin(), whole.Written().begin() + static_cast<ptrdiff_t>(kept)});
    }
}

class ParameterSets : public CodecTest
{};

INSTANTIATE_TEST_SUITE_P(, ParameterSets, bothCodecs, nameOfCodec);

}  // namespace

TEST_P(ParameterSets, DescribeWhatWasReadWholeAndNoMore)
{
    const uint32_t rate = codec.IsAvc() ? 2002 : 1001;
    for (const SpsCase& row : codec.IsAvc() ? AvcCases() : HevcCases()) {
        CutEverywhere(row, [&](const BitWriter& whole, const Bytes& cut) {
            const size_t bits = 8 * cut.size();
            const bool hasSize = bits >= whole.BitsTo("size");
            const bool hasColour = bits >= whole.BitsTo("colour");
            const bool hasTiming = bits >= whole.BitsTo("timing");
            const VideoInfo info = Described(codec, codec.unit(codec.IsAvc() ? 7 : 33, cut)).info;
            ASSERT_EQ(info.sequenceInfoValid, hasSize) << row.name << ", " << bits << " bits";
            ASSERT_EQ(info.width, hasSize ? row.width : 0) << row.name << ", " << bits << " bits";
            ASSERT_EQ(info.height, hasSize ? row.height : 0) << row.name << ", " << bits << " bits";
            ASSERT_EQ(ColourOf(info), hasColour ? (Colour{1, 3, 1, 1, 9, 16, 10}) : Colour{})
                << row.name << bits;
            ASSERT_EQ(info.frameRateNumerator, hasTiming ? 60000u : 0u)
                << row.name << ", " << bits << " bits";
            ASSERT_EQ(info.frameRateDenominator, hasTiming ? rate : 0) << row.name << ", " << bits << " bits";
        });
    }
}

TEST_P(ParameterSets, GiveOfTheVuiWhatIsCodedOrItsDefault)
{
    const struct
    {
        VideoDescription description;
        std::optional<Timing> timing;
        Colour colour;
    } cases[] = {
        {{}, {}, {0, 5, 0, 0, 2, 2, 2}},
        {{.aspectRatio = SampleAspectRatio{}, .signalType = VideoSignalType{1, 1}},
         {},
         {1, 1, 1, 0, 2, 2, 2}},
        {{}, Timing{1, 50}, {0, 5, 0, 0, 2, 2, 2}},
        {{}, Timing{0x80000001, UINT32_MAX}, {0, 5, 0, 0, 2, 2, 2}},
        {wholeDescription, {}, {1, 3, 1, 1, 9, 16, 10}},
    };
    for (const auto& row : cases) {
        const Bytes sps = codec.IsAvc() ? AvcSps{.vui = AvcVui{row.description, row.timing}}.Write()
                                        : HevcSps{.vui = HevcVui{row.description, {}, row.timing}}.Write();
        const VideoInfo info = Described(codec, sps).info;
        const uint32_t tick = row.timing ? row.timing->num_units_in_tick : 0;
        EXPECT_EQ(ColourOf(info), row.colour) << &row - cases;
        EXPECT_EQ(info.frameRateNumerator, row.timing ? row.timing->time_scale : 0) << &row - cases;
        EXPECT_EQ(info.frameRateDenominator, codec.IsAvc() ? 2 * tick : tick) << &row - cases;
    }
    EXPECT_EQ(ColourOf(Described(codec, codec.sets).info), Colour{}) << "no VUI";
}

TEST(AvcParameterSets, TwelveProfilesCodeTheChromaFormat)
{
    for (uint32_t profile_idc = 0; profile_idc < 256; ++profile_idc) {
        const AvcSps sps = {.profile_idc = profile_idc, .vui = AvcVui{.timing = timing}};
        const VideoInfo info = Described(avc, sps.Write()).info;
        EXPECT_TRUE(info.width == 160 && info.frameRateNumerator == 60000) << profile_idc;
    }
}

TEST(AvcParameterSets, WithAnIdentifierOutOfRangeDescribeNothing)
{
    for (const uint32_t identifier : {32u, 255u, 256u, Huge})
        EXPECT_FALSE(
            Described(avc, AvcSps{.seq_parameter_set_id = identifier}.Write()).info.sequenceInfoValid);
    EXPECT_TRUE(Described(avc, AvcSps{.seq_parameter_set_id = 31}.Write()).info.sequenceInfoValid);
}

// Shown by the slice, which is dropped if its parameter sets are unknown.
TEST(AvcParameterSets, AreKeptIfTheyWereReadWhole)
{
    const Bytes slice = AvcSlice{.nal_unit_type = 5}.Write();
    const Bytes pps = AvcPps{}.Write();
    const auto isTaken = [&slice](const Bytes& sets) { return Described(avc, sets).bytes == sets + slice; };
    for (const uint32_t frame_mbs_only_flag : {0u, 1u}) {
        BitWriter whole;
        AvcSps{.frame_mbs_only_flag = frame_mbs_only_flag, .cropping = window}.WriteTo(whole);
        for (size_t kept = 0; kept <= whole.Written().size(); ++kept) {
            const Bytes cut(whole.Written().begin(), whole.Written().begin() + static_cast<ptrdiff_t>(kept));
            const Bytes sets = AvcUnit(7, cut) + pps;
            EXPECT_EQ(Described(avc, sets).bytes.size() > sets.size(), 8 * kept >= whole.BitsTo("size"))
                << kept;
        }
    }
    // The elements that are read end with the first byte: 1, 1, 1, 0 of the last flag, and 4 bits that are
    // not read.
    EXPECT_TRUE(isTaken(AvcSps{}.Write() + AvcUnit(8, {0xE0})));
    EXPECT_FALSE(isTaken(AvcSps{}.Write() + AvcUnit(8, {})));
}

TEST(HevcParameterSets, MoreThanSixtyFourReferencePictureSetsEndTheReading)
{
    HevcSps sps = {.vui = HevcVui{.timing = timing}};
    sps.refPicSets.assign(65, {1, 1});
    const VideoInfo info = Described(hevc, sps.Write()).info;
    EXPECT_EQ(info.width, 416u);
    EXPECT_EQ(info.sequenceInfoValid, 1u);
    EXPECT_EQ(info.video_format + info.frameRateNumerator, 0u);
}

}  // namespace videoparams::test
