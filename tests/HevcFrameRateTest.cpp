// Where the frame rate of an H.265 sequence comes from: its SPS, or a VPS before it.

#include "support/Analysis.h"
#include "support/Codec.h"

namespace videoparams::test {

namespace {

const Timing timing = {.num_units_in_tick = 1001, .time_scale = 60000};

std::vector<Analysis::Report> Analysed(const std::vector<Bytes>& calls)
{
    Analysis host(VideoCodecHEVC);
    for (const Bytes& call : calls)
        host.Feed(call);
    host.Flush();
    return host.Reports();
}

}  // namespace

TEST(HevcFrameRate, IsThatOfAVpsThatWasReadWhole)
{
    const HevcSubLayer both = {.hasProfile = true, .hasLevel = true};
    const HevcVps cases[] = {
        {.timing = timing},
        {.sub_layer_ordering_info_present_flag = 0, .timing = timing},
        {.subLayers = {{false, true}, {false, true}}, .timing = timing},
        {.subLayers = {both, {}, {true, false}}, .sub_layer_ordering_info_present_flag = 0, .timing = timing},
        {.subLayers = {both, both, both, both, both, both, both}, .timing = timing},
        {.vps_max_layer_id = 5, .vps_num_layer_sets_minus1 = 3, .timing = timing},
        {.vps_max_layer_id = 62, .vps_num_layer_sets_minus1 = 1023, .timing = timing},
    };
    const auto rateOf = [](const Bytes& rbsp) {
        const VideoInfo info =
            Analysed({HevcUnit(32, rbsp) + HevcSps{}.Write() + HevcSlice{}.Write()}).back().info;
        return std::pair(info.frameRateNumerator, info.frameRateDenominator);
    };
    const std::pair<uint32_t, uint32_t> none = {0, 0};
    for (const HevcVps& vps : cases) {
        BitWriter whole;
        vps.WriteTo(whole);
        const size_t end = (whole.BitsTo("timing") + 7) / 8;
        for (size_t kept = whole.Written().size(); kept > 0;
             kept -= kept > end + 1 || kept < end - 9 ? kept / 8 + 1 : 1) {
            const Bytes cut(whole.Written().begin(), whole.Written().begin() + static_cast<ptrdiff_t>(kept));
            EXPECT_EQ(rateOf(cut), kept >= end ? std::pair(60000u, 1001u) : none)
                << &vps - cases << ", " << kept;
        }
    }
    EXPECT_EQ(rateOf(RbspOf(HevcVps{})), none);
}

// The rate of a VPS goes to the next SPS that has none, if no flush and no SPS of the same access unit comes
// first.
TEST(HevcFrameRate, OfAVpsGoesToTheNextSpsWithoutOne)
{
    const HevcVui thirty = {.timing = Timing{1, 30}};
    const HevcVui sixty = {.timing = Timing{1, 60}};
    const Bytes vps = HevcVps{.timing = thirty.timing}.Write();
    const Bytes sps = HevcSps{}.Write();
    const Bytes timedSps = HevcSps{.vui = sixty}.Write();
    const Bytes key = hevc.slice(0, Picture::Key, true);
    const Bytes delimiter = HevcDelimiter();
    const struct
    {
        const char* what;
        std::vector<Bytes> calls;
        uint32_t rate;
    } cases[] = {
        {"the same access unit", {vps + sps + key}, 30},
        {"the same one, SPS pending", {vps, sps + key}, 30},
        {"a later one", {timedSps + key, delimiter + vps + key, delimiter + sps + key}, 30},
        {"a later one with a rate", {timedSps + key, delimiter + vps + key, delimiter + timedSps + key}, 60},
        {"the SPS after that one", {vps + timedSps + key, delimiter + sps + key}, 0},
        {"a VPS that the first access unit began with", {vps + key, sps + key}, 0},
        {"after a flush", {vps, {}, sps + key}, 0},
        {"after a flush, pending", {delimiter + vps, {}, delimiter + sps + key}, 0},
        {"an SPS does not pass its own on", {timedSps + key + sps + hevc.slice(0, Picture::Key, false)}, 0},
    };
    for (const auto& row : cases) {
        const VideoInfo info = Analysed(row.calls).back().info;
        EXPECT_EQ(info.width, 416u) << row.what;
        EXPECT_EQ(info.frameRateNumerator, row.rate) << row.what;
        EXPECT_EQ(info.frameRateDenominator, row.rate != 0) << row.what;
    }
}

TEST(HevcFrameRate, OfAnSpsOverridesThatOfTheVps)
{
    const Timing film = {.num_units_in_tick = 1, .time_scale = 24};
    const HevcVui timed = {.timing = timing};
    const struct
    {
        const char* name;
        HevcVps vps;
        HevcSps sps;
        uint32_t numerator;
        uint32_t denominator;
    } cases[] = {
        {"both", {.timing = film}, {.vui = timed}, 60000, 1001},
        {"VPS, a scale of 0", {.timing = film}, {.vui = HevcVui{.timing = Timing{1001, 0}}}, 0, 1001},
        {"VPS, no VUI", {.timing = film}, {}, 24, 1},
        {"VPS, VUI without timing", {.timing = film}, {.vui = HevcVui{}}, 24, 1},
        {"SPS", {}, {.vui = timed}, 60000, 1001},
    };
    for (const auto& row : cases) {
        const Bytes unit = row.vps.Write() + row.sps.Write() + HevcPps() + hevc.slice(0, Picture::Key, true);
        const auto reports = Analysed({unit, HevcDelimiter() + unit, unit});
        ASSERT_EQ(reports.size(), 3u);
        for (const Analysis::Report& report : reports) {
            EXPECT_EQ(report.info.frameRateNumerator, row.numerator) << row.name;
            EXPECT_EQ(report.info.frameRateDenominator, row.denominator) << row.name;
            EXPECT_EQ(report.info.width, 416u) << row.name;
        }
    }
}

}  // namespace videoparams::test
