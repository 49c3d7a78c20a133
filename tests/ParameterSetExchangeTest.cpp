#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

const Bytes startCode = {0, 0, 0, 1};
const AvcSps plainSps;  // 160x96
const AvcSps otherSps = {.pic_width_in_mbs_minus1 = 19, .pic_height_in_map_units_minus1 = 14};
const AvcPps plainPps;

Bytes WithoutStartCode(const Bytes& unit)
{
    return {unit.begin() + 4, unit.end()};
}

// An exchange, and the key frames that it completes.
struct Exchange
{
    Exchange() { EXPECT_TRUE(scanner.Create()); }

    // What is put into a key frame: both units and their description.
    Bytes Held(uint32_t width)
    {
        AccessUnit unit;
        const SequenceInfo* const info = exchange.Complete(unit);
        EXPECT_EQ(info != nullptr ? info->width : 0, width);
        return CopyOf(unit.bytes.data, unit.bytes.length);
    }

    CNalScanner scanner{avcRules};
    CAvcParameterTables tables;
    CAvcParameterSetExchange exchange{scanner, tables};
};

int64_t Set(Exchange& held, const Bytes& sps, const Bytes& pps)
{
    const PageBytes spsInput = AtPageEnd(sps);
    const PageBytes ppsInput = AtPageEnd(pps);
    return held.exchange.Hold(spsInput.data(), spsInput.size(), ppsInput.data(), ppsInput.size());
}

TEST(SetParameterSetData, HoldsWhatItIsGivenBehindAStartCode)
{
    const Bytes sps = plainSps.Write();
    const Bytes pps = plainPps.Write();
    struct
    {
        const char* name;
        Bytes sps;
        Bytes pps;
        bool addsToSps;
        bool addsToPps;
        int64_t result;
        uint32_t width = 160;  // of the description; 0: none, since the SPS could not be read
    } const cases[] = {
        {"four bytes", sps, pps, false, false, 0},
        {"three bytes", plainSps.Write(StartCode::ThreeBytes), plainPps.Write(StartCode::ThreeBytes), false,
         false, 0},
        {"none", WithoutStartCode(sps), WithoutStartCode(pps), true, true, 0},
        {"of other types", pps, sps, false, false, 0, 0},
        {"one byte", {0x67}, {0x68}, true, true, 0, 0},
        {"two bytes alike", {0, 1, 7}, {0, 0, 7, 1}, true, true, 0, 0},
        {"zeros alone", {0, 0}, pps, true, false, 0, 0},
        {"three zeros", {0, 0, 0}, {0, 0, 0, 7}, true, true, 0, 0},
        {"four zeros", sps, {0, 0, 0, 0, 1}, false, true, 0},
        {"two start codes", sps, {0, 0, 0, 1, 0, 0, 1, 0x68, 0xCE}, false, false, -1},
        {"a start code alone", {0, 0, 1}, pps, false, false, -1, 0},
        {"too short", sps, {0, 0, 1, 0x68}, false, false, -1},
        {"forbidden_zero_bit", {0xE7, 1, 2, 3}, pps, true, false, -1, 0},
        {"forbidden_zero_bit of the PPS", sps, {0xE8, 1, 2}, false, true, -1},
    };
    for (const auto& row : cases) {
        Exchange held;
        EXPECT_EQ(Set(held, row.sps, row.pps), row.result) << row.name;
        const Bytes heldSps = (row.addsToSps ? startCode : Bytes{}) + row.sps;
        const Bytes heldPps = (row.addsToPps ? startCode : Bytes{}) + row.pps;
        EXPECT_EQ(Hex(held.Held(row.width)), Hex(heldSps + heldPps)) << row.name;
        EXPECT_EQ(Set(held, otherSps.Write(), {0x68}), 0) << row.name;
        EXPECT_EQ(Hex(held.Held(320)), Hex(otherSps.Write() + startCode + Bytes{0x68})) << row.name;
    }
}

// A new SPS beside an old PPS would be put into the stream as if they belonged together.
TEST(SetParameterSetData, APairStaysAPairWhenMemoryRunsOut)
{
    const Bytes longPps = plainPps.Write() + Bytes(50, 0x55);
    for (uint64_t failAt = 1; failAt <= 2; ++failAt) {
        Exchange held;
        ASSERT_EQ(Set(held, plainSps.Write(), plainPps.Write()), 0);
        FailingHeap heap(failAt, FailingHeap::Failure::ForGood);
        const Bytes sps = otherSps.Write() + Bytes(50, 0x55);
        EXPECT_EQ(heap.During([&] {
            return held.exchange.Hold(sps.data(), Size(sps), longPps.data(), Size(longPps));
        }),
                  -1);
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_EQ(Hex(held.Held(160)), Hex(plainSps.Write() + plainPps.Write()));
    }
}

TEST(GetParameterSetData, FindsTheLastOfEachKind)
{
    const Bytes sps = plainSps.Write();
    const Bytes other = otherSps.Write(StartCode::ThreeBytes);
    const Bytes pps = plainPps.Write();
    const Bytes slice = AvcSlice{}.Write();
    const Bytes large = AvcUnit(7, Bytes(70000, 0x42));
    const Bytes largePps = AvcUnit(8, Bytes(1020, 0x42));  // 1025 bytes
    struct
    {
        const char* name;
        Bytes stream;
        Bytes sps;
        Bytes pps;
        int64_t result;
    } const cases[] = {
        {"both", Bytes{9, 9} + sps + pps + slice, sps, pps, 0},
        {"two SPS", sps + pps + other + slice, other, pps, 0},
        {"behind slices", slice + pps + slice + sps, sps, pps, 0},
        {"large ones", large + largePps + slice, large, largePps, 0},
        {"large, then small", large + largePps + sps + pps, sps, pps, 0},
        {"with zeros behind", pps + Bytes{0, 0} + sps, sps, pps + Bytes{0, 0}, 0},
        {"an SPS alone", sps, sps, {}, 0},
        {"a subset SPS is none", AvcUnit(15, {1, 2, 3}) + slice, {}, {}, 0},
        {"slices alone", slice + slice, {}, {}, 0},
        {"start codes alone", Bytes{0, 0, 1, 0, 0, 0, 1} + pps, {}, pps, 0},
        {"four bytes", {0, 0, 1, 0x67}, {}, {}, 0},
        {"no start code", Bytes(5, 0x67), {}, {}, -1},
    };
    AvcParser parser;
    for (const auto& row : cases) {
        const PageBytes stream = AtPageEnd(row.stream);
        unsigned char marker = 0;
        ParameterSetData found = {&marker, 7, &marker, 7, &marker, 7};
        EXPECT_EQ(parser.GetParameterSetData(stream.data(), stream.size(), &found), row.result) << row.name;
        EXPECT_EQ(CopyOf(found.sps, found.spsSize), row.sps) << row.name;
        EXPECT_EQ(CopyOf(found.pps, found.ppsSize), row.pps) << row.name;
        EXPECT_EQ(found.sps == nullptr, found.spsSize == 0) << row.name;
        EXPECT_EQ(found.pps == nullptr, found.ppsSize == 0) << row.name;
        EXPECT_TRUE(found.vps == nullptr && found.vpsSize == 0) << row.name;
    }
}

}  // namespace

}  // namespace videoparams::test
