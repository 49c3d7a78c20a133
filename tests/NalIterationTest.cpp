#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"
#include "support/TestStream.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

struct Unit
{
    int64_t result = 0;
    unsigned char* data = nullptr;
    uint32_t size = 1;
    bool isSlice = true;
    uint32_t headerLength = 1;

    bool IsNone() const
    {
        return result == -1 && data == nullptr && size == 0 && !isSlice && headerLength == 0;
    }
};

class NalIteration : public testing::Test
{
protected:
    AvcParser parser;

    Unit Next()
    {
        Unit unit;
        unit.result = parser.GetNalUnit(&unit.data, &unit.size, &unit.isSlice, &unit.headerLength);
        return unit;
    }

    // The last unit of a stream, all of which can be read.
    Unit LastOf(const Bytes& stream)
    {
        const PageBytes input = AtPageEnd(stream);
        parser.SetVideoData(input.data(), input.size());
        Unit last;
        for (Unit unit = Next(); unit.result == 0; unit = Next())
            last = unit;
        EXPECT_EQ(last.data + last.size, input.end());
        return last;
    }
};

// The bytes behind the unit header that hold the first `bitCount` bits and the next one, as they are stored.
uint32_t StoredLength(const Bytes& rbsp, size_t bitCount)
{
    const size_t length = bitCount / 8 + 1;
    const size_t present = std::min(length, rbsp.size());
    const Bytes head(rbsp.begin(), rbsp.begin() + static_cast<ptrdiff_t>(present));
    return static_cast<uint32_t>(length - present) + Size(Escaped(head));
}

// Of a slice, some bytes are converted at first. A header that needs more of them is measured as exactly. A
// unit that ends inside its header is measured up to the byte behind it.
TEST_F(NalIteration, MeasuresHeadersOfAnyLength)
{
    for (const unsigned bit : {0U, 1U}) {
        for (uint32_t lsbBits = 4; lsbBits < 700; ++lsbBits) {
            const AvcSps sps = {.log2_max_pic_order_cnt_lsb_minus4 = lsbBits - 4};
            BitWriter writer;
            writer.Ue(0).Ue(5).Ue(0).U(4, 9);
            for (uint32_t i = 0; i < lsbBits; ++i)
                writer.U(1, bit);
            const size_t read = writer.BitCount();
            writer.U(1, 1).Align(0).Append({0, 0, 1, 0x34});
            const Bytes sets = sps.Write() + AvcPps{}.Write();
            const Bytes head(writer.Written().begin(), writer.Written().begin() + ptrdiff_t(read / 8));
            const Unit whole = LastOf(sets + AvcUnit(1, writer.Written()));
            ASSERT_EQ(whole.headerLength, StoredLength(writer.Written(), read)) << lsbBits << " of " << bit;
            const Unit part = LastOf(sets + AvcUnit(1 + lsbBits % 2, head, 1, StartCode::ThreeBytes));
            ASSERT_EQ(part.headerLength, StoredLength(head, head.size() * 8)) << lsbBits << " of " << bit;
            EXPECT_TRUE(whole.isSlice && part.isSlice);
        }
    }
}

TEST_F(NalIteration, MeasuresUpToTheIdentifierOfUnknownParameterSets)
{
    const Bytes sets =
        AvcSps{}.Write() + AvcPps{.pic_parameter_set_id = 3, .seq_parameter_set_id = 5}.Write();
    for (const uint32_t pic_parameter_set_id : {0U, 3U, 255U, 256U, 0x7FFFFFFFU}) {
        BitWriter writer;
        writer.Ue(0).Ue(7).Ue(pic_parameter_set_id);
        const size_t read = writer.BitCount();
        writer.Align(1).Append(Bytes(9, 0x77));
        const Unit unit = LastOf(sets + AvcUnit(5, writer.Written()));
        EXPECT_TRUE(unit.isSlice);
        EXPECT_EQ(unit.headerLength, StoredLength(writer.Written(), read)) << pic_parameter_set_id;
    }
}

TEST_F(NalIteration, HandsOutEveryUnitAndSkipsWhatHasNoHeader)
{
    const std::pair<char, Bytes> units[] = {
        {'u', AvcDelimiter()},
        {'u', AvcSps{}.Write()},
        {'-', {0, 0, 1}},
        {'u', AvcPps{}.Write(StartCode::ThreeBytes)},
        {'u', AvcSei()},
        {'s', AvcSlice{.nal_unit_type = 5}.Write()},
        {'-', {0, 0, 0, 1, 0xE5, 0x88, 0x86}},  // forbidden_zero_bit
        {'s', AvcSlice{.nal_unit_type = 2}.Write({}, {}, StartCode::ThreeBytes)},
        {'u', AvcSlice{.nal_unit_type = 3}.Write()},
        {'u', AvcSlice{.nal_unit_type = 20}.Write()},
        {'s', AvcSlice{}.Write() + Bytes{0, 0, 0}},
        {'u', AvcUnit(12, {0xFF, 0xFF})},
    };
    Bytes stream = {0x55, 0, 0};  // belongs to no unit
    for (const auto& [kind, bytes] : units)
        stream += bytes;
    const PageBytes input = AtPageEnd(stream);
    EXPECT_EQ(parser.SetVideoData(input.data(), input.size()), 0);
    const unsigned char* expected = input.data() + 3;
    for (const auto& [kind, bytes] : units) {
        const Unit unit = Next();
        EXPECT_EQ(unit.IsNone(), kind == '-') << Hex(bytes);
        EXPECT_TRUE(kind == '-' || (unit.data == expected && unit.size == bytes.size())) << Hex(bytes);
        EXPECT_EQ(unit.isSlice, kind == 's') << Hex(bytes);
        EXPECT_EQ(unit.headerLength != 0, kind == 's') << Hex(bytes);
        expected += bytes.size();
    }
    EXPECT_TRUE(Next().IsNone());
    EXPECT_TRUE(Next().IsNone());
}

// The block for the RBSP went when there was no memory for a larger one.
TEST_F(NalIteration, HandsOutNoSliceWithoutMemoryForItsFirstBytes)
{
    Bytes stream = AvcUnit(7, Bytes(3000, 0x42)) + AvcUnit(5, {0x88, 0x80, 0, 0, 3, 0, 0, 3, 1});
    parser.SetVideoData(stream.data(), Size(stream));
    FailingHeap heap(1, FailingHeap::Failure::ForGood);
    EXPECT_TRUE(heap.During([&] { return Next(); }).IsNone());
    EXPECT_TRUE(heap.During([&] { return Next(); }).IsNone());
    EXPECT_EQ(heap.Allocations(), 2u);
}

TEST_F(NalIteration, IsEndedByEveryOtherOperationThatScans)
{
    Bytes stream = AvcSps{}.Write() + AvcPps{}.Write() + AvcSlice{.nal_unit_type = 5}.Write();
    Bytes noStartCode(9, 1);
    VideoInfo info;
    VideoInfoEx test;
    VideoPicType type;
    ParameterSetData sets;
    uint32_t count;
    unsigned char** units;
    uint32_t* sizes;
    const std::function<void(unsigned char* data)> operations[] = {
        [&](auto* data) { parser.ReadVideoParams(data, 9, &info); },
        [&](auto* data) { parser.VideoSampleTest(data, 9, &test); },
        [&](auto* data) { parser.QuerySliceType(data == nullptr ? stream.data() : data, 9, type); },
        [&](auto* data) { parser.GetNalFromFrame(data, 9, &count, &units, &sizes); },
        [&](auto* data) { parser.GetParameterSetData(data == nullptr ? stream.data() : data, 9, &sets); },
        [&](auto*) { parser.SetParameterSetData(stream.data(), 9, noStartCode.data(), 9); },
        [&](auto*) { parser.SetVideoData(nullptr, 9); },
    };
    EXPECT_TRUE(Next().IsNone()) << "before the first iteration";
    for (const auto& operation : operations) {
        for (unsigned char* const data :
             {stream.data(), noStartCode.data(), static_cast<unsigned char*>(nullptr)}) {
            parser.SetVideoData(stream.data(), Size(stream));
            EXPECT_EQ(Next().data, stream.data());
            operation(data);
            EXPECT_TRUE(Next().IsNone()) << &operation - operations;
        }
    }
}

TEST_F(NalIteration, SplitsAFrameIntoItsUnits)
{
    Bytes three = AvcSps{}.Write() + AvcPps{}.Write(StartCode::ThreeBytes) + AvcSlice{}.Write();
    Bytes two = Bytes{7, 0} + AvcDelimiter() + AvcSlice{}.Write();
    uint32_t count = 9;
    unsigned char** units = nullptr;
    uint32_t* sizes = nullptr;
    for (Bytes* frame : {&three, &two}) {
        ASSERT_EQ(parser.GetNalFromFrame(frame->data(), Size(*frame), &count, &units, &sizes), 0);
        const std::vector<Bytes> expected = SplitUnits(*frame);
        ASSERT_EQ(count, expected.size());
        for (uint32_t i = 0; i < count; ++i)
            EXPECT_EQ(CopyOf(units[i], sizes[i]), expected[i]);
        EXPECT_EQ(units[count - 1] + sizes[count - 1], frame->data() + frame->size());
    }
    Bytes noStartCode(5, 1);
    const std::pair<uint32_t, int64_t> empties[] = {{0, 0}, {4, 0}, {5, -1}};
    for (const auto& [size, result] : empties) {
        EXPECT_EQ(parser.GetNalFromFrame(noStartCode.data(), size, &count, &units, &sizes), result);
        EXPECT_TRUE(count == 0 && units == nullptr && sizes == nullptr);
    }
    EXPECT_EQ(parser.GetNalFromFrame(nullptr, 100, &count, &units, &sizes), 0);
}

TEST_F(NalIteration, SplitsAMillionTinyUnitsWithFewAllocations)
{
    constexpr uint32_t UnitCount = 1000000;
    Bytes frame = Repeat({0, 0, 1, 9}, UnitCount) + Bytes{0x10};
    uint32_t count = 0;
    unsigned char** units = nullptr;
    uint32_t* sizes = nullptr;
    FailingHeap heap;
    heap.During([&] { return parser.GetNalFromFrame(frame.data(), Size(frame), &count, &units, &sizes); });
    ASSERT_EQ(count, UnitCount);
    EXPECT_EQ(units[UnitCount - 1] + sizes[UnitCount - 1], frame.data() + frame.size());
    EXPECT_LT(heap.Allocations(), 100u);
}

}  // namespace

}  // namespace videoparams::test
