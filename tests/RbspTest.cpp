#include "support/BitWriter.h"
#include "support/PageBytes.h"
#include "support/Probes.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Parser = Created<BaseProbe>;

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

Bytes Rbsp(Parser& parser, const unsigned char* source, size_t size)
{
    const unsigned char* rbsp = nullptr;
    uint32_t rbspSize = 0;
    EXPECT_EQ(parser.GetRbspData(source, static_cast<uint32_t>(size), &rbsp, &rbspSize), ResultOk);
    return CopyOf(rbsp, rbspSize);
}

Bytes Escape(const unsigned char* source, size_t size)
{
    Bytes destination(size + size / 2 + 1, 0xEE);
    uint32_t length = 10;  // is added to
    EXPECT_EQ(Parser::AddEscape(source, static_cast<uint32_t>(size), destination.data(), &length), ResultOk);
    destination.resize(length - 10);
    return destination;
}

}  // namespace

TEST(Rbsp, FollowsTheRulesOnAllShortStrings)
{
    constexpr unsigned char Alphabet[] = {0, 1, 2, 3, 4, 255};
    constexpr size_t MaxLength = 7;
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    Parser parser;
    size_t strings = 1;
    for (size_t length = 0; length <= MaxLength; ++length, strings *= 6) {
        unsigned char* const begin = page.data() + MaxLength - length;
        for (size_t number = 0; number < strings; ++number) {
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 6)
                begin[i] = Alphabet[rest % 6];

            const Bytes source(begin, begin + length);
            const Bytes escaped = Escape(begin, length);
            ASSERT_EQ(Rbsp(parser, begin, length), SlowRbsp(source)) << Hex(source);
            ASSERT_EQ(escaped, Escaped(source)) << Hex(source);
            ASSERT_EQ(Parser::CountEscapes(begin, static_cast<uint32_t>(length)), escaped.size() - length);
            ASSERT_EQ(Rbsp(parser, escaped.data(), escaped.size()), source);
        }
    }
}

TEST(Rbsp, ConvertsTheHeadOfAUnitAsInTheWhole)
{
    Parser parser;
    for (const Bytes& piece : {Bytes{0, 0, 3}, Bytes{0, 0, 3, 1}, Bytes{9, 0, 0, 0, 3}}) {
        const Bytes source = Repeat(piece, 6);
        const Bytes whole = SlowRbsp(source);
        for (uint32_t limit = 0; limit <= source.size() + 3; ++limit) {
            const unsigned char* head = nullptr;
            uint32_t headSize = 0;
            const PageBytes paged = AtPageEnd(source);
            ASSERT_EQ(parser.GetRbspHead(paged.data(), paged.size(), limit, &head, &headSize), ResultOk);
            ASSERT_LE(headSize, std::min<size_t>(limit, whole.size()));
            EXPECT_EQ(CopyOf(head, headSize), Bytes(whole.begin(), whole.begin() + headSize));
            EXPECT_TRUE(limit < source.size() || headSize == whole.size());
        }
    }
}

TEST(Rbsp, BufferGrowsToExactlyTheUnitAndNeverShrinks)
{
    Parser parser;
    const Bytes source(3000, 5);
    const std::pair<size_t, uint32_t> cases[] = {
        {1024, 1024}, {1025, 1025}, {3000, 3000}, {500, 3000}, {0, 3000}};
    for (const auto& [size, bufferSize] : cases) {
        EXPECT_EQ(Rbsp(parser, source.data(), size).size(), size);
        EXPECT_EQ(parser.rbspBufferSize, bufferSize);
    }
}

}  // namespace videoparams::test
