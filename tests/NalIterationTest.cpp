// SetVideoData with GetNalUnit, and GetNalFromFrame.

#include "support/Codec.h"
#include "support/PageBytes.h"
#include "support/TestStream.h"

#include <functional>

namespace videoparams::test {

namespace {

struct Unit
{
    int64_t result = 0;
    unsigned char* data = nullptr;
    unsigned int size = 1;
    bool isSlice = true;
    unsigned int headerLength = 1;

    bool IsNone() const
    {
        return result == -1 && data == nullptr && size == 0 && !isSlice && headerLength == 0;
    }
};

class NalIteration : public testing::Test
{
protected:
    NalIteration() { EXPECT_EQ(ParseCreate(&handle, VideoCodecAVC, 2, 0), 0); }
    ~NalIteration() override { EXPECT_EQ(ParseRelease(handle), 0); }

    Unit Next()
    {
        Unit unit;
        unit.result = GetNalUnit(handle, &unit.data, &unit.size, &unit.isSlice, &unit.headerLength);
        return unit;
    }

    // The unit of that number, counted from 0. All of the stream can be read, and no more.
    Unit UnitOf(const Bytes& stream, size_t number)
    {
        const PageBytes input = AtPageEnd(stream);
        SetVideoData(handle, input.data(), input.size());
        for (size_t i = 0; i < number; ++i)
            Next();
        return Next();
    }

    void* handle = nullptr;
};

// The bytes after the unit header that hold the first `bitCount` bits and the next one, as they are in the
// stream.
uint32_t StoredLength(const Bytes& rbsp, size_t bitCount)
{
    const size_t length = bitCount / 8 + 1;
    const size_t present = std::min(length, rbsp.size());
    const Bytes head(rbsp.begin(), rbsp.begin() + static_cast<ptrdiff_t>(present));
    return static_cast<uint32_t>(length - present) + Size(Escaped(head));
}

}  // namespace

// A unit that ends inside its header is measured up to the byte after it, whether or not another unit
// follows.
TEST_F(NalIteration, MeasuresHeadersOfAnyLength)
{
    for (const unsigned bit : {0U, 1U}) {
        for (uint32_t lsbBits = 4; lsbBits < 700; ++lsbBits) {
            BitWriter writer;
            writer.Ue(0).Ue(5).Ue(0).U(4, 9);
            for (uint32_t i = 0; i < lsbBits; ++i)
                writer.U(1, bit);
            const size_t read = writer.BitCount();
            const Bytes head(writer.Written().begin(), writer.Written().begin() + ptrdiff_t(read / 8));
            writer.U(1, 1).Align(0).Append({0, 0, 1, 0x34});
            const Bytes sets =
                AvcSps{.log2_max_pic_order_cnt_lsb_minus4 = lsbBits - 4}.Write() + AvcPps{}.Write();
            const Unit whole = UnitOf(sets + AvcUnit(1, writer.Written()), 2);
            const Bytes cut = Short(AvcUnit(1 + lsbBits % 2, head, 1));
            const Unit last = UnitOf(sets + cut, 2);
            const Unit followed = UnitOf(sets + cut + AvcUnit(6, Bytes(9, 0x55)), 2);
            ASSERT_TRUE(whole.isSlice && last.isSlice && followed.isSlice);
            ASSERT_EQ(whole.headerLength, StoredLength(writer.Written(), read)) << lsbBits << " of " << bit;
            ASSERT_EQ(last.headerLength, StoredLength(head, head.size() * 8)) << lsbBits << " of " << bit;
            ASSERT_EQ(followed.headerLength, last.headerLength) << lsbBits << " of " << bit;
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
        const Unit unit = UnitOf(sets + AvcUnit(5, writer.Written()), 2);
        EXPECT_TRUE(unit.isSlice);
        EXPECT_EQ(unit.headerLength, StoredLength(writer.Written(), read)) << pic_parameter_set_id;
    }
}

TEST_F(NalIteration, ReturnsEveryUnitAndSkipsThoseWithoutAHeader)
{
    Bytes stream = {0x55, 0, 0};                                             // belongs to no unit
    std::vector<Bytes> units = {{0, 0, 1}, {0, 0, 0, 1, 0xE5, 0x88, 0x86}};  // no header; forbidden_zero_bit
    units.push_back(Short(AvcSei()));
    for (uint32_t type = 0; type < avc.typeCount; ++type)
        units.push_back(AvcUnit(type, {0xE5, 0xFF, 0}));
    for (const Bytes& unit : units)
        stream += unit;
    const PageBytes input = AtPageEnd(stream);
    EXPECT_EQ(SetVideoData(handle, input.data(), input.size()), 0);
    const unsigned char* expected = input.data() + 3;
    for (size_t i = 0; i < units.size(); ++i) {
        const Unit unit = Next();
        const bool isSlice = i >= 3 && avc.IsSlice(static_cast<uint32_t>(i - 3));
        EXPECT_EQ(unit.IsNone(), i < 2) << Hex(units[i]);
        EXPECT_TRUE(i < 2 || (unit.data == expected && unit.size == units[i].size())) << Hex(units[i]);
        EXPECT_EQ(unit.isSlice, isSlice) << Hex(units[i]);
        EXPECT_EQ(unit.headerLength != 0, isSlice) << Hex(units[i]);
        expected += units[i].size();
    }
    EXPECT_TRUE(Next().IsNone());
    EXPECT_TRUE(Next().IsNone());
}

TEST_F(NalIteration, IsEndedByEveryOtherOperationThatScans)
{
    Bytes stream = avc.sets + AvcSlice{.nal_unit_type = 5}.Write();
    Bytes noStartCode(9, 1);
    VideoInfo info;
    VideoInfoEx test;
    VideoPicType type;
    ParameterSetData sets;
    unsigned int count;
    unsigned char** units;
    unsigned int* sizes;
    const std::function<void(unsigned char* data)> operations[] = {
        [&](auto* data) { ParseVideoParams(handle, data, 9, &info); },
        [&](auto* data) { VideoSampleTest(handle, data, 9, &test); },
        [&](auto* data) { QueryType(handle, data == nullptr ? stream.data() : data, 9, type); },
        [&](auto* data) { GetNalFromFrame(handle, data, 9, &count, &units, &sizes); },
        [&](auto* data) { GetParameterSetData(handle, data == nullptr ? stream.data() : data, 9, &sets); },
        [&](auto*) { SetParameterSetData(handle, stream.data(), 9, noStartCode.data(), 9); },
        [&](auto*) { SetVideoData(handle, nullptr, 9); },
    };
    EXPECT_TRUE(Next().IsNone()) << "before the first iteration";
    for (const auto& operation : operations) {
        for (unsigned char* const data :
             {stream.data(), noStartCode.data(), static_cast<unsigned char*>(nullptr)}) {
            SetVideoData(handle, stream.data(), Size(stream));
            EXPECT_EQ(Next().data, stream.data());
            operation(data);
            EXPECT_TRUE(Next().IsNone()) << &operation - operations;
        }
    }
}

// The rule of the search, word by word: five bytes at least, counted from the first zero.
TEST_F(NalIteration, UnitsAreCutByTheRuleInAllShortStrings)
{
    constexpr size_t MaxLength = 10;
    const auto findStartCode = [](const unsigned char* at, const unsigned char* end) {
        for (; end - at >= 5; ++at) {
            if (at[0] == 0 && at[1] == 0 && (at[2] == 1 || (at[2] == 0 && at[3] == 1)))
                return at;
        }
        return end;
    };
    const PageBytes page = AtPageEnd(Bytes(MaxLength));
    size_t strings = 1;
    for (size_t length = 0; length <= MaxLength; ++length, strings *= 3) {
        unsigned char* const begin = page.data() + MaxLength - length;
        for (size_t number = 0; number < strings; ++number) {
            for (size_t i = 0, rest = number; i < length; ++i, rest /= 3)
                begin[i] = static_cast<unsigned char>(rest % 3);

            unsigned int count = 0;
            unsigned char** units = nullptr;
            unsigned int* sizes = nullptr;
            const int64_t result =
                GetNalFromFrame(handle, begin, static_cast<uint32_t>(length), &count, &units, &sizes);
            SetVideoData(handle, begin, static_cast<uint32_t>(length));
            const unsigned char* at = findStartCode(begin, page.end());
            ASSERT_EQ(result, at == page.end() && length >= 5 ? -1 : 0) << Hex(Bytes(begin, begin + length));
            ASSERT_EQ(units == nullptr, at == page.end());
            for (unsigned int i = 0; at != page.end(); ++i) {
                const unsigned char* const header = at + (at[2] == 1 ? 3 : 4);
                const unsigned char* const next = findStartCode(header, page.end());
                ASSERT_TRUE(i < count && units[i] == at && sizes[i] == static_cast<size_t>(next - at))
                    << Hex(Bytes(begin, begin + length));
                const Unit unit = Next();
                ASSERT_TRUE(next == header ? unit.IsNone()
                                           : unit.data == at && unit.size == static_cast<size_t>(next - at))
                    << Hex(Bytes(begin, begin + length));
                at = next;
                count -= next == page.end() ? i + 1 : 0;
            }
            ASSERT_EQ(count, 0u) << Hex(Bytes(begin, begin + length));
        }
    }
}

}  // namespace videoparams::test
