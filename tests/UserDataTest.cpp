#include "VideoParams.h"
#include "support/BitWriter.h"
#include "support/PageBytes.h"
#include "support/SeiMessages.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <optional>
#include <random>

namespace videoparams::test {

namespace {

struct Codec
{
    VideoCodecType type;
    uint32_t typeCount;
    uint32_t seiType;
    uint32_t firstSliceType;
    uint32_t lastSliceType;
    Bytes seiHeader;
    Bytes otherSeiHeader;  // as a stream may have it
    Bytes lateTrailing;    // the header with an 80 where it can have one
    Bytes parameterSet;
    Bytes delimiter;
    Bytes slice;
};

const Codec codecs[] = {
    {VideoCodecAVC, 32, 6, 1, 5, {0x06}, {0x26}, {0x06}, {0x67, 0x42}, {0x09, 0x10}, {0x65, 0x88, 0x84}},
    {VideoCodecHEVC,
     64,
     39,
     0,
     31,
     {0x4E, 0x01},
     {0x4E, 0x02},
     {0x4E, 0x80},
     {0x42, 0x01, 0x01},
     {0x46, 0x01, 0x50},
     {0x28, 0x01, 0xAF}},
};

const Bytes startCode = {0, 0, 0, 1};
const Bytes someBytes = {0xAB, 0xCD, 0xEF};

// The units of the tables, a letter each: capitals begin 00 00 00 01, others 00 00 01.
//   P parameter set, D delimiter, S slice, B nothing more
//   E SEI of a message of type 1; Z with a zero behind its trailing byte, J with other bytes, X without it
//   N SEI of the user-data message; F of that of E and then the user-data message
//   O, Q as E, F, but for the unit header; H, K a SEI header alone
Bytes Units(const Codec& codec, const std::string& letters)
{
    const Bytes one = {0x01, 0x02, 0xAA, 0xBB};
    const Bytes own = UserDataMessage(someBytes);
    const std::map<int, Bytes> bodies = {
        {'P', codec.parameterSet},
        {'D', codec.delimiter},
        {'S', codec.slice},
        {'B', {}},
        {'E', codec.seiHeader + one + Bytes{0x80}},
        {'Z', codec.seiHeader + one + Bytes{0x80, 0x00}},
        {'J', codec.seiHeader + one + Bytes{0x80, 0x12, 0x34}},
        {'X', codec.seiHeader + one},
        {'N', codec.seiHeader + own + Bytes{0x80}},
        {'F', codec.seiHeader + one + own + Bytes{0x80}},
        {'O', codec.otherSeiHeader + one + Bytes{0x80}},
        {'Q', codec.otherSeiHeader + one + own + Bytes{0x80}},
        {'H', codec.seiHeader},
        {'K', codec.lateTrailing},
    };
    Bytes stream;
    for (const char letter : letters) {
        const int capital = std::toupper(static_cast<unsigned char>(letter));
        stream +=
            PrefixOf(letter == capital ? StartCode::FourBytes : StartCode::ThreeBytes) + bodies.at(capital);
    }
    return stream;
}

struct Answer
{
    int64_t result = 0;
    const unsigned char* output = reinterpret_cast<const unsigned char*>("marked");
    unsigned size = 77;

    bool IsUntouched() const { return output == Answer{}.output && size == 77; }
    bool IsNone() const { return result == 0 && output == nullptr && size == 0; }
    Bytes Read() const { return CopyOf(output, size); }
};

// Both codecs. Inputs lie in front of a page that may not be touched.
class UserData : public testing::TestWithParam<Codec>
{
protected:
    UserData() { EXPECT_EQ(UserDataCreate(&handle, codec.type), 0); }
    ~UserData() override { EXPECT_EQ(UserDataRelease(handle), 0); }

    Bytes Of(const std::string& letters) const { return Units(codec, letters); }

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

    const Codec& codec = GetParam();
    void* handle = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Codecs, UserData, testing::ValuesIn(codecs),
                         [](const auto& tested) { return tested.index == 0 ? "Avc" : "Hevc"; });

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
    const Bytes plain = Of("DPPSs");
    const auto expectRoundTrip = [&](const Bytes& userData) {
        const Bytes unit = Escaped(codec.seiHeader + UserDataMessage(userData)) + Bytes{0x80};
        const Bytes added = Add(plain, userData).Read();
        ASSERT_TRUE(added == Of("DPP") + startCode + unit + Of("Ss")) << userData.size();
        const Answer got = Get(added);
        ASSERT_TRUE(got.output != nullptr && got.Read() == userData) << userData.size();
        ASSERT_TRUE(Remove(added).Read() == plain) << userData.size();
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
    // Zeros take the most room beside their number, and a fresh handle has the least: around what its blocks
    // hold at first, before and after emulation prevention.
    std::vector<size_t> counts(601);
    std::iota(counts.begin(), counts.end(), 0);
    for (const size_t more : {0u, 1u, 2u, 3u, 4u, 5u})
        counts.insert(counts.end(), {1994740 + 5 * more, 2999960 + 10 * more});
    for (const size_t count : counts) {
        EXPECT_EQ(UserDataRelease(handle), 0);
        EXPECT_EQ(UserDataCreate(&handle, codec.type), 0);
        expectRoundTrip(Bytes(count));
    }
}

struct Edited
{
    const char* input;
    const char* output;
};

TEST_P(UserData, IsPlacedOnceInTheFirstSeiOrInFrontOfTheFirstSlice)
{
    const Edited placed[] = {
        {"PPS", "PPNS"}, {"DpPsS", "DpPNsS"}, {"PPES", "PPFS"}, {"PPeS", "PPfS"},         {"EES", "FES"},
        {"PZS", "PFS"},  {"PJS", "PFS"},      {"SE", "NSE"},    {"SZSJ", "NSESE"},        {"E", "F"},
        {"BS", "BNS"},   {"BBEBS", "BBFBS"},  {"POS", "PQS"},   {"DPESDPES", "DPFSDPES"},
    };
    for (const Edited& row : placed) {
        const Answer answer = Add(Of(row.input));
        EXPECT_EQ(answer.result, 0) << row.input;
        EXPECT_EQ(Hex(answer.Read()), Hex(Of(row.output))) << row.input;
    }
    for (const char* noPlace : {"PP", "BP", ""}) {
        const Answer answer = Add(Of(noPlace));
        EXPECT_EQ(answer.result, -1) << noPlace;
        EXPECT_EQ(Hex(answer.Read()), Hex(Of(noPlace))) << noPlace;
    }
    for (const char* noTrailingByte : {"PXS", "SX", "PHS", "PKS"}) {
        EXPECT_EQ(Add(Of(noTrailingByte)).result, -1) << noTrailingByte;
        EXPECT_TRUE(Add(Of(noTrailingByte)).IsUntouched()) << noTrailingByte;
    }
}

TEST_P(UserData, RemovalRewritesSeiUnitsAndCopiesTheRest)
{
    const Edited cases[] = {
        {"PPNS", "PPS"}, {"PPFS", "PPES"}, {"PPfs", "PPEs"}, {"DnFSnS", "DESS"}, {"PeS", "PES"},
        {"ZS", "ES"},    {"JS", "ES"},     {"SZ", "SE"},     {"BSBBS", "SS"},    {"PHS", "PS"},
        {"PKS", "PS"},   {"XS", "ES"},     {"PPS", "PPS"},   {"OQS", "EES"},     {"", ""},
    };
    for (const Edited& row : cases) {
        const Answer answer = Remove(Of(row.input));
        EXPECT_EQ(answer.result, 0) << row.input;
        EXPECT_NE(answer.output, nullptr) << row.input;
        EXPECT_EQ(Hex(answer.Read()), Hex(Of(row.output))) << row.input;
    }
}

TEST_P(UserData, EveryOtherUnitTypeIsCopiedAndNotSearched)
{
    for (uint32_t type = 0; type < codec.typeCount; ++type) {
        if (type == codec.seiType)
            continue;
        const bool isSlice = type >= codec.firstSliceType && type <= codec.lastSliceType;
        const Bytes rbsp = UserDataMessage(someBytes) + Bytes{0x80, 0x11};
        const Bytes unit = codec.type == VideoCodecAVC ? AvcUnit(type, rbsp) : HevcUnit(type, rbsp);
        const Answer added = Add(Of("P") + unit);
        EXPECT_EQ(added.result, isSlice ? 0 : -1) << type;
        EXPECT_EQ(Hex(added.Read()), Hex(Of(isSlice ? "PN" : "P") + unit)) << type;
        EXPECT_TRUE(Get(unit).IsNone()) << type;
        EXPECT_EQ(Hex(Remove(unit).Read()), Hex(unit)) << type;
    }
}

TEST_P(UserData, SeiMessagesAreWalkedOneByOne)
{
    const Bytes own = UserDataMessage(someBytes);
    const Bytes foreign = SeiMessage(5, Bytes(16, 0x47) + Bytes{1, 2});
    const Bytes fifteen = SeiMessage(5, {userDataIdentifier.begin(), userDataIdentifier.end() - 1});
    const Bytes one = SeiMessage(1, {0xAA, 0x80, 0x00, 0x55});
    const Bytes big = SeiMessage(510, Bytes(300, 0x80));
    const Bytes end = {0x80};
    struct
    {
        const char* name;
        Bytes rbsp;  // behind the unit header
        std::optional<Bytes> found;
        Bytes kept;
    } const cases[] = {
        {"the last match", UserDataMessage({1}) + own + end, someBytes, {}},
        {"behind a foreign one", foreign + own + one + end, someBytes, one},
        {"a foreign one", big + foreign + one + end, {}, big + one},
        {"no bytes", UserDataMessage({}) + end, Bytes{}, {}},
        {"half an identifier", fifteen + Bytes{0xA1, 0x00} + end, {}, {0xA1, 0x00}},
        {"no trailing byte", one + own, someBytes, one},
        {"a size beyond the end, behind", own + Bytes{0x01, 0x03, 0xAA, 0x80}, someBytes, {}},
        {"a size beyond the end, in front", one + Bytes{0x01, 0x40} + own + end, {}, one},
        {"its own size beyond the end", Bytes{0x05, 0x14} + userDataIdentifier + Bytes{1, 2, 3}, {}, {}},
        {"a type that runs off", one + own + Bytes{0xFF, 0xFF, 0xFF}, someBytes, one},
        {"a size that runs off", own + one + Bytes{0x01, 0xFF, 0xFF}, someBytes, one},
        {"zeros behind the trailing byte", one + own + Bytes{0x80, 0, 0, 0}, someBytes, one},
        {"zeros alone", one + Bytes{0, 0, 0, 0}, {}, one + Bytes{0, 0, 0, 0}},
        {"escapes", SeiMessage(1, {0, 0, 2}) + UserDataMessage({0, 0, 0}) + end, Bytes(3, 0),
         SeiMessage(1, {0, 0, 2})},
    };
    for (const auto& row : cases) {
        const Bytes stream = Of("PS") + Bytes{0, 0, 1} + Escaped(codec.seiHeader + row.rbsp);
        const Answer got = Get(stream);
        EXPECT_EQ(got.result, 0) << row.name;
        EXPECT_EQ(got.output != nullptr, row.found.has_value()) << row.name;
        EXPECT_EQ(Hex(got.Read()), Hex(row.found.value_or(Bytes{}))) << row.name;
        const Bytes rebuilt = startCode + Escaped(codec.seiHeader + row.kept) + end;
        EXPECT_EQ(Hex(Remove(stream).Read()), Hex(Of("PS") + (row.kept.empty() ? Bytes{} : rebuilt)))
            << row.name;
    }
    EXPECT_EQ(Get(Of("PN") + Add(Of("S"), {9}).Read()).Read(), Bytes{9}) << "of two units";
}

// 16843009 continuation bytes are worth 2^32 - 1. Modulo 2^32 the first type is 5 and the second size 16.
TEST_P(UserData, TypeAndSizeDoNotWrap)
{
    const Bytes head = Of("P") + startCode + codec.seiHeader;
    const Bytes many(16843009, 0xFF);
    const Bytes farType = head + many + Bytes{0x06, 0x10} + userDataIdentifier + Bytes{0x80};
    const Bytes farSize = head + Bytes{0x05} + many + Bytes{0x11} + userDataIdentifier + Bytes{0x80};
    EXPECT_TRUE(Get(farType).IsNone());
    EXPECT_TRUE(Get(farSize).IsNone());
    EXPECT_TRUE(Remove(farType).Read() == farType);
    EXPECT_TRUE(Remove(farSize).Read() == Of("P"));
}

TEST_P(UserData, ResultsMayBeHandedOnButNotBackToTheirOwnFunction)
{
    const Bytes much(70000, 0);
    const Answer added = Add(Of("PPES"));
    EXPECT_TRUE(Add(added.output, added.size, much.data(), 3).IsUntouched());
    const Answer removed = Remove(added.output, added.size);
    EXPECT_EQ(Hex(removed.Read()), Hex(Of("PPES")));
    EXPECT_TRUE(Remove(removed.output + 4, removed.size - 4).IsUntouched());
    EXPECT_EQ(Hex(added.Read()), Hex(Of("PPFS"))) << "removal leaves the result of insertion alone";
    EXPECT_TRUE(Get(removed.output, removed.size).IsNone());
    const Answer again = Add(removed.output, removed.size, much.data(), Size(much));
    EXPECT_TRUE(Get(again.output, again.size).Read() == much);
}

TEST_P(UserData, SaysWhatItCouldNotDo)
{
    for (const Bytes& stream : {Bytes{1, 2, 3, 4, 5}, Bytes{0, 0, 1, 6}, Bytes{}}) {
        const int64_t scanned = stream.size() >= 5 ? -1 : 0;
        const Answer added = Add(stream);
        const Answer removed = Remove(stream);
        EXPECT_TRUE(added.result == -1 && !added.IsUntouched() && added.size == 0);
        EXPECT_TRUE(removed.result == scanned && removed.output != nullptr && removed.size == 0);
        EXPECT_EQ(Get(stream).result, scanned);
        EXPECT_TRUE(Get(stream).output == nullptr && Get(stream).size == 0);
    }
    EXPECT_TRUE(Add(nullptr, 100, nullptr, 0).result == -1 && Add(nullptr, 100, nullptr, 0).size == 0);
    EXPECT_TRUE(Get(nullptr, 100).IsNone());
    EXPECT_EQ(Remove(nullptr, 100).result, 0);

    // Results or buffers that would not fit 32 bits; nothing is read.
    const Bytes slice = Of("S");
    EXPECT_EQ(Add(slice.data(), Size(slice), nullptr, 0).result, 0);
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX - 3000000, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), UINT32_MAX).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), uint32_t{1} << 31).IsUntouched());
    EXPECT_EQ(Hex(Add(Of("PS")).Read()), Hex(Of("PNS"))) << "the handle works on";
}

}  // namespace

}  // namespace videoparams::test
