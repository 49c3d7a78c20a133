#include "support/Analysis.h"
#include "support/AvcStream.h"
#include "support/HevcStream.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

enum Kind
{
    Plain,
    Key,
};

// What a test needs of a codec's streams.
struct Codec
{
    const char* name;
    VideoCodecType type;
    uint32_t width;
    Bytes sets;
    Bytes delimiter;
    Bytes sei;
    Bytes filler;
    Bytes (*slice)(uint32_t picture, Kind kind, bool first);
    std::string classes;  // a letter a unit type: Slice, Leading, Other

    // A unit that says nothing: parameter sets of one byte are cut short.
    Bytes UnitOfType(uint32_t nal_unit_type) const
    {
        return type == VideoCodecAVC ? AvcUnit(nal_unit_type, {0x01}) : HevcUnit(nal_unit_type, {0x01});
    }
};

Bytes AvcSliceOf(uint32_t picture, Kind kind, bool first)
{
    return AvcSlice{.nal_unit_type = kind == Key ? 5u : 1u,
                    .first_mb_in_slice = first ? 0u : 20u,
                    .frame_num = kind == Key ? 0 : picture,
                    .idr_pic_id = picture}
        .Write();
}

Bytes HevcSliceOf(uint32_t picture, Kind kind, bool first)
{
    return HevcSlice{.nal_unit_type = kind == Key ? 19u : 1u,
                     .first_slice_segment_in_pic_flag = first,
                     .sliceData = {static_cast<unsigned char>(picture + 1), 0x6A}}
        .Write();
}

const Codec avc = {"Avc",
                   VideoCodecAVC,
                   160,
                   AvcSps{}.Write() + AvcPps{}.Write(),
                   AvcDelimiter(),
                   AvcSei(),
                   AvcUnit(12, {0xFF, 0x80}, 0),
                   AvcSliceOf,
                   "OSSOOSLLLLOOOOLLLLLOOOOOOOOOOOOO"};

const Codec hevc = {"Hevc",
                    VideoCodecHEVC,
                    416,
                    HevcVps{}.Write() + HevcSps{}.Write() + HevcPps(),
                    HevcDelimiter(),
                    HevcSei(),
                    HevcUnit(38, {0xFF, 0x80}),
                    HevcSliceOf,
                    "SSSSSSSSSSOOOOOOSSSSSSSSOOOOOOOOLLLLOOOLOLLLLOOOLLLLLLLLOOOOOOOO"};

class AccessUnits : public testing::TestWithParam<const Codec*>
{
protected:
    Bytes Slice(uint32_t picture, Kind kind = Plain) const { return codec.slice(picture, kind, true); }
    Bytes NextSlice(uint32_t picture, Kind kind = Plain) const { return codec.slice(picture, kind, false); }

    struct Expected
    {
        Bytes bytes;
        uint32_t keyFrame;
        bool described;
    };

    void ExpectReports(const std::vector<Expected>& expected) const
    {
        ASSERT_EQ(host.Reports().size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            const Analysis::Report& report = host.Reports()[i];
            EXPECT_EQ(report.bytes, expected[i].bytes) << i << ": " << Hex(report.bytes);
            EXPECT_EQ(report.info.keyFrame, expected[i].keyFrame) << i;
            EXPECT_EQ(report.info.sequenceInfoValid, expected[i].described) << i;
            EXPECT_EQ(report.info.width, expected[i].described ? codec.width : 0) << i;
        }
    }

    const Codec& codec = *GetParam();
    const bool isAvc = codec.type == VideoCodecAVC;
    Analysis host{codec.type};
};

INSTANTIATE_TEST_SUITE_P(, AccessUnits, testing::Values(&avc, &hevc),
                         [](const auto& test) { return std::string(test.param->name); });

}  // namespace

// Where a unit between two pictures belongs, for every type: alone, and behind a leading unit.
TEST_P(AccessUnits, UnitsGoWhereTheirTypeBelongs)
{
    for (uint32_t type = 0; type < codec.classes.size(); ++type) {
        if (codec.classes[type] == 'S')
            continue;
        const Bytes unit = codec.UnitOfType(type);
        const bool leading = codec.classes[type] == 'L';
        Analysis stream(codec.type);
        stream.Feed(unit + codec.sets);
        stream.Feed(Slice(0, Key) + unit + Slice(1) + codec.sei + unit + Slice(2));
        stream.Flush();
        ASSERT_EQ(stream.Reports().size(), 2u) << "the first of the second call is passed over";
        EXPECT_EQ(stream.Reports()[0].bytes, (leading ? unit : Bytes{}) + Slice(1)) << type;
        EXPECT_EQ(stream.Reports()[1].bytes, codec.sei + unit + Slice(2)) << type;

        Analysis start(codec.type);
        start.Feed(unit + codec.sets + Slice(0, Key));
        start.Flush();
        ASSERT_EQ(start.Reports().size(), 1u);
        EXPECT_EQ(start.Reports()[0].bytes, (leading ? unit : Bytes{}) + codec.sets + Slice(0, Key)) << type;
    }
}

TEST_P(AccessUnits, EverySliceTypeIsTakenAndSomeMakeAKeyFrame)
{
    for (uint32_t type = 0; type < codec.classes.size(); ++type) {
        if (codec.classes[type] != 'S')
            continue;
        Analysis stream(codec.type);
        const Bytes slice =
            isAvc ? AvcSlice{.nal_unit_type = type}.Write() : HevcSlice{.nal_unit_type = type}.Write();
        stream.Feed(codec.sets + slice);
        stream.Flush();
        ASSERT_EQ(stream.Reports().size(), 1u) << type;
        EXPECT_EQ(stream.Reports()[0].bytes, codec.sets + slice) << type;
        EXPECT_EQ(stream.Reports()[0].info.keyFrame, isAvc ? type == 5 : type >= 16 && type <= 21) << type;
    }
}

TEST_P(AccessUnits, LeadingUnitsInsideAPictureStayInIt)
{
    const Bytes picture = codec.sets + Slice(0, Key) + codec.sei + NextSlice(0, Key);
    host.Feed(picture + codec.delimiter + codec.sei);
    host.Feed(Slice(1));
    host.Flush();
    ExpectReports({{picture, 1, true}, {codec.delimiter + codec.sei + Slice(1), 0, false}});
}

// What is pending at a flush joins the last access unit. An H.264 merge takes the key-frame flag over, too.
TEST_P(AccessUnits, AFlushTakesInWhatIsPending)
{
    host.Feed(codec.sets + Slice(0, Key) + codec.sei + codec.filler);
    host.Flush();
    ExpectReports({{codec.sets + Slice(0, Key) + codec.sei + codec.filler, isAvc ? 0u : 1u, true}});
}

TEST_P(AccessUnits, AFlushedHandleTakesUpANewStream)
{
    const Bytes picture = codec.delimiter + codec.sets + Slice(0, Key);
    for (unsigned round = 0; round < 2; ++round) {
        host.Feed(picture);
        host.Feed(codec.delimiter + Slice(1) + codec.sei);
        EXPECT_EQ(round == 0 ? host.Feed(codec.sei.data(), 0) : host.Feed(nullptr, 9), 0);
        EXPECT_EQ(host.Reports().size(), 2 * round + 2);
        host.Flush();
    }
    const Bytes last = codec.delimiter + Slice(1) + codec.sei;
    ExpectReports({{picture, 1, true}, {last, 0, false}, {picture, 1, true}, {last, 0, false}});

    // A parameter set that waits for its picture describes nothing behind a flush.
    Analysis waiting(codec.type);
    waiting.Feed(codec.sets);
    waiting.Flush();
    waiting.Feed(Slice(1));
    waiting.Flush();
    ASSERT_EQ(waiting.Reports().size(), 2u);
    EXPECT_EQ(waiting.Reports()[0].bytes, codec.sets);
    EXPECT_TRUE(waiting.Reports()[0].info.sequenceInfoValid);
    EXPECT_EQ(waiting.Reports()[1].bytes, Slice(1));
    EXPECT_FALSE(waiting.Reports()[1].info.sequenceInfoValid);
}

// The rate of a VPS goes to the SPS of the same access unit where that gives none, to no other and not over a
// flush, not even while it waits.
TEST(HevcAccessUnits, ARateStaysWithItsAccessUnit)
{
    const HevcVui thirty = {.timing = Timing{1, 30}};
    const Bytes vps = HevcVps{.timing = thirty.timing}.Write();
    const Bytes sets = HevcSps{}.Write();
    const Bytes slice = HevcSliceOf(0, Key, true);
    const std::vector<Bytes> cases[] = {
        {vps, {}, sets + slice},                                      // read into the current record
        {HevcDelimiter() + vps, {}, HevcDelimiter() + sets + slice},  // into the pending one
        {vps + slice, sets + slice},
        {HevcSps{.vui = thirty}.Write() + slice + sets + HevcSliceOf(0, Key, false)},
    };
    for (const std::vector<Bytes>& calls : cases) {
        Analysis host(VideoCodecHEVC);
        for (const Bytes& call : calls)
            host.Feed(call);
        host.Flush();
        EXPECT_EQ(host.Reports().back().info.width, 416u);
        EXPECT_EQ(host.Reports().back().info.frameRateNumerator, 0u) << &calls - cases;
    }
}

// The second picture completes in the same call as the first, whose description stays.
TEST_P(AccessUnits, OfSeveralInOneCallTheLastIsReported)
{
    host.Feed(codec.sets + Slice(0, Key) + codec.delimiter + Slice(1) + Slice(2));
    ExpectReports({{codec.delimiter + Slice(1), 0, true}});
}

TEST_P(AccessUnits, ReportedBytesStayUntilTheRingComesRound)
{
    for (const uint32_t queueCount : {2u, 3u, 0u}) {
        Analysis ring(codec.type, queueCount, 7);
        ring.Feed(codec.sets + Slice(0, Key));
        std::vector<const unsigned char*> addresses;
        const uint32_t entries = queueCount == 0 ? 6 : queueCount;
        for (uint32_t picture = 1; picture <= 2 * entries; ++picture) {
            ring.Feed(Slice(picture));
            ASSERT_EQ(ring.Reports().size(), picture);
            addresses.push_back(ring.Reports().back().info.accessUnitData);
            // The entry of the report before last is the next to be used.
            for (uint32_t back = 1; back + 1 < entries && back < picture; ++back) {
                const Analysis::Report& report = ring.Reports()[picture - 1 - back];
                EXPECT_EQ(CopyOf(report.info.accessUnitData, report.info.accessUnitSize), report.bytes);
            }
            EXPECT_EQ(picture > entries && addresses.back() != addresses[picture - 1 - entries], false);
        }
    }
}

TEST_P(AccessUnits, AUnitWithTheForbiddenBitEndsTheCall)
{
    Bytes forbidden = codec.sei;
    forbidden[4] = static_cast<unsigned char>(forbidden[4] | 0x80);
    host.Feed(codec.sets + Slice(0, Key));
    EXPECT_EQ(host.Feed(Slice(1) + codec.sei + forbidden + codec.delimiter + Slice(2)), -1);
    ExpectReports({{codec.sets + Slice(0, Key), 1, true}});
    EXPECT_EQ(host.Feed(Slice(3)), 0);
    EXPECT_EQ(host.Flush(), 0);
    ExpectReports(
        {{codec.sets + Slice(0, Key), 1, true}, {Slice(1), 0, false}, {codec.sei + Slice(3), 0, false}});
}

TEST_P(AccessUnits, BuffersWithoutAUnitChangeNothing)
{
    host.Feed(codec.sets + Slice(0, Key) + codec.sei);
    EXPECT_EQ(host.Feed({7, 0, 0, 1, 9}), -1) << "no start code in sight";
    EXPECT_EQ(host.Feed({0, 0, 1, 9}), 0);
    EXPECT_EQ(host.Feed({0}), 0);
    EXPECT_EQ(host.Feed(Bytes(300)), -1);
    // A start code alone ends the call.
    EXPECT_EQ(host.Feed(Bytes{0, 0, 1} + Slice(7)), 0);
    EXPECT_EQ(host.Reports().size(), 0u);
    host.Feed(Bytes{8, 9} + Slice(1) + Bytes{0, 0, 1} + codec.filler);
    host.Flush();
    ExpectReports({{codec.sets + Slice(0, Key), 1, true}, {codec.sei + Slice(1), 0, false}});
}

// H.264 only: parameter sets are held and put into key frames that come without.

namespace {

const Bytes sps = AvcSps{}.Write();
const Bytes pps = AvcPps{}.Write();
const Bytes otherSps = AvcSps{.seq_parameter_set_id = 1, .pic_width_in_mbs_minus1 = 3}.Write();
const Bytes otherPps = AvcPps{.pic_parameter_set_id = 1}.Write();
const Bytes key = AvcSliceOf(0, Key, true);
const Bytes nextKey = AvcSliceOf(1, Key, true);

Analysis::Report LastReport(const std::vector<Bytes>& calls)
{
    Analysis host(VideoCodecAVC);
    for (const Bytes& call : calls)
        host.Feed(call);
    host.Flush();
    return host.Reports().empty() ? Analysis::Report{} : host.Reports().back();
}

}  // namespace

TEST(AvcAccessUnits, KeyFramesWithoutAnSpsGetTheFirstOnesOfTheStream)
{
    const Bytes delimiter = AvcDelimiter();
    const Bytes start = delimiter + sps + pps + otherSps + otherPps + key;
    const struct
    {
        const char* what;
        std::vector<Bytes> calls;
        Bytes last;
        uint32_t width;
    } cases[] = {
        {"behind the delimiter", {start, delimiter + nextKey}, delimiter + sps + pps + nextKey, 160},
        {"in front where there is none", {start, AvcSei() + nextKey}, sps + pps + AvcSei() + nextKey, 160},
        {"a PPS does not count", {start, pps + nextKey}, sps + pps + pps + nextKey, 160},
        {"not with an SPS", {start, delimiter + otherSps + nextKey}, delimiter + otherSps + nextKey, 64},
        {"not in other pictures",
         {start, delimiter + AvcSliceOf(2, Plain, true)},
         delimiter + AvcSliceOf(2, Plain, true),
         0},
        // The SPS was read into the record of the first access unit, the PPS into that of the next.
        {"no delimiter at all", {sps + pps + key, nextKey}, sps + pps + nextKey, 160},
        {"no delimiter, SPS alone", {sps, pps + key, nextKey}, sps + pps + nextKey, 160},
        // What cannot be read is held all the same.
        {"unreadable",
         {AvcUnit(7, {0x4D}) + sps + pps + key, nextKey},
         AvcUnit(7, {0x4D}) + pps + nextKey,
         160},
    };
    for (const auto& c : cases) {
        const Analysis::Report report = LastReport(c.calls);
        EXPECT_EQ(report.bytes, c.last) << c.what << ": " << Hex(report.bytes);
        EXPECT_EQ(report.info.width, c.width) << c.what;
        EXPECT_EQ(report.info.sequenceInfoValid, c.width != 0) << c.what;
    }
}

// A delimiter that is not the first unit: it counts from where it lies in the whole access unit.
TEST(AvcAccessUnits, InsertionFollowsADelimiterThatIsNotTheFirstUnit)
{
    const Bytes sei = AvcSei();
    const Bytes delimiter = AvcDelimiter();
    Analysis host(VideoCodecAVC);
    host.Feed(sps + pps + key);
    host.Flush();
    host.Feed(sei + sei + delimiter + sei + nextKey);  // the first SEI is current, the others pending
    host.Flush();
    EXPECT_EQ(host.Reports().back().bytes, sei + sei + delimiter + sps + pps + sei + nextKey);
    host.Feed(sei + delimiter + nextKey + delimiter + AvcSei({4, 1, 7}) + nextKey);  // the first one counts
    host.Flush();
    EXPECT_EQ(host.Reports().back().bytes,
              sei + delimiter + sps + pps + nextKey + delimiter + AvcSei({4, 1, 7}) + nextKey);
}

TEST(AvcAccessUnits, SlicesWithoutTheirParameterSetsAreDropped)
{
    const Bytes unknown = AvcSlice{.pic_parameter_set_id = 9, .frame_num = 3}.Write();
    Analysis host(VideoCodecAVC);
    EXPECT_EQ(host.Feed(key + unknown), 0);
    host.Flush();
    EXPECT_EQ(host.Reports().size(), 0u);
    host.Feed(sps + pps + key + unknown + AvcSliceOf(0, Key, false) + unknown);
    host.Flush();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_EQ(host.Reports()[0].bytes, sps + pps + key + AvcSliceOf(0, Key, false));
}

}  // namespace videoparams::test
