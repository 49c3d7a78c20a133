#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"
#include "support/TestStream.h"

#include <algorithm>
#include <array>
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
    Created<AvcProbe> parser;

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

TEST_F(NalIteration, MeasuresSliceHeadersWorkedOutByHand)
{
    const AvcSps wide = {.log2_max_frame_num_minus4 = 12, .log2_max_pic_order_cnt_lsb_minus4 = 12};
    const AvcSps nineBits = {.log2_max_frame_num_minus4 = 5, .pic_order_cnt_type = 2};
    struct
    {
        AvcSps sps;
        Bytes slice;
        uint32_t length;
    } const cases[] = {
        // 1 0001000 1 and 16 zeros, 1, 16 zeros: 42 bits
        {wide, {0, 0, 1, 0x65, 0x88, 0x80, 0x00, 0x40, 0x00, 0x3F, 0x80}, 6},
        // 1 00110 1 and 32 zeros: 39 bits in 9A 00 00 00 01
        {wide, {0, 0, 0, 1, 0x41, 0x9A, 0x00, 0x00, 0x03, 0x00, 0x01, 0x80}, 6},
        // 1 00110 1 and 000000010: 16 bits, and the byte behind them
        {nineBits, {0, 0, 1, 0x41, 0x9A, 0x02, 0x80}, 3},
        // the same where the unit ends
        {nineBits, {0, 0, 1, 0x41, 0x9A, 0x02}, 3},
        // cut short in frame_num
        {nineBits, {0, 0, 1, 0x41, 0x9A}, 2},
    };
    for (const auto& row : cases) {
        const Unit unit = LastOf(row.sps.Write() + AvcPps{}.Write() + row.slice);
        EXPECT_TRUE(unit.isSlice);
        EXPECT_EQ(unit.headerLength, row.length) << Hex(row.slice);
    }
}

TEST_F(NalIteration, MeasuresEverySliceHeader)
{
    const AvcSps spsCases[] = {
        {.log2_max_frame_num_minus4 = 3, .log2_max_pic_order_cnt_lsb_minus4 = 5},
        {.log2_max_frame_num_minus4 = 12, .log2_max_pic_order_cnt_lsb_minus4 = 12, .frame_mbs_only_flag = 0},
        {.log2_max_frame_num_minus4 = 12, .pic_order_cnt_type = 1, .frame_mbs_only_flag = 0},
        {.pic_order_cnt_type = 1, .delta_pic_order_always_zero_flag = 1},
        {.profile_idc = 244, .chroma_format_idc = 3, .separate_colour_plane_flag = 1},
    };
    for (const AvcSps& sps : spsCases) {
        for (uint32_t i = 0; i < 2 * 3 * 2 * 10 * 4; ++i) {
            const AvcPps pps = {.bottom_field_pic_order_in_frame_present_flag = i % 2};
            const StartCode startCode = i / 6 % 2 == 0 ? StartCode::ThreeBytes : StartCode::FourBytes;
            const uint32_t round = i / 120;
            AvcSlice slice = {.nal_unit_type = std::array{1U, 2U, 5U}[i / 2 % 3]};
            slice.slice_type = i / 12 % 10;
            slice.first_mb_in_slice = round * 99;
            slice.frame_num = round % 2 * 7;
            slice.field_pic_flag = sps.frame_mbs_only_flag == 0 ? i % 5 % 2 : 0;
            slice.idr_pic_id = round * 65;
            slice.pic_order_cnt_lsb = round / 2 * 2;
            slice.delta_pic_order_cnt_bottom = -3;
            slice.delta_pic_order_cnt[0] = 70000;
            slice.sliceData = Bytes(round, 0);
            BitWriter writer;
            slice.WriteTo(writer, sps, pps);
            const Unit unit = LastOf(sps.Write() + pps.Write() + slice.Write(sps, pps, startCode));
            EXPECT_TRUE(unit.isSlice);
            EXPECT_EQ(unit.headerLength, StoredLength(writer.Written(), writer.BitsTo("read"))) << i;
        }
    }
}

// Of a slice, some bytes are converted at first. A header that needs more of them is measured as exactly.
TEST_F(NalIteration, MeasuresHeadersOfAnyLength)
{
    for (const unsigned bit : {0U, 1U}) {
        for (uint32_t lsbBits = 300; lsbBits < 700; ++lsbBits) {
            const AvcSps sps = {.log2_max_pic_order_cnt_lsb_minus4 = lsbBits - 4};
            BitWriter writer;
            writer.Ue(0).Ue(5).Ue(0).U(4, 9);
            for (uint32_t i = 0; i < lsbBits; ++i)
                writer.U(1, bit);
            const size_t read = writer.BitCount();
            writer.U(1, 1).Align(0).Append({0x12, 0x34});
            const Unit unit = LastOf(sps.Write() + AvcPps{}.Write() + AvcUnit(1, writer.Written()));
            ASSERT_EQ(unit.headerLength, StoredLength(writer.Written(), read))
                << lsbBits << " bits of " << bit;
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
    using Operation = std::function<void(unsigned char* data, uint32_t size)>;
    const Operation operations[] = {
        [&](unsigned char* data, uint32_t size) { parser.ReadVideoParams(data, size, &info, 0); },
        [&](unsigned char*, uint32_t) { parser.ReadVideoParams(nullptr, 0, &info, 0); },
        [&](unsigned char* data, uint32_t size) { parser.VideoSampleTest(data, size, &test); },
        [&](unsigned char*, uint32_t size) { parser.VideoSampleTest(nullptr, size, &test); },
        [&](unsigned char* data, uint32_t size) { parser.QuerySliceType(data, size, type); },
        [&](unsigned char* data, uint32_t size) {
            parser.GetNalFromFrame(data, size, &count, &units, &sizes);
        },
        [&](unsigned char*, uint32_t size) { parser.GetNalFromFrame(nullptr, size, &count, &units, &sizes); },
        [&](unsigned char* data, uint32_t size) { parser.GetParameterSetData(data, size, &sets); },
        [&](unsigned char* data, uint32_t size) { parser.SetParameterSetData(data, size, data, size); },
        [&](unsigned char*, uint32_t size) { parser.SetVideoData(nullptr, size); },
    };
    EXPECT_TRUE(Next().IsNone()) << "before the first iteration";
    for (const Operation& operation : operations) {
        for (Bytes* data : {&stream, &noStartCode}) {
            parser.SetVideoData(stream.data(), Size(stream));
            EXPECT_EQ(Next().data, stream.data());
            operation(data->data(), Size(*data));
            EXPECT_EQ(parser.scanData, nullptr) << &operation - operations;
            EXPECT_TRUE(Next().IsNone()) << &operation - operations;
            EXPECT_TRUE(Next().IsNone()) << &operation - operations;
        }
    }
}

TEST_F(NalIteration, SplitsAFrameIntoArraysOfExactCapacity)
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
        EXPECT_EQ(parser.nalArrayCapacity, 3u);
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
    EXPECT_EQ(parser.nalArrayCapacity, UnitCount);
    EXPECT_EQ(units[UnitCount - 1] + sizes[UnitCount - 1], frame.data() + frame.size());
    EXPECT_LT(heap.Allocations(), 100u);
}

TEST_F(NalIteration, CoversRealStreams)
{
    for (const TestStream& testStream : TestStreams()) {
        if (testStream.codec != VideoCodecAVC)
            continue;
        Bytes stream = testStream.Read();
        parser.SetVideoData(stream.data(), Size(stream));
        Bytes units;
        for (Unit unit = Next(); unit.result == 0; unit = Next())
            units += CopyOf(unit.data, unit.size);
        EXPECT_TRUE(units == stream) << testStream.name;
    }
}

}  // namespace

}  // namespace videoparams::test
