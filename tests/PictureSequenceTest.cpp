// QueryType and VideoSampleTest.

#include "support/Analysis.h"
#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/PageBytes.h"
#include "support/Probes.h"
#include "support/TestStream.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace videoparams::test {

namespace {

const Bytes sets = AvcSps{}.Write() + AvcPps{}.Write();

Bytes SliceOf(uint32_t nal_unit_type, uint32_t slice_type)
{
    return AvcSlice{.nal_unit_type = nal_unit_type, .slice_type = slice_type}.Write();
}

TEST(PictureType, IsThatOfTheFirstSliceOfTypeOneOrFive)
{
    const Bytes forbidden = {0, 0, 1, 0x81, 0x88, 0x80};
    const Bytes bare = {0, 0, 0, 1};
    struct
    {
        const char* name;
        Bytes sample;
        int32_t type;
    } const cases[] = {
        {"IDR", AvcDelimiter() + sets + SliceOf(5, 7), 7},
        {"first of two", SliceOf(1, 5) + SliceOf(1, 2), 5},
        {"without parameter sets", AvcSei() + SliceOf(1, 1), 1},
        {"beyond the standard", SliceOf(1, 4711), 4711},
        {"behind a partition", SliceOf(2, 0) + SliceOf(1, 6), 6},
        {"partitions alone", SliceOf(2, 0) + SliceOf(3, 0) + SliceOf(4, 0), -1},
        {"no slice", AvcDelimiter() + sets, -1},
        {"a forbidden unit in front", forbidden + SliceOf(1, 5), -1},
        {"a forbidden unit behind", SliceOf(1, 5) + forbidden, 5},
        {"a start code alone in front", bare + SliceOf(1, 5), -1},
        {"no start code", Bytes(9, 0x65), -1},
        {"four bytes", {0, 0, 1, 0x65}, -1},
        {"nothing", {}, -1},
        {"a slice of its header alone", Bytes{0, 0, 1, 0x65} + SliceOf(1, 5), 0},
    };
    AvcParser parser;
    for (const auto& row : cases) {
        const PageBytes sample = AtPageEnd(row.sample);
        auto type = static_cast<VideoPicType>(77);
        const Result result = parser.QuerySliceType(sample.data(), sample.size(), type);
        EXPECT_EQ(result, row.type == -1 ? -1 : 0) << row.name;
        EXPECT_EQ(type, row.type) << row.name;
    }
}

// The block for the RBSP went when there was no memory for a larger one.
TEST(PictureType, IsUnknownWithoutMemoryForTheFirstBytesOfASlice)
{
    AvcParser parser;
    const Bytes large = AvcUnit(7, Bytes(3000, 0x42));
    const Bytes slice = AvcUnit(5, {0x88, 0x80, 0, 0, 3, 0, 0, 3, 1});
    VideoInfoEx test;
    auto type = static_cast<VideoPicType>(77);
    FailingHeap heap(1, FailingHeap::Failure::ForGood);
    EXPECT_EQ(heap.During([&] { return parser.VideoSampleTest(large.data(), Size(large), &test); }), -1);
    const auto query = [&] { return parser.QuerySliceType(slice.data(), Size(slice), type); };
    EXPECT_EQ(heap.During(query), -1);
    EXPECT_EQ(type, VideoPicUnknown);
    heap.Recover();
    EXPECT_EQ(heap.During(query), 0);
    EXPECT_EQ(type, VideoPicAllI);
}

// A sample in a few letters: D an IDR picture, I P B reference pictures, b no reference; frame_num; t or f
// for a top or bottom field; ! when the test is to flag it.
struct Sample
{
    Bytes bytes;
    VideoInfoEx expected{};
};

Sample ReadSample(const std::string& text, const AvcSps& sps)
{
    const char letter = text[0];
    const bool isField = text.find_first_of("tb", 1) != std::string::npos;
    const AvcSlice slice = {
        .nal_unit_type = letter == 'D' ? 5U : 1U,
        .nal_ref_idc = letter == 'b' ? 0U : 2U,
        .slice_type = letter == 'D' || letter == 'I' ? 7U
                      : letter == 'P'                ? 5U
                                                     : 1U,
        .frame_num = static_cast<uint32_t>(std::stoul(text.substr(1))),
        .field_pic_flag = isField ? 1U : 0U,
        .bottom_field_flag = text.find('b', 1) != std::string::npos ? 1U : 0U,
    };
    Sample sample = {AvcDelimiter() + slice.Write(sps)};
    sample.expected.sampleError = text.back() == '!' ? 1 : 0;
    sample.expected.isFrame = isField ? 0 : 1;
    sample.expected.isIntra = letter == 'D' || letter == 'I' ? 1 : 0;
    return sample;
}

VideoInfoEx Tested(CParseAVCParams& parser, const Bytes& sample, Result expectedResult = 0)
{
    const PageBytes input = AtPageEnd(sample);
    VideoInfoEx test{77, 77, 77};
    EXPECT_EQ(parser.VideoSampleTest(input.data(), input.size(), &test), expectedResult);
    return test;
}

std::string Text(const VideoInfoEx& test)
{
    return "error " + std::to_string(test.sampleError) + ", frame " + std::to_string(test.isFrame) +
           ", intra " + std::to_string(test.isIntra);
}

TEST(SampleTest, FlagsWhatBreaksTheSequence)
{
    const AvcSps frames;
    const AvcSps fields = {.frame_mbs_only_flag = 0};
    const AvcSps gaps = {.gaps_in_frame_num_value_allowed_flag = 1, .frame_mbs_only_flag = 0};
    const AvcSps unlimited = {.log2_max_frame_num_minus4 = 28};
    const AvcSps unlimitedFields = {.log2_max_frame_num_minus4 = 28, .frame_mbs_only_flag = 0};
    const AvcSps nearlyUnlimited = {.log2_max_frame_num_minus4 = 27};
    struct
    {
        const char* name;
        AvcSps sps;
        const char* samples;
    } const cases[] = {
        {"in order", frames, "D0 P1 P2 I3 P4 B5"},
        {"without reference", frames, "D0 P1 b2 b2 P2 b3 P3"},
        {"wrap at MaxFrameNum", frames, "D0 I15! P0 P1 I15! b0 b0 P0 P2!"},
        {"an IDR picture begins anew", frames, "D0 P1 P2 D0 P1 D0 b1 D0 P1"},
        {"one is missing", frames, "D0 P1 P3! P4"},
        {"one is missing in front of pictures without reference", frames, "D0 P1 b3! b3! P3! b4 P4"},
        {"one without reference is missing", frames, "D0 P1 P2 P3"},
        {"one comes twice", frames, "D0 P1 P1! P2"},
        {"two change places", frames, "D0 P2! P1! P3! P4"},
        {"begins in the middle", frames, "I7! P8 P9"},
        {"gaps are allowed", gaps, "D0 P7 P3 b9 P9t P12b P1t"},
        {"no MaxFrameNum", unlimited, "D0 P9 P3 P3"},
        {"no MaxFrameNum, fields", unlimitedFields, "D0t P0b P9t P9b P3t P3b"},
        {"the largest MaxFrameNum", nearlyUnlimited, "D0 I2147483647! P0 P2!"},
        {"field pairs", fields, "D0t P0b P1t P1b b2t b2b P2t P2b"},
        {"field pairs, bottom first", fields, "D0b P0t P1b P1t P2b P2t"},
        {"a missing field pair", fields, "D0t P0b P2t! P2b! P3t P3b"},
        {"frames among field pairs", fields, "D0t P0b P1 P2t P2b P3"},
        {"an IDR picture behind a missing one", fields, "D0t P0b P2t! P2b! D0t P0b P1t"},
        {"an intra pair begins with a gap", fields, "D0t P0b I2t! P2b! P3t P3b"},
        // What the test flags in sound streams.
        {"both fields intra", fields, "D0t I0b! P1t! P1b! I2t P2b P3t P3b"},
        {"field pairs behind an intra frame", fields, "D0t P0b I1 P2t P2b! P3t! P3b! D0t P0b P1t"},
        {"field pairs behind an intra frame, bottom first", fields, "D0 P1b P1t P2b P2t"},
    };
    for (const auto& row : cases) {
        AvcParser parser;
        const Bytes rowSets = row.sps.Write() + AvcPps{}.Write();
        EXPECT_EQ(Text(Tested(parser, rowSets)), Text({0, 0, 0}));
        std::istringstream samples(row.samples);
        std::string told;
        for (std::string text; samples >> text;) {
            const Sample sample = ReadSample(text, row.sps);
            told += " " + text;
            EXPECT_EQ(Text(Tested(parser, sample.bytes)), Text(sample.expected)) << row.name << ":" << told;
        }
    }
}

TEST(SampleTest, LooksAtTheFirstSliceAlone)
{
    AvcParser parser;
    const Bytes partition = AvcSlice{.nal_unit_type = 2, .slice_type = 2, .frame_num = 1}.Write();
    EXPECT_EQ(Text(Tested(parser, sets + SliceOf(5, 5))), Text({0, 1, 1}))
        << "an IDR slice is intra whatever it says";
    EXPECT_EQ(Text(Tested(parser, partition + AvcSlice{.frame_num = 9}.Write())), Text({0, 1, 1}));
    EXPECT_EQ(Text(Tested(parser, AvcSlice{.slice_type = 9, .frame_num = 2}.Write())), Text({0, 1, 0}))
        << "SI";
}

TEST(SampleTest, SaysWhatItCannotTest)
{
    const Bytes unknownPps = AvcSlice{.pic_parameter_set_id = 4}.Write();
    const Bytes unknownSps =
        AvcPps{.pic_parameter_set_id = 4, .seq_parameter_set_id = 9}.Write() + unknownPps;
    AvcParser parser;
    EXPECT_EQ(Text(Tested(parser, SliceOf(5, 7), -1)), Text({1, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, sets + unknownPps, -1)), Text({1, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, unknownSps, -1)), Text({1, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, Bytes(5, 1), -1)), Text({0, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, {})), Text({0, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, {0, 0, 1, 0x65})), Text({0, 0, 0}));
    EXPECT_EQ(Text(Tested(parser, AvcDelimiter() + sets + AvcSei())), Text({0, 0, 0}));
    VideoInfoEx test{77, 77, 77};
    EXPECT_EQ(parser.VideoSampleTest(nullptr, 100, &test), 0);
    EXPECT_EQ(Text(test), Text({0, 0, 0}));
}

// The unit header of the first slice.
unsigned SliceHeaderByte(const Bytes& sample)
{
    for (const Bytes& unit : SplitUnits(sample)) {
        const unsigned header = unit[unit[2] == 1 ? 3 : 4];
        if (header % 32 == 1 || header % 32 == 5)
            return header;
    }
    return 0;
}

bool IsIdr(unsigned unitHeader)
{
    return unitHeader % 32 == 5;
}

bool IsReference(unsigned unitHeader)
{
    return unitHeader >> 5 != 0;
}

// Behind a reference picture that was cut out, the test flags the pictures that are no reference, and the
// first that is. An IDR picture begins anew.
TEST(SampleTest, FlagsWhatWasCutOutOfRealStreamsAndNothingInWholeOnes)
{
    uint32_t flagCount = 0;
    for (const TestStream& testStream : TestStreams()) {
        if (testStream.codec != VideoCodecAVC)
            continue;
        const nlohmann::json accessUnits = testStream.Description().at("accessUnits");
        const auto letters = accessUnits.at("sliceTypes").get<std::string>();
        const bool hasFields = accessUnits.at("structures").get<std::string>().find('T') != std::string::npos;
        const Bytes stream = testStream.Read();
        std::vector<Bytes> samples;
        std::vector<unsigned> unitHeaders;  // of the first slices
        AvcParser whole;
        for (auto at = stream.begin(); at != stream.end(); at += ptrdiff_t(samples.back().size())) {
            samples.emplace_back(at, at + accessUnits.at("sizes")[samples.size()].get<ptrdiff_t>());
            VideoPicType type{};
            EXPECT_EQ(whole.QuerySliceType(samples.back().data(), Size(samples.back()), type), 0);
            EXPECT_EQ("PBI"[type % 5], letters[samples.size() - 1]) << testStream.name;
            EXPECT_TRUE(Tested(whole, samples.back()).sampleError == 0 || hasFields) << testStream.name;
            unitHeaders.push_back(SliceHeaderByte(samples.back()));
        }
        for (size_t cut = 0; cut < samples.size() && !hasFields; ++cut) {
            if (IsIdr(unitHeaders[cut]))
                continue;
            AvcParser parser;
            bool isOpen = false;  // nothing has closed the gap yet
            for (size_t i = 0; i < samples.size(); ++i) {
                if (i == cut) {
                    isOpen = IsReference(unitHeaders[i]);
                    continue;
                }
                isOpen = isOpen && !IsIdr(unitHeaders[i]);
                const size_t dropped = i % 3 == 0 ? samples[i].size() / 100 : 0;
                const Bytes sample(samples[i].begin(), samples[i].end() - ptrdiff_t(dropped));
                ASSERT_EQ(Tested(parser, sample).sampleError, isOpen)
                    << testStream.name << " without " << cut << ", at " << i;
                flagCount += isOpen ? 1 : 0;
                isOpen = isOpen && !IsReference(unitHeaders[i]);
            }
        }
    }
    EXPECT_GT(flagCount, 300u);
}

// All operations read slices into the same records, against which the analysis tells pictures apart.
TEST(SampleTest, SharesTablesAndSliceRecordsWithTheAnalysis)
{
    const Bytes first = AvcSlice{.nal_unit_type = 5}.Write();
    const Bytes second = AvcSlice{.frame_num = 1}.Write();
    const Bytes third = AvcSlice{.frame_num = 2}.Write();
    struct
    {
        const char* name;
        Bytes fed, tested, fedThen;
        std::vector<Bytes> reported;
    } const cases[] = {
        {"two pictures are joined", sets + first, second, second, {sets + first + second}},
        {"one picture is split", sets + first, second, first, {sets + first, sets + first}},
        {"tables are shared, held sets are not", {}, sets, first, {first}},
        {"the first slice was the tested one",
         sets,
         first,
         second,
         {AvcSps{}.Write(), AvcPps{}.Write() + second}},
        {"a picture starts where none is open", {}, sets + second, third, {third}},
    };
    for (const auto& row : cases) {
        Analysis analysis(VideoCodecAVC);
        VideoInfoEx test{};
        analysis.Feed(row.fed);
        VideoSampleTest(analysis.Handle(), row.tested.data(), Size(row.tested), &test);
        analysis.Feed(row.fedThen);
        analysis.Flush();
        ASSERT_EQ(analysis.Reports().size(), row.reported.size()) << row.name;
        for (size_t i = 0; i < row.reported.size(); ++i)
            EXPECT_EQ(Hex(analysis.Reports()[i].bytes), Hex(row.reported[i])) << row.name;
    }
}

}  // namespace

}  // namespace videoparams::test
