// The bytes of a message, and the messages of an SEI unit.

#include "support/UserDataSuite.h"

#include <functional>
#include <numeric>
#include <optional>
#include <random>

namespace videoparams::test {

namespace {

using UserDataMessages = UserData;

INSTANTIATE_TEST_SUITE_P(, UserDataMessages, bothCodecs, nameOfCodec);

}  // namespace

TEST_P(UserDataMessages, AnyBytesComeBackAndLeaveNoTrace)
{
    std::mt19937 random(1);
    const std::function<uint32_t(size_t)> contents[] = {
        [](size_t) { return 0; },
        [](size_t) { return 0xFF; },
        [](size_t i) { return i % 3; },
        [](size_t i) { return i % 3 == 2 ? 3 : 0; },
        [&random](size_t) { return random(); },
    };
    const Bytes front = codec.delimiter + sets;
    const Bytes slices = slice + Short(slice);
    const auto expectRoundTrip = [&](const Bytes& userData) {
        const Bytes unit = SeiWith(UserDataMessage(userData)) + Bytes{0x80};
        const Bytes added = Add(front + slices, userData).Read();
        ASSERT_TRUE(added == front + unit + slices) << userData.size();
        const Answer got = Get(added);
        ASSERT_TRUE(got.output != nullptr && got.Read() == userData) << userData.size();
        ASSERT_TRUE(Remove(added).Read() == front + slices) << userData.size();
    };
    std::vector<size_t> sizes = {5000, 3500000};
    for (size_t multiple = 255; multiple <= 3060; multiple += 255)
        sizes.insert(sizes.end(), {multiple - 17, multiple - 16, multiple - 15});
    for (const size_t size : sizes) {
        for (const auto& content : contents) {
            Bytes userData(size);
            for (size_t i = 0; i < size; ++i)
                userData[i] = static_cast<unsigned char>(content(i));
            expectRoundTrip(userData);
        }
    }
    // Zeros take the most room for their number, and a new handle has the least: around what its blocks hold
    // at first, before and after emulation prevention.
    std::vector<size_t> counts(601);
    std::iota(counts.begin(), counts.end(), 0);
    const size_t rest = 2999900 - front.size() - slices.size();
    for (const size_t more : {0u, 1u, 2u, 3u, 4u, 5u})
        counts.insert(counts.end(), {rest * 2 / 3 + 5 * more, rest + 10 * more});
    for (const size_t count : counts) {
        EXPECT_EQ(UserDataRelease(handle), 0);
        EXPECT_EQ(UserDataCreate(&handle, codec.type), 0);
        expectRoundTrip(Bytes(count));
    }
}

// A result that fills the handle's first block to the byte, and one byte less or more.
TEST_P(UserDataMessages, ResultsOfAnySizeFit)
{
    const Bytes front = slice;
    for (uint32_t size = 2999999; size <= 3000001; ++size) {
        const Bytes unit = SeiWith(own) + Bytes{0x80};
        const Bytes stream = front + Bytes(size - front.size() - unit.size(), 0x55);
        EXPECT_TRUE(Add(stream).Read() == unit + stream) << size;
    }
    for (uint32_t size = 99999; size <= 100001; ++size) {
        const Bytes stream = front + Bytes(size - front.size(), 0x55);
        EXPECT_TRUE(Remove(stream).Read() == stream) << size;
    }
}

TEST_P(UserDataMessages, SeiMessagesAreWalkedOneByOne)
{
    const Bytes foreign = SeiMessage(5, Bytes(16, 0x47) + Bytes{1, 2});
    const Bytes fifteen = SeiMessage(5, {userDataIdentifier.begin(), userDataIdentifier.end() - 1});
    const Bytes other = SeiMessage(1, {0xAA, 0x80, 0x00, 0x55});
    const Bytes big = SeiMessage(510, Bytes(300, 0x80));
    const Bytes end = {0x80};
    const struct
    {
        const char* name;
        Bytes rbsp;  // after the unit header
        std::optional<Bytes> found;
        Bytes kept;
    } cases[] = {
        {"the last match", UserDataMessage({1}) + own + end, someBytes, {}},
        {"after a foreign one", foreign + own + other + end, someBytes, other},
        {"a foreign one", big + foreign + other + end, {}, big + other},
        {"no bytes", UserDataMessage({}) + end, Bytes{}, {}},
        {"half an identifier", fifteen + Bytes{0xA1, 0x00} + end, {}, {0xA1, 0x00}},
        {"no trailing byte", other + own, someBytes, other},
        {"a size beyond the end, after it", own + Bytes{0x01, 0x03, 0xAA, 0x80}, someBytes, {}},
        {"a size beyond the end, before it", other + Bytes{0x01, 0x40} + own + end, {}, other},
        {"its own size beyond the end", Bytes{0x05, 0x14} + userDataIdentifier + Bytes{1, 2, 3}, {}, {}},
        {"a type that runs off", other + own + Bytes{0xFF, 0xFF, 0xFF}, someBytes, other},
        {"a size that runs off", own + other + Bytes{0x01, 0xFF, 0xFF}, someBytes, other},
        {"zeros after the trailing byte", other + own + Bytes{0x80, 0, 0, 0}, someBytes, other},
        {"zeros alone", other + Bytes{0, 0, 0, 0}, {}, other + Bytes{0, 0, 0, 0}},
        {"escapes", SeiMessage(1, {0, 0, 2}) + UserDataMessage({0, 0, 0}) + end, Bytes(3, 0),
         SeiMessage(1, {0, 0, 2})},
    };
    for (const auto& row : cases) {
        const Bytes stream = sets + slice + Short(SeiWith(row.rbsp));
        const Answer got = Get(stream);
        EXPECT_EQ(got.result, 0) << row.name;
        EXPECT_EQ(got.output != nullptr, row.found.has_value()) << row.name;
        EXPECT_EQ(Hex(got.Read()), Hex(row.found.value_or(Bytes{}))) << row.name;
        const Bytes rebuilt = row.kept.empty() ? Bytes{} : SeiWith(row.kept) + end;
        EXPECT_EQ(Hex(Remove(stream).Read()), Hex(sets + slice + rebuilt)) << row.name;
    }
    EXPECT_EQ(Get(SeiWith(own + end) + Add(slice, {9}).Read()).Read(), Bytes{9}) << "of two units";
}

// 16843009 continuation bytes are worth 2^32 - 1. Modulo 2^32 the first type is 5 and the second size 16.
TEST_P(UserDataMessages, TypeAndSizeDoNotWrap)
{
    const Bytes many(16843009, 0xFF);
    const Bytes farType = sets + SeiWith(many + Bytes{0x06, 0x10} + userDataIdentifier + Bytes{0x80});
    const Bytes farSize = sets + SeiWith(Bytes{0x05} + many + Bytes{0x11} + userDataIdentifier + Bytes{0x80});
    EXPECT_TRUE(Get(farType).IsNone());
    EXPECT_TRUE(Get(farSize).IsNone());
    EXPECT_TRUE(Remove(farType).Read() == farType);
    EXPECT_TRUE(Remove(farSize).Read() == sets);
}

}  // namespace videoparams::test
