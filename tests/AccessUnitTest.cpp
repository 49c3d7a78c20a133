// Which units an access unit has, and what is reported with it.

#include "support/Analysis.h"
#include "support/Codec.h"

namespace videoparams::test {

namespace {

class AccessUnits : public CodecTest
{
protected:
    struct Expected
    {
        Bytes bytes;
        bool isKey;
        bool isDescribed;
    };

    void ExpectReports(const std::vector<Expected>& expected) const
    {
        ASSERT_EQ(host.Reports().size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            const Analysis::Report& report = host.Reports()[i];
            EXPECT_EQ(report.bytes, expected[i].bytes) << i << ": " << Hex(report.bytes);
            EXPECT_EQ(report.info.keyFrame, expected[i].isKey) << i;
            EXPECT_EQ(report.info.sequenceInfoValid, expected[i].isDescribed) << i;
            EXPECT_EQ(report.info.width, expected[i].isDescribed ? codec.width : 0) << i;
        }
    }

    Analysis host{codec.type};
};

INSTANTIATE_TEST_SUITE_P(, AccessUnits, bothCodecs, nameOfCodec);

// All units in one stream.
std::vector<Analysis::Report> Analysed(const Codec& codec, const std::vector<Bytes>& calls)
{
    Analysis host(codec.type);
    for (const Bytes& call : calls)
        host.Feed(call);
    host.Flush();
    return host.Reports();
}

}  // namespace

// Every type between two pictures: alone, after a leading unit, and when nothing is open.
TEST_P(AccessUnits, UnitsGoToTheAccessUnitOfTheirType)
{
    for (uint32_t type = 0; type < codec.typeCount; ++type) {
        if (codec.IsSlice(type))
            continue;
        const Bytes unit = codec.unit(type, {0x01});  // parameter sets are cut short
        const bool leads = codec.kindOf(type) == UnitKind::Leading;
        const auto between = Analysed(codec, {codec.sets, Key() + unit + Slice(1), Sei() + unit + Slice(2)});
        ASSERT_EQ(between.size(), 3u);
        EXPECT_EQ(between[0].bytes, codec.sets + Key() + (leads ? Bytes{} : unit)) << type;
        EXPECT_EQ(between[1].bytes, (leads ? unit : Bytes{}) + Slice(1)) << type;
        EXPECT_EQ(between[2].bytes, Sei() + unit + Slice(2)) << type;

        const auto start = Analysed(codec, {unit + codec.sets + Key()});
        ASSERT_EQ(start.size(), 1u);
        EXPECT_EQ(start[0].bytes, (leads ? unit : Bytes{}) + codec.sets + Key()) << type;
    }
}

TEST_P(AccessUnits, SlicesOfEveryTypeAreTakenAndSomeMakeAKeyFrame)
{
    for (uint32_t type = 0; type < codec.typeCount; ++type) {
        if (!codec.IsSlice(type))
            continue;
        const Bytes slice = codec.IsAvc() ? AvcSlice{.nal_unit_type = type}.Write()
                                          : HevcSlice{.nal_unit_type = type}.Write();
        const auto reports = Analysed(codec, {codec.sets + slice});
        ASSERT_EQ(reports.size(), 1u) << type;
        EXPECT_EQ(reports[0].bytes, codec.sets + slice) << type;
        EXPECT_EQ(reports[0].info.keyFrame, codec.kindOf(type) == UnitKind::KeySlice) << type;
    }
}

TEST_P(AccessUnits, LeadingUnitsInsideAPictureStayInIt)
{
    const Bytes picture = codec.sets + Key() + Sei() + NextOfKey();
    host.Feed(picture + codec.delimiter + Sei());
    host.Feed(Slice(1));
    host.Flush();
    ExpectReports({{picture, true, true}, {codec.delimiter + Sei() + Slice(1), false, false}});
}

// What is pending at a flush joins the last access unit. An H.264 merge takes the key-frame flag over, too.
TEST_P(AccessUnits, AFlushTakesInWhatIsPending)
{
    host.Feed(codec.sets + Key() + Sei() + Filler());
    host.Flush();
    ExpectReports({{codec.sets + Key() + Sei() + Filler(), !codec.IsAvc(), true}});
}

TEST_P(AccessUnits, AFlushedHandleTakesUpANewStream)
{
    const Bytes picture = codec.delimiter + codec.sets + Key();
    for (unsigned round = 0; round < 2; ++round) {
        host.Feed(picture);
        host.Feed(codec.delimiter + Slice(1) + Sei());
        EXPECT_EQ(round == 0 ? host.Feed(picture.data(), 0) : host.Feed(nullptr, 9), 0);
        EXPECT_EQ(host.Reports().size(), 2 * round + 2);
        host.Flush();
    }
    const Bytes last = codec.delimiter + Slice(1) + Sei();
    ExpectReports({{picture, true, true}, {last, false, false}, {picture, true, true}, {last, false, false}});

    // A parameter set that waits for its picture describes nothing after a flush.
    const auto reports = Analysed(codec, {codec.sets, {}, Slice(1)});
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].bytes, codec.sets);
    EXPECT_TRUE(reports[0].info.sequenceInfoValid);
    EXPECT_EQ(reports[1].bytes, Slice(1));
    EXPECT_FALSE(reports[1].info.sequenceInfoValid);
}

// The second picture completes in the same call as the first, whose description stays.
TEST_P(AccessUnits, OfSeveralInOneCallTheLastIsReported)
{
    host.Feed(codec.sets + Key() + codec.delimiter + Slice(1) + Slice(2));
    ExpectReports({{codec.delimiter + Slice(1), false, true}});
}

// The entry of the report before the last one is the next to be used. By default there are six.
TEST_P(AccessUnits, ReportedBytesStayUntilTheRingComesRound)
{
    for (const uint32_t queueCount : {2u, 3u, 0u}) {
        Analysis ring(codec.type, queueCount, 7);
        ring.Feed(codec.sets + Key());
        const uint32_t entries = queueCount == 0 ? 6 : queueCount;
        for (uint32_t picture = 1; picture <= 2 * entries; ++picture) {
            ring.Feed(Slice(picture));
            ASSERT_EQ(ring.Reports().size(), picture);
            for (uint32_t back = 1; back + 1 < entries && back < picture; ++back) {
                const Analysis::Report& report = ring.Reports()[picture - 1 - back];
                EXPECT_EQ(CopyOf(report.info.accessUnitData, report.info.accessUnitSize), report.bytes);
            }
            if (picture > entries) {
                EXPECT_EQ(ring.Reports().back().info.accessUnitData,
                          ring.Reports()[picture - 1 - entries].info.accessUnitData);
            }
        }
    }
}

TEST_P(AccessUnits, AUnitWithTheForbiddenBitEndsTheCall)
{
    Bytes forbidden = Sei();
    forbidden[4] |= 0x80;
    host.Feed(codec.sets + Key());
    EXPECT_EQ(host.Feed(Slice(1) + Sei() + forbidden + codec.delimiter + Slice(2)), -1);
    EXPECT_EQ(host.Feed(Slice(3)), 0);
    EXPECT_EQ(host.Flush(), 0);
    ExpectReports(
        {{codec.sets + Key(), true, true}, {Slice(1), false, false}, {Sei() + Slice(3), false, false}});
}

TEST_P(AccessUnits, BuffersWithoutAUnitChangeNothing)
{
    host.Feed(codec.sets + Key() + Sei());
    EXPECT_EQ(host.Feed({7, 0, 0, 1, 9}), -1) << "no start code that counts";
    EXPECT_EQ(host.Feed({0, 0, 1, 9}), 0);
    EXPECT_EQ(host.Feed({0}), 0);
    EXPECT_EQ(host.Feed(Bytes(300)), -1);
    EXPECT_EQ(host.Feed(Bytes{0, 0, 1} + Slice(7)), 0) << "a start code alone ends the call";
    EXPECT_EQ(host.Reports().size(), 0u);
    host.Feed(Bytes{8, 9} + Slice(1) + Bytes{0, 0, 1} + Filler());
    host.Flush();
    ExpectReports({{codec.sets + Key(), true, true}, {Sei() + Slice(1), false, false}});
}

// Units of a layer above 0 are treated like those of layer 0: its slice starts a picture, its SPS is
// described.
TEST(HevcAccessUnits, LayersAboveTheBaseAreTreatedLikeIt)
{
    const Bytes layerSps = HevcUnit(33, RbspOf(HevcSps{.pic_width_in_luma_samples = 832}), 1);
    const Bytes base = HevcSlice{.nal_unit_type = 19}.Write();
    const Bytes layer = HevcSlice{.nal_unit_type = 19}.Write(1);
    const Bytes highest = HevcSlice{}.Write(63);
    const auto reports = Analysed(hevc, {hevc.sets + layerSps + base, layer, highest, HevcSei() + base});
    ASSERT_EQ(reports.size(), 4u);
    EXPECT_EQ(reports[0].bytes, hevc.sets + layerSps + base);
    EXPECT_EQ(reports[0].info.width, 832u);
    EXPECT_EQ(reports[1].bytes, layer);
    EXPECT_TRUE(reports[1].info.keyFrame);
    EXPECT_EQ(reports[2].bytes, highest);
    EXPECT_EQ(reports[3].bytes, HevcSei() + base);
}

}  // namespace videoparams::test
