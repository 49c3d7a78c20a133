#include "support/BitWriter.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Parser = Created<BaseProbe>;

// The rule of the search, word by word: five bytes at least, counted from the first zero.
const unsigned char* SlowStartCode(const unsigned char* at, size_t count)
{
    for (; count >= 5; ++at, --count) {
        if (at[0] == 0 && at[1] == 0 && (at[2] == 1 || (at[2] == 0 && at[3] == 1)))
            return at;
    }
    return nullptr;
}

struct Scan
{
    std::vector<Bytes> units;
    Result lastResult;
};

Scan ScanAll(Parser& parser, const unsigned char* data, size_t size)
{
    Scan scan{};
    parser.SetData(data, static_cast<uint32_t>(size));
    while (true) {
        const unsigned char* unit = nullptr;
        uint32_t unitSize = 0;
        scan.lastResult = parser.GetNalDataEx(&unit, &unitSize);
        if (unit == nullptr)
            return scan;
        scan.units.push_back(CopyOf(unit, unitSize));
    }
}

}  // namespace

TEST(NalScanner, DeliversUnitsWithTheirStartCodes)
{
    const struct
    {
        Bytes stream;
        std::vector<Bytes> units;
        Result lastResult;
    } cases[] = {
        {{}, {}, 0},
        {{0, 0, 1, 9}, {}, 0},
        {{7, 7, 7, 7, 7, 7, 7, 7}, {}, -1},
        {{7, 0, 0, 1, 9}, {}, -1},  // only the last four bytes would do
        {{0, 0, 1, 9, 0x10}, {{0, 0, 1, 9, 0x10}}, 0},
        {{0, 0, 0, 1, 9}, {{0, 0, 0, 1, 9}}, 0},
        {{0, 0, 0, 1, 0x67, 0xAA, 0xBB, 0, 0, 1, 0x68, 0xCC, 0xDD},
         {{0, 0, 0, 1, 0x67, 0xAA, 0xBB}, {0, 0, 1, 0x68, 0xCC, 0xDD}},
         0},
        {{0, 0, 1, 0x41, 0x55, 0, 0, 1, 0xAA}, {{0, 0, 1, 0x41, 0x55, 0, 0, 1, 0xAA}}, 0},
        {{0, 0, 1, 0x41, 0x55, 0, 0, 0, 1, 0xAA}, {{0, 0, 1, 0x41, 0x55}, {0, 0, 0, 1, 0xAA}}, 0},
        {{0, 0, 0, 0, 1, 0x65, 5}, {{0, 0, 0, 1, 0x65, 5}}, 0},
        {{8, 9, 0, 0, 1, 0x65, 5, 0, 0, 0, 0, 0, 1, 0x41, 4},
         {{0, 0, 1, 0x65, 5, 0, 0}, {0, 0, 0, 1, 0x41, 4}},
         0},
        {{0, 0, 1, 0, 0, 1, 0x65, 0xAB}, {{0, 0, 1}, {0, 0, 1, 0x65, 0xAB}}, 0},
        {{0, 0, 1, 0, 0, 0, 1, 0x65}, {{0, 0, 1}, {0, 0, 0, 1, 0x65}}, 0},
    };
    Parser parser;
    for (const auto& c : cases) {
        const PageBytes stream = AtPageEnd(c.stream);
        const Scan scan = ScanAll(parser, stream.data(), stream.size());
        EXPECT_EQ(scan.units, c.units) << Hex(c.stream);
        EXPECT_EQ(scan.lastResult, c.lastResult) << Hex(c.stream);
    }
}

TEST(NalScanner, FollowsTheRuleOnAllShortStrings)
{
    constexpr size_t MaxLength = 11;
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    Parser parser;
    size_t strings = 1;
    for (size_t length = 1; length <= MaxLength; ++length) {
        strings *= 3;
        unsigned char* const begin = page.data() + MaxLength - length;
        for (size_t number = 0; number < strings; ++number) {
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 3)
                begin[i] = static_cast<unsigned char>(rest % 3);

            std::vector<Bytes> expected;
            const unsigned char* at = SlowStartCode(begin, length);
            const bool found = at != nullptr;
            while (at != nullptr) {
                const unsigned char* const behind = at + (at[2] == 1 ? 3 : 4);
                const unsigned char* const next =
                    SlowStartCode(behind, static_cast<size_t>(page.end() - behind));
                expected.emplace_back(at, next != nullptr ? next : page.end());
                at = next;
            }
            const Scan scan = ScanAll(parser, begin, length);
            ASSERT_EQ(scan.units, expected) << Hex(Bytes(begin, begin + length));
            ASSERT_EQ(scan.lastResult, found || length < 5 ? 0 : -1);
        }
    }
}

TEST(NalScanner, DeliversThePayloadWithoutStartCodeAndEmulationPrevention)
{
    const Bytes stream = {0, 0, 1, 0x67, 0, 0, 3, 1, 0, 0, 0, 1, 0x68, 5, 0, 0, 1, 0, 0, 1, 0x65, 6};
    const std::vector<Bytes> payloads = {{0x67, 0, 0, 1}, {0x68, 5}, {}, {0x65, 6}};
    Parser parser;
    parser.SetData(stream.data(), Size(stream));
    for (const Bytes& payload : payloads) {
        const unsigned char* unit = nullptr;
        const unsigned char* rbsp = nullptr;
        uint32_t unitSize = 0;
        uint32_t rbspSize = 99;
        ASSERT_EQ(parser.GetNalData(&unit, &unitSize, &rbsp, &rbspSize), ResultOk);
        EXPECT_TRUE(unit >= stream.data() && unit < stream.data() + stream.size());
        EXPECT_EQ(CopyOf(rbsp, rbspSize), payload);
    }
}

TEST(NalScanner, WritesNothingWhenItDeliversNothing)
{
    const Bytes unitStream = {0, 0, 1, 9, 0x10};
    const Bytes noise(8, 7);
    Parser parser;
    const unsigned char marker = 0;
    for (const Bytes& stream : {Bytes{}, noise, unitStream}) {
        parser.SetData(stream.data(), Size(stream));
        if (stream == unitStream)  // and nothing behind it
            ScanAll(parser, stream.data(), stream.size());
        const unsigned char* unit = &marker;
        const unsigned char* rbsp = &marker;
        uint32_t unitSize = 42;
        uint32_t rbspSize = 43;
        parser.GetNalData(&unit, &unitSize, &rbsp, &rbspSize);
        EXPECT_TRUE(unit == &marker && rbsp == &marker && unitSize == 42 && rbspSize == 43);
    }
}

TEST(NalScanner, BeginsAnewWithNewDataAndWithAReset)
{
    const Bytes first = {0, 0, 1, 0x41, 1, 0, 0, 1, 0x42, 2};
    const Bytes second = {0, 0, 1, 0x43, 3};
    Parser parser;
    const unsigned char* unit = nullptr;
    uint32_t unitSize = 0;
    parser.SetData(first.data(), Size(first));
    parser.GetNalDataEx(&unit, &unitSize);
    parser.SetData(second.data(), Size(second));
    parser.Reset();
    ASSERT_EQ(parser.GetNalDataEx(&unit, &unitSize), ResultOk);
    EXPECT_EQ(CopyOf(unit, unitSize), second);
    EXPECT_EQ(parser.nalStart, nullptr);
    EXPECT_EQ(parser.scanRemaining, 0u);
}

TEST(NalScanner, MovesOnWhenThereIsNoMemoryForAPayload)
{
    const Bytes large = PrefixOf(StartCode::FourBytes) + Bytes(3000, 0x41);
    const Bytes small = {0, 0, 1, 0x43, 3};
    const Bytes stream = large + small;
    Parser parser;
    parser.SetData(stream.data(), Size(stream));
    const unsigned char* unit = nullptr;
    const unsigned char* rbsp = nullptr;
    uint32_t unitSize = 0;
    uint32_t rbspSize = 0;
    FailingHeap heap(1, FailingHeap::Failure::Once);
    EXPECT_EQ(heap.During([&] { return parser.GetNalData(&unit, &unitSize, &rbsp, &rbspSize); }),
              ResultFailed);
    EXPECT_EQ(unitSize, large.size());
    EXPECT_TRUE(rbsp == nullptr && rbspSize == 0);
    EXPECT_TRUE(parser.rbspBuffer == nullptr && parser.rbspBufferSize == 0);

    ASSERT_EQ(parser.GetNalData(&unit, &unitSize, &rbsp, &rbspSize), ResultOk);
    EXPECT_EQ(CopyOf(unit, unitSize), small);
    EXPECT_EQ(CopyOf(rbsp, rbspSize), (Bytes{0x43, 3}));
    EXPECT_EQ(parser.rbspBufferSize, small.size());
}

}  // namespace videoparams::test
