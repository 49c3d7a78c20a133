#include "videoparams/nal_feeder.hpp"

#include "support/Probes.h"
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

// Where the library itself cuts.
std::vector<Bytes> Cut(const Bytes& stream)
{
    Created<BaseProbe> parser;
    parser.SetData(stream.data(), Size(stream));
    std::vector<Bytes> units;
    const unsigned char* unit = nullptr;
    for (uint32_t unitSize = 0; parser.GetNalDataEx(&unit, &unitSize), unit != nullptr; unit = nullptr)
        units.push_back(CopyOf(unit, unitSize));
    return units;
}

std::vector<Bytes> JoinShort(const std::vector<Bytes>& units)
{
    std::vector<Bytes> joined;
    for (const Bytes& unit : units) {
        if (unit.size() < 5 && !joined.empty())
            joined.back() += unit;
        else
            joined.push_back(unit);
    }
    return joined;
}

const std::vector<std::vector<size_t>> waysToCut = {{1}, {2}, {3}, {5, 1}, {7, 2, 4}, {64}, {100000}};

}  // namespace

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
            ASSERT_TRUE(largest != NoLimit || joined.units == JoinShort(expected)) << Hex(stream);
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

TEST(NalFeeder, CutsRealStreams)
{
    for (const TestStream& stream : TestStreams()) {
        const Bytes bytes = stream.Read();
        for (const size_t piece : {1u, 700u, 1u << 20})
            EXPECT_TRUE(Feed(bytes, {piece}, ShortUnits::Join).units == SplitUnits(bytes)) << stream.name;
    }
}

}  // namespace videoparams::test
