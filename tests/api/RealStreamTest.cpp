#include "support/Analysis.h"
#include "support/TestStream.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

namespace videoparams::test {

namespace {

struct Fraction
{
    uint64_t numerator = 0;
    uint64_t denominator = 0;
};

struct Expected
{
    Bytes bytes;
    bool isKey = false;
    bool isDescribed = false;
    uint32_t width = 0;
    uint32_t height = 0;
    Fraction frameRate;
};

class RealStream : public testing::TestWithParam<TestStream>
{
protected:
    RealStream() { ReadAccessUnits(); }

    // The access units as the description has them, and what a host must see of each.
    void ReadAccessUnits()
    {
        const auto& accessUnits = description["accessUnits"];
        Bytes sps;
        Bytes pps;
        for (size_t i = 0; i < accessUnits["number"]; ++i) {
            std::vector<Bytes> inUnit;
            Expected access;
            bool hasSps = false;
            std::istringstream types(accessUnits["nalUnitTypes"][i].get<std::string>());
            for (uint32_t type = 0; types >> type;) {
                ASSERT_LT(units.size(), all.size());
                inUnit.push_back(all[units.size()]);
                const bool isSlice = isAvc ? type == 1 || type == 2 || type == 5 : type < 32;
                units.push_back({i, isSlice});
                hasSps = hasSps || type == (isAvc ? 7 : 33);
                if (isAvc && type == 7 && sps.empty())
                    sps = inUnit.back();
                if (isAvc && type == 8 && pps.empty())
                    pps = inUnit.back();
            }
            for (const size_t key : accessUnits["keyFrames"])
                access.isKey = access.isKey || key == i;
            ASSERT_EQ(Join(inUnit).size(), accessUnits["sizes"][i]);

            // A key frame that comes without an SPS gets the first ones, behind its delimiter.
            const bool isCompleted = isAvc && access.isKey && !hasSps;
            if (isCompleted) {
                const bool hasDelimiter = (inUnit[0][inUnit[0][2] == 1 ? 3 : 4] & 0x1F) == 9;
                inUnit.insert(inUnit.begin() + (hasDelimiter ? 1 : 0), {sps, pps});
            }
            access.bytes = Join(inUnit);
            access.isDescribed = hasSps || isCompleted;
            if (access.isDescribed)
                Describe(access, isCompleted ? 0 : i);
            expected.push_back(access);
        }
        ASSERT_EQ(units.size(), all.size());
    }

    void Describe(Expected& access, size_t index) const
    {
        for (const auto& sequence : description["sequences"]) {
            if (sequence["accessUnit"] > index)
                break;
            access.width = sequence["width"];
            access.height = sequence["height"];
            access.frameRate = {};
            if (sequence["frameRate"].is_string())
                std::sscanf(sequence["frameRate"].get<std::string>().c_str(), "%" SCNu64 "/%" SCNu64,
                            &access.frameRate.numerator, &access.frameRate.denominator);
        }
    }

    // Hands units to a host; a new call begins where `cut` says so in front of a unit.
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
            const Expected& access = expected[i];
            ASSERT_TRUE(report.bytes == access.bytes) << "access unit " << i;
            ASSERT_EQ(report.info.keyFrame, access.isKey) << i;
            ASSERT_EQ(report.info.sequenceInfoValid, access.isDescribed) << i;
            ASSERT_EQ(report.info.width, access.width) << i;
            ASSERT_EQ(report.info.height, access.height) << i;
            ASSERT_EQ(report.info.frameRateNumerator * access.frameRate.denominator,
                      report.info.frameRateDenominator * access.frameRate.numerator)
                << i;
            ASSERT_EQ(report.info.frameRateNumerator != 0, access.frameRate.numerator != 0) << i;
        }
    }

    struct UnitPlace
    {
        size_t accessUnit;
        bool isSlice;
    };

    const bool isAvc = GetParam().codec == VideoCodecAVC;
    const nlohmann::json description = GetParam().Description();
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
    const auto& colour = description["colour"];
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
