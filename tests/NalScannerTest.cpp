#include "bitstream/NalScanner.h"

#include "support/PageBytes.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

// The rule of the search, word by word: five bytes at least, counted from the first zero.
const unsigned char* SlowStartCode(const unsigned char* at, const unsigned char* end)
{
    for (; end - at >= 5; ++at) {
        if (at[0] == 0 && at[1] == 0 && (at[2] == 1 || (at[2] == 0 && at[3] == 1)))
            return at;
    }
    return nullptr;
}

bool HasUnit(ScanOutcome outcome)
{
    return outcome == ScanOutcome::Unit || outcome == ScanOutcome::BareStartCode;
}

// The units, their ends found by a search.
std::vector<Bytes> TakeAll(CNalScanner& scanner, const unsigned char* data, size_t size, ScanOutcome last)
{
    std::vector<Bytes> units;
    scanner.SetData(data, static_cast<uint32_t>(size));
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (!HasUnit(outcome)) {
            EXPECT_EQ(outcome, last) << Hex(CopyOf(data, size));
            return units;
        }
        scanner.EndUnit();
        const NalUnit& unit = scanner.Unit();
        units.push_back(CopyOf(unit.data, unit.size));
        EXPECT_EQ(outcome == ScanOutcome::BareStartCode, unit.header.nal_unit_type == NoType);
        EXPECT_EQ(outcome == ScanOutcome::BareStartCode, unit.size == (unit.data[2] == 1 ? 3u : 4u));
    }
}

// The same while they are copied, into room that may be too small.
std::vector<Bytes> CopyAll(CNalScanner& scanner, const unsigned char* data, size_t size, size_t roomSize)
{
    std::vector<Bytes> units;
    Bytes room(roomSize);
    scanner.SetData(data, static_cast<uint32_t>(size));
    while (HasUnit(scanner.NextUnit())) {
        const bool isCopied = scanner.EndUnitInto(room.data(), Size(room));
        const NalUnit& unit = scanner.Unit();
        EXPECT_EQ(isCopied, unit.size <= roomSize);
        units.push_back(CopyOf(isCopied ? room.data() : unit.data, unit.size));
    }
    return units;
}

// The same while their heads are opened, which may end them.
std::vector<Bytes> OpenAll(CNalScanner& scanner, const unsigned char* data, size_t size)
{
    std::vector<Bytes> units;
    scanner.SetData(data, static_cast<uint32_t>(size));
    for (ScanOutcome outcome = scanner.NextUnit(); HasUnit(outcome); outcome = scanner.NextUnit()) {
        if (outcome == ScanOutcome::Unit) {
            Rbsp rbsp;
            EXPECT_TRUE(scanner.OpenHead(rbsp));
        }
        scanner.EndUnit();
        units.push_back(CopyOf(scanner.Unit().data, scanner.Unit().size));
    }
    return units;
}

}  // namespace

TEST(NalScanner, DeliversUnitsByTheRuleOfAllShortStrings)
{
    constexpr size_t MaxLength = 11;
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    CNalScanner scanner(avcRules);
    ASSERT_TRUE(scanner.Create());
    size_t strings = 1;
    for (size_t length = 0; length <= MaxLength; ++length, strings *= 3) {
        unsigned char* const begin = page.data() + MaxLength - length;
        for (size_t number = 0; number < strings; ++number) {
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 3)
                begin[i] = static_cast<unsigned char>(rest % 3);

            std::vector<Bytes> expected;
            const unsigned char* at = SlowStartCode(begin, page.end());
            const ScanOutcome last =
                at != nullptr || length < 5 ? ScanOutcome::End : ScanOutcome::NoStartCode;
            while (at != nullptr) {
                const unsigned char* const next = SlowStartCode(at + (at[2] == 1 ? 3 : 4), page.end());
                expected.emplace_back(at, next != nullptr ? next : page.end());
                at = next;
            }
            ASSERT_EQ(TakeAll(scanner, begin, length, last), expected) << Hex(Bytes(begin, begin + length));
            ASSERT_EQ(CopyAll(scanner, begin, length, number % (MaxLength + 2)), expected)
                << Hex(Bytes(begin, begin + length));
            ASSERT_EQ(OpenAll(scanner, begin, length), expected) << Hex(Bytes(begin, begin + length));
        }
    }
}

}  // namespace videoparams::test
