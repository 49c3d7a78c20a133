#include "support/Analysis.h"
#include "support/TestStream.h"

#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <set>
#include <sstream>

namespace videoparams::test {

namespace {

using nlohmann::json;

struct Expected
{
    Bytes bytes;
    bool isKey;
    json sequence;  // null: not described
};

// Size and rate as the descriptions have them.
json SequenceOf(const VideoInfo& info)
{
    const uint32_t divisor = std::gcd(info.frameRateNumerator, info.frameRateDenominator);
    if (!info.sequenceInfoValid && info.width == 0 && info.height == 0 && divisor == 0)
        return nullptr;
    json sequence = {{"width", info.width}, {"height", info.height}, {"frameRate", nullptr}};
    if (divisor != 0)
        sequence["frameRate"] = std::to_string(info.frameRateNumerator / divisor) + "/" +
                                std::to_string(info.frameRateDenominator / divisor);
    return sequence;
}

class RealStream : public testing::TestWithParam<TestStream>
{
protected:
    RealStream() { ReadAccessUnits(); }

    // The access units as the description has them, and what a host must see of each.
    void ReadAccessUnits()
    {
        const json& accessUnits = description["accessUnits"];
        const auto keyFrames = accessUnits["keyFrames"].get<std::set<size_t>>();
        std::map<uint32_t, Bytes> first;  // units by their type
        for (size_t i = 0; i < accessUnits["number"]; ++i) {
            std::vector<Bytes> inUnit;
            std::set<uint32_t> present;
            std::istringstream types(accessUnits["nalUnitTypes"][i].get<std::string>());
            for (uint32_t type = 0; types >> type;) {
                ASSERT_LT(units.size(), all.size());
                inUnit.push_back(all[units.size()]);
                first.try_emplace(type, inUnit.back());
                present.insert(type);
                units.push_back({i, isAvc ? type == 1 || type == 2 || type == 5 : type < 32});
            }
            ASSERT_EQ(Join(inUnit).size(), accessUnits["sizes"][i]);

            // A key frame without an SPS gets the first SPS and PPS, after its delimiter.
            const bool isKey = keyFrames.count(i) != 0;
            const bool hasSps = present.count(isAvc ? 7 : 33) != 0;
            const bool isCompleted = isAvc && isKey && !hasSps;
            if (isCompleted)
                inUnit.insert(inUnit.begin() + ptrdiff_t(present.count(9)), {first[7], first[8]});
            expected.push_back({Join(inUnit), isKey,
                                hasSps || isCompleted ? SequenceAt(isCompleted ? 0 : i) : json(nullptr)});
        }
        ASSERT_EQ(units.size(), all.size());
    }

    json SequenceAt(size_t index) const
    {
        json found;
        for (const json& sequence : description["sequences"])
            found = sequence["accessUnit"] <= index ? sequence : found;
        found.erase("accessUnit");
        return found;
    }

    // Feeds the units. A new call begins before each unit for which `cut` returns true.
    template <typename Cut>
    Analysis& Feed(Analysis& host, Cut cut) const
    {
        Bytes piece;
        for (size_t i = 0; i < units.size(); ++i) {
            if (!piece.empty() && cut(i)) {
                EXPECT_EQ(host.Feed(piece), 0);
                piece.clear();
            }
            piece += all[i];
        }
        EXPECT_EQ(host.Feed(piece), 0);
        EXPECT_EQ(host.Flush(), 0);
        return host;
    }

    void ExpectReports(const Analysis& host) const
    {
        ASSERT_EQ(host.Reports().size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            const Analysis::Report& report = host.Reports()[i];
            ASSERT_TRUE(report.bytes == expected[i].bytes) << "access unit " << i;
            ASSERT_EQ(report.info.keyFrame, expected[i].isKey) << i;
            ASSERT_EQ(SequenceOf(report.info), expected[i].sequence) << i;
        }
    }

    struct UnitPlace
    {
        size_t accessUnit;
        bool isSlice;
    };

    const bool isAvc = GetParam().codec == VideoCodecAVC;
    const json description = GetParam().Description();
    const std::vector<Bytes> all = SplitUnits(GetParam().Read());
    std::vector<UnitPlace> units;
    std::vector<Expected> expected;
};

INSTANTIATE_TEST_SUITE_P(, RealStream, testing::ValuesIn(TestStreams()),
                         [](const auto& test) { return TestName(test.param); });

// A call reports one access unit, so no piece has the first slices of two. The first round feeds unit for
// unit, the second access unit for access unit.
TEST_P(RealStream, IsReportedWhereverItIsCutBetweenUnits)
{
    for (unsigned round = 0; round < 20; ++round) {
        std::minstd_rand random(round);
        size_t started = SIZE_MAX;
        const auto cut = [&](size_t i) {
            if (round < 2)
                return round == 0 || units[i].accessUnit != units[i - 1].accessUnit;
            const bool startsPicture = units[i].isSlice && units[i].accessUnit != started;
            if (startsPicture)
                started = units[i].accessUnit;
            return startsPicture || random() % 3 == 0;
        };
        Analysis host(GetParam().codec, 2 + round % 3, 1000 * (round % 5));
        ExpectReports(Feed(host, cut));
        if (HasFatalFailure())
            FAIL() << "round " << round;
    }
}

TEST_P(RealStream, ColourIsThatOfTheFirstSps)
{
    const json& colour = description["colour"];
    Analysis host(GetParam().codec);
    Feed(host, [](size_t) { return true; });
    ASSERT_FALSE(host.Reports().empty());
    const VideoInfo& info = host.Reports()[0].info;
    EXPECT_EQ(info.video_signal_type_present_flag, colour["video_signal_type_present_flag"]);
    EXPECT_EQ(info.video_format, colour["video_format"]);
    EXPECT_EQ(info.video_full_range_flag, colour["video_full_range_flag"]);
    EXPECT_EQ(info.colour_description_present_flag, colour["colour_description_present_flag"]);
    EXPECT_EQ(info.colour_primaries, colour["colour_primaries"]);
    EXPECT_EQ(info.transfer_characteristics, colour["transfer_characteristics"]);
    EXPECT_EQ(info.matrix_coefficients, colour["matrix_coefficients"]);
}

}  // namespace

}  // namespace videoparams::test
