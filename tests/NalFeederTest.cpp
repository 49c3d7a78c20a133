#include "videoparams/nal_feeder.hpp"

#include "VideoParams.h"
#include "support/FailingHeap.h"
#include "support/TestStream.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace videoparams::test {

namespace {

using ShortUnits = CNalFeeder::ShortUnits;

// The feeder in C, with the interface of the one in C++.
class CFeederOfC
{
public:
    CFeederOfC(ShortUnits shortUnits, uint32_t largestUnit)
    {
        VideoParamsInitFeeder(&feeder);
        feeder.keepsShortUnits = shortUnits == ShortUnits::Separate;
        feeder.largestUnit = largestUnit;
    }
    ~CFeederOfC() { VideoParamsFreeFeeder(&feeder); }
    CFeederOfC(const CFeederOfC&) = delete;
    CFeederOfC& operator=(const CFeederOfC&) = delete;

    void Feed(const unsigned char* data, size_t size, auto&& takeUnit, auto&& takeSkipped)
    {
        if (VideoParamsFeed(&feeder, data, size) != 0)
            throw std::bad_alloc();
        PassOn(takeUnit, takeSkipped);
    }

    void Finish(auto&& takeUnit, auto&& takeSkipped)
    {
        VideoParamsEndStream(&feeder);
        PassOn(takeUnit, takeSkipped);
    }

    uint64_t Offset() const { return piece.offset; }

private:
    void PassOn(auto& takeUnit, auto& takeSkipped)
    {
        while (VideoParamsNextPiece(&feeder, &piece)) {
            if (piece.isUnit)
                takeUnit(piece.data, static_cast<unsigned int>(piece.size));
            else
                takeSkipped(piece.data, piece.size);
        }
    }

    VideoParamsNalFeeder feeder;
    VideoParamsPiece piece{};
};

struct Fed
{
    std::vector<Bytes> units;
    Bytes all;  // units and skipped bytes, in the order in which they came
    bool hasRightOffsets = true;

    bool operator==(const Fed&) const = default;
};

using Pieces = std::vector<size_t>;  // sizes, used again and again

Fed FeedOnce(auto& feeder, const Bytes& stream, const Pieces& pieces)
{
    Fed fed;
    const auto take = [&](const unsigned char* bytes, size_t size) {
        fed.hasRightOffsets = fed.hasRightOffsets && feeder.Offset() == fed.all.size();
        fed.all += CopyOf(bytes, size);
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

// Twice with one feeder, which must give the same.
template <typename Feeder>
Fed Feed(const Bytes& stream, const Pieces& pieces, ShortUnits shortUnits, uint32_t largest = UINT32_MAX)
{
    Feeder feeder(shortUnits, largest);
    const Fed first = FeedOnce(feeder, stream, pieces);
    EXPECT_TRUE(FeedOnce(feeder, stream, pieces) == first) << Hex(stream);
    return first;
}

// The units as the library itself cuts them.
std::vector<Bytes> Cut(Bytes stream)  // a copy, as the library takes bytes that are not const
{
    void* parser = nullptr;
    ParseCreate(&parser, VideoCodecAVC, 0, 0);
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    GetNalFromFrame(parser, stream.data(), Size(stream), &count, &units, &sizes);
    std::vector<Bytes> cut;
    for (unsigned int i = 0; i < count; ++i)
        cut.push_back(CopyOf(units[i], sizes[i]));
    ParseRelease(parser);
    return cut;
}

std::vector<Bytes> Limit(const std::vector<Bytes>& units, ShortUnits shortUnits, size_t largest)
{
    std::vector<Bytes> limited;
    bool follows = false;  // the unit follows the last one of `limited`
    for (const Bytes& unit : units) {
        const bool isShort = shortUnits == ShortUnits::Join && unit.size() < 5;
        if (isShort && follows && limited.back().size() + unit.size() <= largest)
            limited.back() += unit;
        else if (unit.size() <= largest)
            limited.push_back(unit);
        follows = unit.size() <= largest;
    }
    return limited;
}

template <typename Feeder>
class NalFeeder : public testing::Test
{};

struct NamesOfFeeders
{
    template <typename Feeder>
    static std::string GetName(int)
    {
        return std::is_same_v<Feeder, CNalFeeder> ? "Cpp" : "C";
    }
};

using Feeders = testing::Types<CNalFeeder, CFeederOfC>;
TYPED_TEST_SUITE(NalFeeder, Feeders, NamesOfFeeders);

}  // namespace

TYPED_TEST(NalFeeder, AnyCutGivesTheUnitsOfTheLibraryAndEveryByteOnce)
{
    std::mt19937 random(1);
    const Bytes letters = {0, 0, 0, 0, 1, 1, 3, 0x65};
    for (int i = 0; i < 1000; ++i) {
        Bytes stream(random() % 60);
        for (unsigned char& byte : stream)
            byte = letters[random() % letters.size()];
        const std::vector<Bytes> units = Cut(stream);
        for (const uint32_t largest : {UINT32_MAX, 8u}) {
            for (const ShortUnits shortUnits : {ShortUnits::Join, ShortUnits::Separate}) {
                const Fed whole = Feed<TypeParam>(stream, {100}, shortUnits, largest);
                ASSERT_EQ(whole.units, Limit(units, shortUnits, largest)) << Hex(stream);
                ASSERT_TRUE(whole.all == stream && whole.hasRightOffsets) << Hex(stream);
                for (const Pieces& pieces : std::vector<Pieces>{{1}, {2}, {3}, {5, 1}, {7, 2, 4}, {64}})
                    ASSERT_TRUE(Feed<TypeParam>(stream, pieces, shortUnits, largest) == whole) << Hex(stream);
            }
        }
    }
}

TYPED_TEST(NalFeeder, JoinsAShortUnitOnlyUpToTheLimit)
{
    const Bytes slice = {0, 0, 0, 1, 0x65, 0x88, 0x84};
    const Bytes endOfSequence = {0, 0, 1, 0x0A};
    const Bytes stream = slice + endOfSequence + endOfSequence + slice;
    using Units = std::vector<Bytes>;
    const auto feed = [&](uint32_t largest) {
        return Feed<TypeParam>(stream, {3}, ShortUnits::Join, largest).units;
    };
    EXPECT_EQ(feed(15), (Units{slice + endOfSequence + endOfSequence, slice}));
    EXPECT_EQ(feed(14), (Units{slice + endOfSequence, endOfSequence, slice}));
    EXPECT_EQ(feed(10), (Units{slice, endOfSequence + endOfSequence, slice}));
}

// The feeder in C++ takes long pieces in steps of 64 KiB, and start codes lie across these.
TYPED_TEST(NalFeeder, TakesUnitsOfAnyLength)
{
    for (uint32_t length = 65520; length < 65545; ++length) {
        const Bytes unit = Bytes{0, 0, 0, 1, 0x65} + Bytes(length, 0x55);
        const std::vector<Bytes> units = {unit, unit, {0, 0, 1, 0x41, 5}};
        EXPECT_EQ(Feed<TypeParam>(Join(units), {1 << 20}, ShortUnits::Join).units, units);
        EXPECT_EQ(Feed<TypeParam>(Join(units), {1000}, ShortUnits::Separate, length + 5).units, units);
        EXPECT_EQ(Feed<TypeParam>(Join(units), {1000}, ShortUnits::Separate, length + 4).units,
                  std::vector<Bytes>{units[2]});
    }
}

TYPED_TEST(NalFeeder, CutsRealStreams)
{
    for (const TestStream& stream : TestStreams()) {
        const Bytes bytes = stream.Read();
        for (const size_t piece : {1u, 700u, 1u << 20})
            EXPECT_TRUE(Feed<TypeParam>(bytes, {piece}, ShortUnits::Join).units == SplitUnits(bytes))
                << stream.name;
    }
}

// A unit longer than the limit takes no memory beyond it, whatever its length.
TYPED_TEST(NalFeeder, HoldsNoMoreThanTheLimit)
{
    TypeParam feeder(ShortUnits::Join, 10000);
    const Bytes piece(1000, 0x55);
    size_t skipped = 0;
    const auto takeUnit = [](const unsigned char*, unsigned int) {};
    const auto takeSkipped = [&](const unsigned char*, size_t size) { skipped += size; };
    FailingHeap heap;
    heap.During([&] {
        feeder.Feed(Bytes{0, 0, 1, 0x65}.data(), 4, takeUnit, takeSkipped);
        for (int i = 0; i < 1000; ++i)
            feeder.Feed(piece.data(), piece.size(), takeUnit, takeSkipped);
    });
    EXPECT_LT(heap.MostBytes(), 20000);
    feeder.Finish(takeUnit, takeSkipped);
    EXPECT_EQ(skipped, 1000004u);
}

TYPED_TEST(NalFeeder, ReportsThatItIsOutOfMemory)
{
    TypeParam feeder(ShortUnits::Join, UINT32_MAX);
    const Bytes stream = {0, 0, 0, 1, 0x65, 0x88, 0x84};
    std::vector<Bytes> units;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        units.push_back(CopyOf(unit, size));
    };
    const auto takeSkipped = [](const unsigned char*, size_t) {};
    feeder.Feed(stream.data(), 3, takeUnit, takeSkipped);

    FailingHeap heap(1, FailingHeap::Failure::Once);
    const auto feedRest = [&] { feeder.Feed(stream.data() + 3, stream.size() - 3, takeUnit, takeSkipped); };
    EXPECT_THROW(heap.During(feedRest), std::bad_alloc);
    EXPECT_TRUE(heap.HasFailed());

    // Nothing of the piece was taken, so it may come again.
    feedRest();
    feeder.Finish(takeUnit, takeSkipped);
    EXPECT_EQ(units, std::vector<Bytes>{stream});
}

// As a host in C uses it.
TEST(NalFeederInC, ReturnsAUnitAsSoonAsItIsCompleteAndTheLastOneAtTheEnd)
{
    const Bytes first = Bytes{0, 0, 1, 0x65} + Bytes(1000, 0x88);
    const Bytes last = {0, 0, 1, 0x41, 0x9A, 0x21, 0x6C, 0x45};
    const Bytes stream = Bytes{9, 9} + first + last;
    VideoParamsNalFeeder feeder;
    VideoParamsInitFeeder(&feeder);
    ASSERT_EQ(VideoParamsFeed(&feeder, nullptr, 0), 0);
    ASSERT_EQ(VideoParamsFeed(&feeder, stream.data(), stream.size()), 0);

    const auto next = [&] {
        const unsigned char* unit = nullptr;
        unsigned int unitSize = 0;
        return VideoParamsNextUnit(&feeder, &unit, &unitSize) ? CopyOf(unit, unitSize) : Bytes{};
    };
    EXPECT_EQ(next(), first);
    EXPECT_EQ(next(), Bytes{});
    EXPECT_EQ(VideoParamsFeed(&feeder, stream.data(), SIZE_MAX), -1) << "a size that overflows";
    VideoParamsEndStream(&feeder);
    EXPECT_EQ(next(), last);
    EXPECT_EQ(next(), Bytes{});
    VideoParamsFreeFeeder(&feeder);
}

}  // namespace videoparams::test
