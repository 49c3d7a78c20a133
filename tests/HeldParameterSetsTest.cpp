// H.264 key frames that come without an SPS get the held parameter sets: the first of the stream, or the
// caller's.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/PageBytes.h"

namespace videoparams::test {

namespace {

const Bytes sps = AvcSps{}.Write();
const Bytes pps = AvcPps{}.Write();
const Bytes wideSps = AvcSps{.seq_parameter_set_id = 1, .pic_width_in_mbs_minus1 = 19}.Write();  // 320
const Bytes otherPps = AvcPps{.pic_parameter_set_id = 1}.Write();
const Bytes delimiter = AvcDelimiter();
const Bytes sei = AvcSei();

Bytes Key(uint32_t idr_pic_id)
{
    return AvcSlice{.nal_unit_type = 5, .idr_pic_id = idr_pic_id}.Write();
}

const Bytes key = Key(0);
const Bytes nextKey = Key(1);

Analysis::Report LastReport(const std::vector<Bytes>& calls)
{
    Analysis host(VideoCodecAVC);
    for (const Bytes& call : calls)
        host.Feed(call);
    host.Flush();
    return host.Reports().empty() ? Analysis::Report{} : host.Reports().back();
}

int64_t Set(void* handle, const Bytes& spsBytes, const Bytes& ppsBytes)
{
    const PageBytes first = AtPageEnd(spsBytes);
    const PageBytes second = AtPageEnd(ppsBytes);
    return SetParameterSetData(handle, first.data(), first.size(), second.data(), second.size());
}

}  // namespace

TEST(HeldParameterSets, AreThoseThatTheStreamBeganWith)
{
    const Bytes start = delimiter + sps + pps + wideSps + otherPps + key;
    const Bytes unreadable = AvcUnit(7, {0x4D});
    const struct
    {
        const char* what;
        std::vector<Bytes> calls;
        Bytes last;
        uint32_t width;
    } cases[] = {
        {"after the delimiter", {start, delimiter + nextKey}, delimiter + sps + pps + nextKey, 160},
        {"at the front if there is none", {start, sei + nextKey}, sps + pps + sei + nextKey, 160},
        {"a PPS does not count", {start, pps + nextKey}, sps + pps + pps + nextKey, 160},
        {"not with an SPS", {start, delimiter + wideSps + nextKey}, delimiter + wideSps + nextKey, 320},
        {"not in other pictures",
         {start, delimiter + AvcSlice{.frame_num = 2}.Write()},
         delimiter + AvcSlice{.frame_num = 2}.Write(),
         0},
        // The SPS was read into the record of the first access unit, the PPS into that of the next.
        {"no delimiter at all", {sps + pps + key, nextKey}, sps + pps + nextKey, 160},
        {"no delimiter, SPS alone", {sps, pps + key, nextKey}, sps + pps + nextKey, 160},
        {"a PPS after a second SPS: the last SPS is described",
         {delimiter + sps + wideSps + pps + key, nextKey},
         sps + pps + nextKey,
         320},
        {"what cannot be read is held too",
         {unreadable + sps + pps + key, nextKey},
         unreadable + pps + nextKey,
         160},
        {"no PPS was seen", {sps, sps + key}, sps + sps, 160},
    };
    for (const auto& c : cases) {
        const Analysis::Report report = LastReport(c.calls);
        EXPECT_EQ(report.bytes, c.last) << c.what << ": " << Hex(report.bytes);
        EXPECT_EQ(report.info.width, c.width) << c.what;
        EXPECT_EQ(report.info.sequenceInfoValid, c.width != 0) << c.what;
    }
}

// A delimiter that is not the first unit: the place counts in the whole access unit, and the first delimiter
// counts.
TEST(HeldParameterSets, FollowADelimiterAnywhere)
{
    Analysis host(VideoCodecAVC);
    const std::pair<Bytes, Bytes> aroundThem[] = {
        {sei + sei + delimiter, sei + nextKey},  // the first SEI is current, the others pending
        {sei + delimiter, nextKey + delimiter + AvcSei({4, 1, 7}) + nextKey},
        {delimiter + sei, nextKey},
    };
    host.Feed(sps + pps + key);
    host.Flush();
    for (const auto& [before, after] : aroundThem) {
        host.Feed(before + after);
        host.Flush();
        const bool isFirst = before == delimiter + sei;
        EXPECT_EQ(host.Reports().back().bytes,
                  isFirst ? delimiter + sps + pps + sei + nextKey : before + sps + pps + after);
    }
}

TEST(HeldParameterSets, SlicesWhoseParameterSetsAreUnknownAreDropped)
{
    const std::pair<AvcPps, const char*> unknown[] = {
        {{.pic_parameter_set_id = 9, .seq_parameter_set_id = 31}, "no such SPS"},
        {{.pic_parameter_set_id = 9, .seq_parameter_set_id = 32}, "an SPS out of range"},
        {{.pic_parameter_set_id = 9, .seq_parameter_set_id = UINT32_MAX - 1}, "the largest"},
        {{.pic_parameter_set_id = 256}, "a PPS out of range"},
        {{.pic_parameter_set_id = UINT32_MAX - 1}, "the largest PPS"},
    };
    for (const auto& [unknownPps, what] : unknown) {
        const Bytes slice =
            AvcSlice{.pic_parameter_set_id = unknownPps.pic_parameter_set_id, .frame_num = 3}.Write();
        const Bytes sets = sps + pps + unknownPps.Write();
        const Bytes next = AvcSlice{.nal_unit_type = 5, .first_mb_in_slice = 20}.Write();
        EXPECT_EQ(LastReport({key + slice}).bytes, Bytes{}) << what;
        EXPECT_EQ(LastReport({sets + key + slice + next + slice}).bytes, sets + key + next) << what;
    }
}

TEST(SetParameterSetData, HoldsWhatItIsGivenAfterAStartCode)
{
    const Bytes startCode = {0, 0, 0, 1};
    const auto bare = [](const Bytes& unit) { return Bytes(unit.begin() + 4, unit.end()); };
    const struct
    {
        const char* what;
        Bytes sps;
        Bytes pps;
        bool addsToSps;
        bool addsToPps;
        int64_t result;
    } cases[] = {
        {"four bytes", sps, pps, false, false, 0},
        {"three bytes", Short(sps), Short(pps), false, false, 0},
        {"none", bare(sps), bare(pps), true, true, 0},
        {"of other types", pps, sps, false, false, 0},
        {"one byte", {0x67}, {0x68}, true, true, 0},
        {"two bytes alike", {0, 1, 7}, {0, 0, 7, 1}, true, true, 0},
        {"zeros alone", {0, 0}, pps, true, false, 0},
        {"three zeros", {0, 0, 0}, {0, 0, 0, 7}, true, true, 0},
        {"four zeros", sps, {0, 0, 0, 0, 1}, false, true, 0},
        {"two start codes", sps, {0, 0, 0, 1, 0, 0, 1, 0x68, 0xCE}, false, false, -1},
        {"a start code alone", {0, 0, 1}, pps, false, false, -1},
        {"too short", sps, {0, 0, 1, 0x68}, false, false, -1},
        {"forbidden_zero_bit", {0xE7, 1, 2, 3}, pps, true, false, -1},
        {"forbidden_zero_bit of the PPS", sps, {0xE8, 1, 2}, false, true, -1},
    };
    for (const auto& row : cases) {
        Analysis host(VideoCodecAVC);
        Set(host.Handle(), sps, pps);  // so that the slice can be read
        EXPECT_EQ(Set(host.Handle(), row.sps, row.pps), row.result) << row.what;
        host.Feed(key);
        host.Flush();
        const Bytes heldSps = (row.addsToSps ? startCode : Bytes{}) + row.sps;
        const Bytes heldPps = (row.addsToPps ? startCode : Bytes{}) + row.pps;
        ASSERT_EQ(host.Reports().size(), 1u) << row.what;
        EXPECT_EQ(host.Reports()[0].bytes, heldSps + heldPps + key) << row.what;
        EXPECT_EQ(Set(host.Handle(), wideSps, {0x68}), 0) << row.what;
        host.Feed(key);
        host.Flush();
        EXPECT_EQ(host.Reports()[1].bytes, wideSps + startCode + Bytes{0x68} + key) << row.what;
        EXPECT_EQ(host.Reports()[1].info.width, 320u) << row.what;
    }
}

TEST(GetParameterSetData, FindsTheLastOfEachKindAndKeepsNothing)
{
    const Bytes slice = AvcSlice{}.Write();
    const Bytes large = AvcUnit(7, Bytes(70000, 0x42));
    const Bytes largePps = AvcUnit(8, Bytes(1020, 0x42));
    const struct
    {
        const char* what;
        Bytes stream;
        Bytes sps;
        Bytes pps;
        int64_t result;
    } cases[] = {
        {"both", Bytes{9, 9} + sps + pps + slice, sps, pps, 0},
        {"two SPS", sps + pps + Short(wideSps) + slice, Short(wideSps), pps, 0},
        {"after slices", slice + pps + slice + sps, sps, pps, 0},
        {"large ones", large + largePps + slice, large, largePps, 0},
        {"large, then small", large + largePps + sps + pps, sps, pps, 0},
        {"with zeros after them", pps + Bytes{0, 0} + sps, sps, pps + Bytes{0, 0}, 0},
        {"an SPS alone", sps, sps, {}, 0},
        {"a subset SPS is none", AvcUnit(15, {1, 2, 3}) + slice, {}, {}, 0},
        {"slices alone", slice + slice, {}, {}, 0},
        {"start codes alone", Bytes{0, 0, 1, 0, 0, 0, 1} + pps, {}, pps, 0},
        {"four bytes", {0, 0, 1, 0x67}, {}, {}, 0},
        {"no start code", Bytes(5, 0x67), {}, {}, -1},
    };
    Analysis host(VideoCodecAVC);
    for (const auto& row : cases) {
        const PageBytes stream = AtPageEnd(row.stream);
        unsigned char marker = 0;
        ParameterSetData found = {&marker, 7, &marker, 7, &marker, 7};
        EXPECT_EQ(GetParameterSetData(host.Handle(), stream.data(), stream.size(), &found), row.result)
            << row.what;
        EXPECT_EQ(CopyOf(found.sps, found.spsSize), row.sps) << row.what;
        EXPECT_EQ(CopyOf(found.pps, found.ppsSize), row.pps) << row.what;
        EXPECT_EQ(found.sps == nullptr, found.spsSize == 0) << row.what;
        EXPECT_EQ(found.pps == nullptr, found.ppsSize == 0) << row.what;
        EXPECT_TRUE(found.vps == nullptr && found.vpsSize == 0) << row.what;
    }
    host.Feed(key);
    host.Flush();
    EXPECT_EQ(host.Reports().size(), 0u) << "nothing was read into the tables";
}

// The results of one may be passed to the other.
TEST(GetParameterSetData, GivesWhatSetParameterSetDataTakes)
{
    Bytes stream = wideSps + AvcPps{.seq_parameter_set_id = 1}.Write();
    Analysis host(VideoCodecAVC);
    ParameterSetData found{};
    ASSERT_EQ(GetParameterSetData(host.Handle(), stream.data(), Size(stream), &found), 0);
    EXPECT_EQ(SetParameterSetData(host.Handle(), found.sps, found.spsSize, found.pps, found.ppsSize), 0);
    host.Feed(key);
    host.Flush();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_EQ(host.Reports()[0].bytes, stream + key);
    EXPECT_EQ(host.Reports()[0].info.width, 320u);
}

}  // namespace videoparams::test
