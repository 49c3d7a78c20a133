#include "NalFeeder.hpp"

#include "support/Analysis.h"
#include "support/AvcStream.h"
#include "support/TestStream.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace videoparams::test {

namespace {

using ShortUnits = CNalFeeder::ShortUnits;

constexpr size_t NoLimit = 0xFFFFFFFF;

struct Fed
{
    std::vector<Bytes> units;
    Bytes all;  // units and what was skipped, in the order in which they came
    bool hasRightOffsets = true;

    bool operator==(const Fed&) const = default;
};

// The stream in pieces: the given sizes, over and over.
Fed Feed(const Bytes& stream, const std::vector<size_t>& pieces, ShortUnits shortUnits,
         size_t largest = NoLimit)
{
    CNalFeeder feeder(shortUnits, largest);
    Fed fed;
    const auto take = [&](const unsigned char* bytes, size_t size) {
        fed.hasRightOffsets = fed.hasRightOffsets && feeder.Offset() == fed.all.size();
        fed.all.insert(fed.all.end(), bytes, bytes + size);
    };
    const auto takeUnit = [&](const unsigned char* unit, unsigned int unitSize) {
        take(unit, unitSize);
        fed.units.push_back(CopyOf(unit, unitSize));
    };
    size_t piece = 0;
    for (size_t at = 0; at < stream.size();) {
        const size_t size = std::min(pieces[piece++ % pieces.size()], stream.size() - at);
        feeder.Feed(stream.data() + at, size, takeUnit, take);
        at += size;
    }
    feeder.Finish(takeUnit, take);
    return fed;
}

// The rule, read byte by byte over the whole stream.
std::vector<Bytes> Cut(const Bytes& stream)
{
    std::vector<size_t> starts;
    for (size_t i = 0; i + 5 <= stream.size(); ++i) {
        const bool isThree = stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1;
        const bool isFour = stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 0 && stream[i + 3] == 1;
        if (!isThree && !isFour)
            continue;
        starts.push_back(i);
        i += isThree ? 2 : 3;
    }
    std::vector<Bytes> units;
    for (size_t k = 0; k < starts.size(); ++k) {
        const size_t end = k + 1 < starts.size() ? starts[k + 1] : stream.size();
        units.push_back(CopyOf(stream.data() + starts[k], end - starts[k]));
    }
    return units;
}

const std::vector<std::vector<size_t>> waysToCut = {{1}, {2}, {3}, {5, 1}, {7, 2, 4}, {64}, {100000}};

}  // namespace

TEST(NalFeeder, CutsWhereStartCodesCount)
{
    const struct
    {
        Bytes stream;
        std::vector<Bytes> units;
    } cases[] = {
        {{}, {}},
        {{0, 0, 1, 9}, {}},
        {{9, 9, 9, 9, 9, 9}, {}},
        {{0, 0, 1, 9, 0x10}, {{0, 0, 1, 9, 0x10}}},
        {{8, 8, 0, 0, 0, 0, 1, 0x65, 5}, {{0, 0, 0, 1, 0x65, 5}}},
        {{0, 0, 1, 0x65, 5, 0, 0, 0, 0, 1, 0x41, 6}, {{0, 0, 1, 0x65, 5, 0}, {0, 0, 0, 1, 0x41, 6}}},
        {{0, 0, 1, 0x65, 5, 0, 0, 1, 0x41}, {{0, 0, 1, 0x65, 5, 0, 0, 1, 0x41}}},
        {{0, 0, 1, 0x65, 5, 0, 0, 0, 1, 0x41}, {{0, 0, 1, 0x65, 5}, {0, 0, 0, 1, 0x41}}},
        {{0, 0, 1, 0x65, 5, 0, 0, 0, 1}, {{0, 0, 1, 0x65, 5, 0, 0, 0, 1}}},
    };
    for (const auto& c : cases) {
        for (const auto& pieces : waysToCut) {
            EXPECT_EQ(Feed(c.stream, pieces, ShortUnits::Join).units, c.units) << Hex(c.stream);
            EXPECT_EQ(Feed(c.stream, pieces, ShortUnits::Separate).units, c.units) << Hex(c.stream);
        }
    }
}

TEST(NalFeeder, JoinsUnitsThatAreTooShortForACallToTheOneBefore)
{
    const Bytes slice = {0, 0, 1, 0x65, 5, 6};
    const Bytes endOfSequence = {0, 0, 1, 0x0A};
    const Bytes bareStartCode = {0, 0, 0, 1};
    const Bytes next = {0, 0, 0, 1, 0x67};
    const struct
    {
        std::vector<Bytes> separate;
        std::vector<Bytes> joined;
    } cases[] = {
        {{slice, endOfSequence, next}, {slice + endOfSequence, next}},
        {{slice, endOfSequence, bareStartCode, next}, {slice + endOfSequence + bareStartCode, next}},
        {{bareStartCode, slice, next}, {bareStartCode, slice, next}},  // none is before it
        {{slice, next, slice}, {slice, next, slice}},
    };
    for (const auto& c : cases) {
        for (const auto& pieces : waysToCut) {
            EXPECT_EQ(Feed(Join(c.separate), pieces, ShortUnits::Join).units, c.joined);
            EXPECT_EQ(Feed(Join(c.separate), pieces, ShortUnits::Separate).units, c.separate);
        }
    }
}

TEST(NalFeeder, AnyCutGivesTheSameUnitsAndEveryByteOnce)
{
    std::mt19937 random(1);
    const Bytes letters = {0, 0, 0, 0, 1, 1, 3, 0x65};
    for (int i = 0; i < 1000; ++i) {
        Bytes stream(random() % 60);
        for (unsigned char& byte : stream)
            byte = letters[random() % letters.size()];
        for (const size_t largest : {NoLimit, size_t{8}}) {
            const Fed whole = Feed(stream, {100}, ShortUnits::Separate, largest);
            const Fed joined = Feed(stream, {100}, ShortUnits::Join, largest);
            std::vector<Bytes> expected = Cut(stream);
            std::erase_if(expected, [&](const Bytes& unit) { return unit.size() > largest; });
            ASSERT_EQ(whole.units, expected) << Hex(stream);
            ASSERT_TRUE(whole.all == stream && whole.hasRightOffsets) << Hex(stream);
            ASSERT_TRUE(joined.all == stream && joined.hasRightOffsets) << Hex(stream);
            for (const auto& pieces : waysToCut) {
                ASSERT_TRUE(Feed(stream, pieces, ShortUnits::Separate, largest) == whole) << Hex(stream);
                ASSERT_TRUE(Feed(stream, pieces, ShortUnits::Join, largest) == joined) << Hex(stream);
            }
        }
    }
}

// The feeder takes long pieces in steps of 64 KiB, and start codes lie across these.
TEST(NalFeeder, TakesUnitsOfAnyLength)
{
    for (size_t length = 65520; length < 65545; ++length) {
        const Bytes unit = Bytes{0, 0, 0, 1, 0x65} + Bytes(length, 0x55);
        const std::vector<Bytes> units = {unit, unit, {0, 0, 1, 0x41, 5}};
        EXPECT_EQ(Feed(Join(units), {1 << 20}, ShortUnits::Join).units, units);
        EXPECT_EQ(Feed(Join(units), {1000}, ShortUnits::Separate, length + 5).units, units);
        EXPECT_EQ(Feed(Join(units), {1000}, ShortUnits::Separate, length + 4).units,
                  std::vector<Bytes>{units[2]});
    }
}

// An end of sequence behind a three-byte start code is no call's worth by itself.
TEST(NalFeeder, LosesNoByteOfAStreamWithEndsOfSequences)
{
    const Bytes accessUnit = AvcSps{}.Write() + AvcPps{}.Write() +
                             AvcSlice{.nal_unit_type = 5}.Write({}, {}, StartCode::ThreeBytes) +
                             Bytes{0, 0, 1, 0x0A};
    const Bytes other = AvcSlice{.frame_num = 1}.Write();
    const Bytes stream = accessUnit + other;
    for (const auto& pieces : waysToCut) {
        Analysis analysis(VideoCodecAVC);
        for (const Bytes& unit : Feed(stream, pieces, ShortUnits::Join).units)
            analysis.Feed(unit);
        analysis.Flush();
        ASSERT_EQ(analysis.Reports().size(), 2u);
        EXPECT_EQ(analysis.Reports()[0].bytes, accessUnit);
        EXPECT_EQ(analysis.Reports()[1].bytes, other);
    }
}

TEST(NalFeeder, AnyCutOfARealStreamGivesTheSameReports)
{
    for (const TestStream& stream : TestStreams()) {
        const Bytes bytes = stream.Read();
        Analysis expected(stream.codec);
        for (const Bytes& unit : Cut(bytes))
            expected.Feed(unit);
        expected.Flush();
        for (const std::vector<size_t>& pieces : {std::vector<size_t>{1}, {13, 700}, {1 << 20}}) {
            Analysis analysis(stream.codec);
            for (const Bytes& unit : Feed(bytes, pieces, ShortUnits::Join).units)
                analysis.Feed(unit);
            analysis.Flush();
            ASSERT_EQ(analysis.Reports().size(), expected.Reports().size()) << stream.name;
            for (size_t i = 0; i < expected.Reports().size(); ++i) {
                VideoInfo info = analysis.Reports()[i].info;
                info.accessUnitData = expected.Reports()[i].info.accessUnitData;
                EXPECT_EQ(analysis.Reports()[i].bytes, expected.Reports()[i].bytes)
                    << stream.name << " " << i;
                EXPECT_EQ(std::memcmp(&info, &expected.Reports()[i].info, sizeof info), 0)
                    << stream.name << " " << i;
            }
        }
    }
}

}  // namespace videoparams::test
