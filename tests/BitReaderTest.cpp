#include "bitstream/BitReader.h"

#include "streams/BitWriter.h"
#include "support/PageBytes.h"

#include <gtest/gtest.h>
#include <optional>

namespace videoparams::test {

using namespace streams;

namespace {

class BitReader : public testing::Test
{
protected:
    // Reads bytes that end at a page that may not be touched.
    void Begin(const Bytes& bytes)
    {
        page.emplace(bytes, SIZE_MAX, PageBytes::Side::End);
        reader = CBitReader(page->data(), page->size());
    }

    // Bits consumed since the beginning, as reported by the reader.
    size_t Position() const
    {
        const uint64_t position = uint64_t{page->size()} * 8 - reader.BitsLeft();
        EXPECT_EQ(reader.BytePosition(), position / 8);
        EXPECT_EQ(reader.AtEnd(), reader.BitsLeft() == 0);
        return static_cast<size_t>(position);
    }

    CBitReader reader;
    std::optional<PageBytes> page;
};

}  // namespace

TEST_F(BitReader, TakesBitsMostSignificantFirstAcrossBytes)
{
    const std::pair<uint32_t, uint32_t> reads[] = {{1, 1},      {3, 2},   {0, 0},           {4, 5}, {4, 0xA},
                                                   {12, 0xBCD}, {4, 0xE}, {32, 0xF1234567}, {4, 8}};
    Begin({0xA5, 0xAB, 0xCD, 0xEF, 0x12, 0x34, 0x56, 0x78});
    size_t consumed = 0;
    for (const auto& [count, value] : reads) {
        EXPECT_EQ(reader.Bits(count), value);
        EXPECT_EQ(Position(), consumed += count);
    }
    EXPECT_FALSE(reader.PastEnd());
}

TEST_F(BitReader, ReadsZerosAfterTheEndAndReportsIt)
{
    Begin({0xFF});
    EXPECT_EQ(reader.Bits(12), 0xFF0u);
    EXPECT_EQ(Position(), 8u);
    EXPECT_TRUE(reader.PastEnd());
    EXPECT_EQ(reader.Bits(32) + reader.Ue() + static_cast<uint32_t>(reader.Se()), 0u);
    EXPECT_EQ(Position(), 8u);
    Begin({});
    EXPECT_EQ(reader.Bits(0), 0u);
    EXPECT_FALSE(reader.PastEnd());
    EXPECT_EQ(reader.Bits(1), 0u);
    EXPECT_TRUE(reader.PastEnd());
}

TEST_F(BitReader, OfMoreThan32BitsGivesTheLast32)
{
    Begin({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99});
    reader.Bits(4);
    EXPECT_EQ(reader.Bits(43), 0x19A22AB3u) << "bits 15 to 46: 0, 33, 44, 55, 0110011";
    EXPECT_EQ(Position(), 47u);
    EXPECT_EQ(reader.Bits(40), 0xC44C8000u) << "25 bits and 15 zeros, the first 8 dropped";
    EXPECT_TRUE(reader.PastEnd());
    for (const uint32_t count : {33u, 100u, UINT32_MAX}) {
        Begin({0xFF, 0xFF});
        reader.Bits(3);
        EXPECT_EQ(reader.Bits(count), count == 33 ? 0xFFF00000u : 0u);
        EXPECT_EQ(Position(), 16u);
        EXPECT_TRUE(reader.PastEnd());
    }
}

TEST_F(BitReader, ReadsExpGolombCodes)
{
    const struct
    {
        Bytes bytes;
        uint32_t ue;
        int32_t se;
        size_t consumed;
        bool pastEnd;
    } cases[] = {
        {{0x80}, 0, 0, 1, false},
        {{0x40}, 1, 1, 3, false},
        {{0x60}, 2, -1, 3, false},
        {{0x20}, 3, 2, 5, false},
        {{0x28}, 4, -2, 5, false},
        {{0x10}, 7, 4, 7, false},
        {{0, 0, 0, 1, 0, 0, 0, 0}, 0x7FFFFFFF, 0x40000000, 63, false},
        {{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFC}, 0xFFFFFFFD, INT32_MAX, 63, false},
        {{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE}, 0xFFFFFFFE, -INT32_MAX, 63, false},
        // Given up at the 32nd zero, whatever follows.
        {{0, 0, 0, 0, 0x80, 0, 0, 0, 0, 0x80}, 0, 0, 32, true},
        // The data end among the zeros, after the 1, or in the suffix.
        {{0, 0}, 0, 0, 16, true},
        {{0x01}, 127, 64, 8, true},
        {{0x00, 0x01, 0xFF}, 32767 + 0x7F80, (32767 + 0x7F80 + 1) / 2, 24, true},
    };
    for (const auto& c : cases) {
        Begin(c.bytes);
        EXPECT_EQ(reader.Ue(), c.ue) << Hex(c.bytes);
        EXPECT_EQ(Position(), c.consumed) << Hex(c.bytes);
        EXPECT_EQ(reader.PastEnd(), c.pastEnd) << Hex(c.bytes);
        Begin(c.bytes);
        EXPECT_EQ(reader.Se(), c.se) << Hex(c.bytes);
    }
}

}  // namespace videoparams::test
