#include "bitstream/EmulationPrevention.h"

#include "streams/BitWriter.h"
#include "support/PageBytes.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace videoparams::test {

using namespace streams;

namespace {

// As a loop over single bytes; Escaped is the other direction.
Bytes SlowRbsp(const Bytes& source)
{
    Bytes rbsp;
    for (size_t at = 0; at < source.size(); ++at) {
        const size_t left = source.size() - at;
        if (left >= 4 && source[at] == 0 && source[at + 1] == 0 && source[at + 2] == 3) {
            rbsp += {0, 0};
            at += 2;
        } else {
            rbsp.push_back(source[at]);
        }
    }
    return rbsp;
}

Bytes Rbsp(const unsigned char* source, size_t size, size_t limit = SIZE_MAX)
{
    const auto wanted = static_cast<uint32_t>(std::min(size, limit));
    Bytes destination(wanted);
    destination.resize(
        RemoveEmulationPrevention(source, static_cast<uint32_t>(size), wanted, destination.data()));
    return destination;
}

Bytes Escape(const unsigned char* source, size_t size)
{
    Bytes destination(size + size / 2);
    destination.resize(AddEmulationPrevention(source, static_cast<uint32_t>(size), destination.data()));
    return destination;
}

}  // namespace

TEST(Rbsp, FollowsTheRulesOnAllShortStrings)
{
    constexpr unsigned char Alphabet[] = {0, 1, 2, 3, 4, 255};
    constexpr size_t MaxLength = 7;
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    size_t strings = 1;
    for (size_t length = 0; length <= MaxLength; ++length, strings *= 6) {
        unsigned char* const begin = page.data() + MaxLength - length;
        for (size_t number = 0; number < strings; ++number) {
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 6)
                begin[i] = Alphabet[rest % 6];

            const Bytes source(begin, begin + length);
            const Bytes escaped = Escape(begin, length);
            ASSERT_EQ(Rbsp(begin, length), SlowRbsp(source)) << Hex(source);
            ASSERT_EQ(escaped, Escaped(source)) << Hex(source);
            ASSERT_EQ(CountEmulationPrevention(begin, static_cast<uint32_t>(length)),
                      escaped.size() - length);
            ASSERT_EQ(Rbsp(escaped.data(), escaped.size()), source);
        }
    }
}

TEST(Rbsp, ConvertsTheHeadOfAUnitAsInTheWhole)
{
    for (const Bytes& piece : {Bytes{0, 0, 3}, Bytes{0, 0, 3, 1}, Bytes{9, 0, 0, 0, 3}}) {
        const Bytes source = Repeat(piece, 6);
        const Bytes whole = SlowRbsp(source);
        for (uint32_t limit = 0; limit <= source.size() + 3; ++limit) {
            const PageBytes paged = AtPageEnd(source);
            const Bytes head = Rbsp(paged.data(), paged.size(), limit);
            ASSERT_LE(head.size(), std::min<size_t>(limit, whole.size()));
            EXPECT_TRUE(std::equal(head.begin(), head.end(), whole.begin()));
            EXPECT_TRUE(limit < source.size() || head.size() == whole.size());
        }
    }
}

}  // namespace videoparams::test
