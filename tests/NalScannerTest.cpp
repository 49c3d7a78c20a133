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

// The same by the copies that are made on the way, into room that may be too small.
std::vector<Bytes> CopyAll(Parser& parser, const unsigned char* data, size_t size, size_t roomSize)
{
    std::vector<Bytes> units;
    Bytes room(roomSize);
    parser.SetData(data, static_cast<uint32_t>(size));
    while (parser.BeginUnit(), parser.openUnit.data != nullptr) {
        const bool isCopied = parser.EndUnitInto(room.data(), Size(room));
        EXPECT_EQ(isCopied, parser.openUnit.size <= roomSize);
        units.push_back(CopyOf(isCopied ? room.data() : parser.openUnit.data, parser.openUnit.size));
    }
    return units;
}

}  // namespace

TEST(NalScanner, DeliversUnitsByTheRuleOfAllShortStrings)
{
    constexpr size_t MaxLength = 11;
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    Parser parser;
    size_t strings = 1;
    for (size_t length = 0; length <= MaxLength; ++length, strings *= 3) {
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
            ASSERT_EQ(CopyAll(parser, begin, length, number % (MaxLength + 2)), expected)
                << Hex(Bytes(begin, begin + length));
        }
    }
}

}  // namespace videoparams::test
