#include "support/BitWriter.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Parser = Created<BaseProbe>;

// The rule of the search, word by word: five bytes at least, counted from the first zero.
const unsigned char* SlowStartCode(const unsigned char* at, const unsigned char* end)
{
    for (; end - at >= 5; ++at) {
        if (at[0] == 0 && at[1] == 0 && (at[2] == 1 || (at[2] == 0 && at[3] == 1)))
            return at;
    }
    return nullptr;
}

// Takes all units and then once more, when nothing may be written.
std::vector<Bytes> TakeAll(Parser& parser, const unsigned char* data, size_t size, Result lastResult)
{
    std::vector<Bytes> units;
    parser.SetData(data, static_cast<uint32_t>(size));
    while (true) {
        const unsigned char* unit = nullptr;
        uint32_t unitSize = 42;
        const Result result = parser.GetNalDataEx(&unit, &unitSize);
        if (unit == nullptr) {
            EXPECT_EQ(result, lastResult) << Hex(CopyOf(data, size));
            EXPECT_EQ(unitSize, 42u);
            return units;
        }
        units.push_back(CopyOf(unit, unitSize));
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
        {{7, 0, 0, 1, 9}, {}, -1},  // only the last four bytes would do
        {{0, 0, 1, 9, 0x10}, {{0, 0, 1, 9, 0x10}}, 0},
        {{0, 0, 0, 1, 7, 8, 0, 0, 1, 5, 6}, {{0, 0, 0, 1, 7, 8}, {0, 0, 1, 5, 6}}, 0},
        {{0, 0, 1, 1, 5, 0, 0, 1, 0xAA}, {{0, 0, 1, 1, 5, 0, 0, 1, 0xAA}}, 0},
        {{8, 0, 0, 1, 5, 0, 0, 0, 0, 1, 4}, {{0, 0, 1, 5, 0}, {0, 0, 0, 1, 4}}, 0},
        {{0, 0, 1, 0, 0, 1, 5, 0xAB}, {{0, 0, 1}, {0, 0, 1, 5, 0xAB}}, 0},
    };
    Parser parser;
    for (const auto& c : cases) {
        const PageBytes stream = AtPageEnd(c.stream);
        EXPECT_EQ(TakeAll(parser, stream.data(), stream.size(), c.lastResult), c.units) << Hex(c.stream);
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
            const unsigned char* at = SlowStartCode(begin, page.end());
            const Result lastResult = at != nullptr || length < 5 ? 0 : -1;
            while (at != nullptr) {
                const unsigned char* const next = SlowStartCode(at + (at[2] == 1 ? 3 : 4), page.end());
                expected.emplace_back(at, next != nullptr ? next : page.end());
                at = next;
            }
            ASSERT_EQ(TakeAll(parser, begin, length, lastResult), expected)
                << Hex(Bytes(begin, begin + length));
        }
    }
}

TEST(NalScanner, DeliversPayloadsAndMovesOnWhenThereIsNoMemoryForOne)
{
    const Bytes payloads[] = {{0x67, 0, 0, 1}, {}, Bytes(3000, 0x41), {0x68, 5}};
    Bytes stream;
    for (const Bytes& payload : payloads)
        stream +=
            PrefixOf(&payload == payloads ? StartCode::FourBytes : StartCode::ThreeBytes) + Escaped(payload);
    Parser parser;
    parser.SetData(stream.data(), Size(stream));
    for (const Bytes& payload : payloads) {
        const unsigned char* unit = nullptr;
        const unsigned char* rbsp = nullptr;
        uint32_t unitSize = 0;
        uint32_t rbspSize = 0;
        const bool isShort = payload.size() == 3000;
        FailingHeap heap(isShort ? 1 : 0, FailingHeap::Failure::Once);
        EXPECT_EQ(heap.During([&] { return parser.GetNalData(&unit, &unitSize, &rbsp, &rbspSize); }),
                  isShort ? ResultFailed : ResultOk);
        EXPECT_GE(unitSize, payload.size() + 3);
        EXPECT_EQ(CopyOf(rbsp, rbspSize), isShort ? Bytes{} : payload);
        EXPECT_EQ(parser.rbspBuffer == nullptr && parser.rbspBufferSize == 0, isShort);
    }
}

}  // namespace videoparams::test
