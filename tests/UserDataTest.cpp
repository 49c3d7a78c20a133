#include "support/Codec.h"
#include "support/PageBytes.h"

#include <functional>
#include <numeric>
#include <optional>
#include <random>

namespace videoparams::test {

namespace {

const Bytes someBytes = {0xAB, 0xCD, 0xEF};

struct Answer
{
    int64_t result = 0;
    const unsigned char* output = reinterpret_cast<const unsigned char*>("marked");
    unsigned size = 77;

    bool IsUntouched() const { return output == Answer{}.output && size == 77; }
    bool IsNone() const { return result == 0 && output == nullptr && size == 0; }
    Bytes Read() const { return CopyOf(output, size); }
};

// Both codecs. Inputs end at a page that may not be touched.
class UserData : public CodecTest
{
protected:
    UserData() { EXPECT_EQ(UserDataCreate(&handle, codec.type), 0); }
    ~UserData() override { EXPECT_EQ(UserDataRelease(handle), 0); }

    Answer Add(const unsigned char* data, unsigned size, const unsigned char* userData, unsigned count)
    {
        Answer answer;
        answer.result = AddUserData(handle, data, size, userData, count, &answer.output, &answer.size);
        return answer;
    }
    using Function = int64_t(void*, const unsigned char*, unsigned, const unsigned char**, unsigned*);
    Answer Call(Function* function, const unsigned char* data, unsigned size)
    {
        Answer answer;
        answer.result = function(handle, data, size, &answer.output, &answer.size);
        return answer;
    }
    Answer Get(const unsigned char* data, unsigned size) { return Call(GetUserData, data, size); }
    Answer Remove(const unsigned char* data, unsigned size) { return Call(RemoveUserData, data, size); }
    Answer Add(const Bytes& stream, const Bytes& userData = someBytes)
    {
        const PageBytes input = AtPageEnd(stream);
        const PageBytes user = AtPageEnd(userData);
        return Add(input.data(), input.size(), user.data(), user.size());
    }
    Answer Get(const Bytes& stream)
    {
        const PageBytes input = AtPageEnd(stream);
        return Get(input.data(), input.size());
    }
    Answer Remove(const Bytes& stream)
    {
        const PageBytes input = AtPageEnd(stream);
        return Remove(input.data(), input.size());
    }

    // An SEI unit of these messages and what follows them; a header as a stream may have it.
    Bytes SeiWith(const Bytes& rest) const { return Bytes{0, 0, 0, 1} + Escaped(SeiHeader() + rest); }
    Bytes OtherSei(const Bytes& rest) const
    {
        return Bytes{0, 0, 0, 1} + Escaped((codec.IsAvc() ? Bytes{0x26} : Bytes{0x4E, 2}) + rest);
    }
    Bytes SeiHeader() const { return codec.IsAvc() ? Bytes{0x06} : Bytes{0x4E, 0x01}; }

    const Bytes sets = codec.sets;
    const Bytes slice = Key();
    const Bytes bare = {0, 0, 0, 1};  // a start code alone
    const Bytes one = SeiMessage(1, {0xAA, 0xBB});
    const Bytes own = UserDataMessage(someBytes);
    void* handle = nullptr;
};

INSTANTIATE_TEST_SUITE_P(, UserData, bothCodecs, nameOfCodec);

}  // namespace

TEST_P(UserData, AnyBytesComeBackAndLeaveNoTrace)
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
TEST_P(UserData, ResultsOfAnySizeFit)
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

TEST_P(UserData, IsPlacedOnceInTheFirstSeiOrBeforeTheFirstSlice)
{
    const Bytes end = {0x80};
    const Bytes plain = SeiWith(one + end);
    const Bytes edited = SeiWith(one + own + end);
    const Bytes added = SeiWith(own + end);
    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } placed[] = {
        {"before the slice", sets + slice, sets + added + slice},
        {"before the first slice", sets + Short(slice) + slice, sets + added + Short(slice) + slice},
        {"in the SEI unit", sets + plain + slice, sets + edited + slice},
        {"in a short one", sets + Short(plain) + slice, sets + Short(edited) + slice},
        {"in the first of two", plain + plain + slice, edited + plain + slice},
        {"zeros after the trailing byte go", sets + SeiWith(one + Bytes{0x80, 0}) + slice,
         sets + edited + slice},
        {"other bytes go", sets + SeiWith(one + Bytes{0x80, 0x12}) + slice, sets + edited + slice},
        {"SEI after the slice", slice + plain, added + slice + plain},
        {"of a later one, too", slice + SeiWith(one + Bytes{0x80, 0}), added + slice + plain},
        {"SEI alone", plain, edited},
        {"a start code alone stays", bare + slice, bare + added + slice},
        {"and is no slice", bare + plain + slice, bare + edited + slice},
        {"the unit's own header stays", OtherSei(one + end) + slice, OtherSei(one + own + end) + slice},
        {"two access units", plain + slice + plain + slice, edited + slice + plain + slice},
    };
    for (const auto& row : placed) {
        const Answer answer = Add(row.input);
        EXPECT_EQ(answer.result, 0) << row.name;
        EXPECT_EQ(Hex(answer.Read()), Hex(row.output)) << row.name;
    }
    for (const Bytes& noPlace : {sets, bare + sets, Bytes{}, Bytes{1, 2, 3, 4, 5}, Bytes{0, 0, 1, 6}}) {
        const Answer answer = Add(noPlace);
        EXPECT_EQ(answer.result, -1) << Hex(noPlace);
        EXPECT_EQ(Hex(answer.Read()), Hex(noPlace.size() > 5 ? noPlace : Bytes{})) << Hex(noPlace);
    }
    const Bytes lateTrailing = {0, 0, 0, 1, static_cast<unsigned char>(codec.IsAvc() ? 0x06 : 0x4E), 0x80};
    const Bytes headerAlone = codec.IsAvc() ? SeiWith({}) : lateTrailing;
    for (const Bytes& noTrailingByte :
         {sets + SeiWith(one) + slice, slice + SeiWith(one), headerAlone + slice}) {
        EXPECT_EQ(Add(noTrailingByte).result, -1) << Hex(noTrailingByte);
        EXPECT_TRUE(Add(noTrailingByte).IsUntouched()) << Hex(noTrailingByte);
    }
}

TEST_P(UserData, RemovalRewritesSeiUnitsAndCopiesTheRest)
{
    const Bytes end = {0x80};
    const Bytes plain = SeiWith(one + end);
    const Bytes both = SeiWith(one + own + end);
    const Bytes ours = SeiWith(own + end);
    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } cases[] = {
        {"a unit of ours", sets + ours + slice, sets + slice},
        {"a message of ours", sets + both + slice, sets + plain + slice},
        {"short start codes", sets + Short(both) + Short(slice), sets + plain + Short(slice)},
        {"several", codec.delimiter + ours + both + slice + ours + slice,
         codec.delimiter + plain + slice + slice},
        {"nothing of ours", sets + Short(plain) + slice, sets + plain + slice},
        {"bytes after the trailing byte", SeiWith(one + Bytes{0x80, 0x12}) + slice, plain + slice},
        {"zeros there", slice + SeiWith(one + Bytes{0x80, 0}), slice + plain},
        {"start codes alone", bare + slice + bare + bare + slice, slice + slice},
        {"a header alone", sets + SeiWith({}) + slice, sets + slice},
        {"no trailing byte", SeiWith(one) + slice, plain + slice},
        {"another header", OtherSei(one + end) + OtherSei(one + own + end) + slice, plain + plain + slice},
        {"nothing", {}, {}},
    };
    for (const auto& row : cases) {
        const Answer answer = Remove(row.input);
        EXPECT_EQ(answer.result, 0) << row.name;
        EXPECT_NE(answer.output, nullptr) << row.name;
        EXPECT_EQ(Hex(answer.Read()), Hex(row.output)) << row.name;
    }
}

// A new SEI unit goes before the first unit of coded picture data, also after a prefix unit (type 14).
TEST_P(UserData, EveryOtherUnitTypeIsCopiedAndNotSearched)
{
    const uint32_t seiType = codec.IsAvc() ? 6 : 39;
    for (uint32_t type = 0; type < codec.typeCount; ++type) {
        if (type == seiType)
            continue;
        const Bytes unit = codec.unit(type, own + Bytes{0x80, 0x11});
        const Answer added = Add(sets + unit);
        const Bytes place = codec.IsVcl(type) ? SeiWith(own) + Bytes{0x80} : Bytes{};
        EXPECT_EQ(added.result, codec.IsVcl(type) ? 0 : -1) << type;
        EXPECT_EQ(Hex(added.Read()), Hex(sets + place + unit)) << type;
        EXPECT_TRUE(Get(unit).IsNone()) << type;
        EXPECT_EQ(Hex(Remove(unit).Read()), Hex(unit)) << type;
    }
    const Bytes prefix = AvcUnit(14, {0x40, 0x80, 0x07});
    if (codec.IsAvc()) {
        EXPECT_EQ(Add(sets + prefix + slice).Read(), sets + prefix + SeiWith(own) + Bytes{0x80} + slice);
    }
}

TEST_P(UserData, SeiMessagesAreWalkedOneByOne)
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
TEST_P(UserData, TypeAndSizeDoNotWrap)
{
    const Bytes many(16843009, 0xFF);
    const Bytes farType = sets + SeiWith(many + Bytes{0x06, 0x10} + userDataIdentifier + Bytes{0x80});
    const Bytes farSize = sets + SeiWith(Bytes{0x05} + many + Bytes{0x11} + userDataIdentifier + Bytes{0x80});
    EXPECT_TRUE(Get(farType).IsNone());
    EXPECT_TRUE(Get(farSize).IsNone());
    EXPECT_TRUE(Remove(farType).Read() == farType);
    EXPECT_TRUE(Remove(farSize).Read() == sets);
}

TEST_P(UserData, ResultsMayBePassedOnButNotBackToTheirOwnFunction)
{
    const Bytes much(70000, 0);
    const Bytes stream = sets + SeiWith(one + Bytes{0x80}) + slice;
    const Answer added = Add(stream);
    EXPECT_TRUE(Add(added.output, added.size, much.data(), 3).IsUntouched());
    const Answer removed = Remove(added.output, added.size);
    EXPECT_EQ(Hex(removed.Read()), Hex(stream));
    EXPECT_TRUE(Remove(removed.output + 4, removed.size - 4).IsUntouched());
    EXPECT_EQ(Hex(added.Read()), Hex(sets + SeiWith(one + own + Bytes{0x80}) + slice))
        << "removal leaves it alone";
    EXPECT_TRUE(Get(removed.output, removed.size).IsNone());
    const Answer again = Add(removed.output, removed.size, much.data(), Size(much));
    EXPECT_TRUE(Get(again.output, again.size).Read() == much);
}

TEST_P(UserData, ReportsWhatItCouldNotDo)
{
    for (const Bytes& stream : {Bytes{1, 2, 3, 4, 5}, Bytes{0, 0, 1, 6}, Bytes{}}) {
        const int64_t scanned = stream.size() >= 5 ? -1 : 0;
        const Answer removed = Remove(stream);
        EXPECT_TRUE(removed.result == scanned && removed.output != nullptr && removed.size == 0);
        EXPECT_EQ(Get(stream).result, scanned);
        EXPECT_TRUE(Get(stream).output == nullptr && Get(stream).size == 0);
    }
    EXPECT_TRUE(Add(nullptr, 100, nullptr, 0).result == -1 && Add(nullptr, 100, nullptr, 0).size == 0);
    EXPECT_TRUE(Get(nullptr, 100).IsNone());
    EXPECT_EQ(Remove(nullptr, 100).result, 0);

    // Results or blocks that would not fit 32 bits; nothing is read.
    EXPECT_EQ(Add(slice.data(), Size(slice), nullptr, 0).result, 0);
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX - 3000000, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), UINT32_MAX).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), uint32_t{1} << 31).IsUntouched());
    EXPECT_EQ(Hex(Add(sets + slice).Read()), Hex(sets + SeiWith(own) + Bytes{0x80} + slice)) << "it works on";
}

}  // namespace videoparams::test
