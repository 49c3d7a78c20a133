// QueryType and VideoSampleTest.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/PageBytes.h"
#include "support/TestStream.h"

#include <nlohmann/json.hpp>
#include <sstream>

namespace videoparams::test {

namespace {

class AvcHandle
{
public:
    AvcHandle() { EXPECT_EQ(ParseCreate(&handle, VideoCodecAVC, 0, 0), 0); }
    ~AvcHandle() { EXPECT_EQ(ParseRelease(handle), 0); }
    AvcHandle(const AvcHandle&) = delete;
    AvcHandle& operator=(const AvcHandle&) = delete;
    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

Bytes SliceOf(uint32_t nal_unit_type, uint32_t slice_type)
{
    return AvcSlice{.nal_unit_type = nal_unit_type, .slice_type = slice_type}.Write();
}

std::string Tested(void* handle, const Bytes& sample, int64_t expectedResult = 0)
{
    const PageBytes input = AtPageEnd(sample);
    VideoInfoEx test{77, 77, 77};
    EXPECT_EQ(VideoSampleTest(handle, input.data(), input.size(), &test), expectedResult);
    return std::string(test.sampleError ? "error " : "") + (test.isFrame ? "frame " : "") +
           (test.isIntra ? "intra " : "") +
           (test.sampleError + test.isFrame + test.isIntra > 3 ? "unwritten" : "");
}

// A sample in a few letters: D an IDR picture, I P B reference pictures, b no reference; frame_num; t or f
// for a top or bottom field; ! if the test is to flag it.
struct Sample
{
    Bytes bytes;
    std::string expected;
};

Sample ReadSample(const std::string& text, const AvcSps& sps)
{
    const char letter = text[0];
    const bool isBottom = text.find('f', 1) != std::string::npos;
    const bool isField = isBottom || text.find('t', 1) != std::string::npos;
    const bool isIntra = letter == 'D' || letter == 'I';
    const AvcSlice slice = {
        .nal_unit_type = letter == 'D' ? 5U : 1U,
        .nal_ref_idc = letter == 'b' ? 0U : 2U,
        .slice_type = isIntra         ? 7U
                      : letter == 'P' ? 5U
                                      : 1U,
        .frame_num = static_cast<uint32_t>(std::stoul(text.substr(1))),
        .field_pic_flag = isField,
        .bottom_field_flag = isBottom,
    };
    return {AvcDelimiter() + slice.Write(sps), std::string(text.back() == '!' ? "error " : "") +
                                                   (isField ? "" : "frame ") + (isIntra ? "intra " : "")};
}

}  // namespace

TEST(PictureType, IsThatOfTheFirstSliceOfTypeOneOrFive)
{
    const Bytes forbidden = {0, 0, 1, 0x81, 0x88, 0x80};
    const struct
    {
        const char* name;
        Bytes sample;
        int32_t type;
    } cases[] = {
        {"IDR", AvcDelimiter() + avc.sets + SliceOf(5, 7), 7},
        {"first of two", SliceOf(1, 5) + SliceOf(1, 2), 5},
        {"without parameter sets", AvcSei() + SliceOf(1, 1), 1},
        {"beyond the standard", SliceOf(1, 4711), 4711},
        {"after a partition", SliceOf(2, 0) + SliceOf(1, 6), 6},
        {"partitions alone", SliceOf(2, 0) + SliceOf(3, 0) + SliceOf(4, 0), -1},
        {"no slice", AvcDelimiter() + avc.sets, -1},
        {"a forbidden unit before it", forbidden + SliceOf(1, 5), -1},
        {"a forbidden unit after it", SliceOf(1, 5) + forbidden, 5},
        {"a start code alone before it", Bytes{0, 0, 0, 1} + SliceOf(1, 5), -1},
        {"no start code", Bytes(9, 0x65), -1},
        {"four bytes", {0, 0, 1, 0x65}, -1},
        {"nothing", {}, -1},
        {"a slice of its header alone", Bytes{0, 0, 1, 0x65} + SliceOf(1, 5), 0},
        {"a slice cut before its slice_type", Bytes{0, 0, 0, 1, 0x65, 0x80}, 0},
    };
    const AvcHandle handle;
    for (const auto& row : cases) {
        const PageBytes sample = AtPageEnd(row.sample);
        auto type = static_cast<VideoPicType>(77);
        const int64_t result = QueryType(handle, sample.data(), sample.size(), type);
        EXPECT_EQ(result, row.type == -1 ? -1 : 0) << row.name;
        EXPECT_EQ(type, row.type) << row.name;
    }
    EXPECT_EQ(Tested(handle, SliceOf(5, 7), -1), "error ") << "no parameter set was kept";
}

TEST(SampleTest, FlagsWhatBreaksTheSequence)
{
    const AvcSps frames;
    const AvcSps fields = {.frame_mbs_only_flag = 0};
    const AvcSps gaps = {.gaps_in_frame_num_value_allowed_flag = 1, .frame_mbs_only_flag = 0};
    const AvcSps unlimited = {.log2_max_frame_num_minus4 = 28};
    const AvcSps unlimitedFields = {.log2_max_frame_num_minus4 = 28, .frame_mbs_only_flag = 0};
    const AvcSps nearlyUnlimited = {.log2_max_frame_num_minus4 = 27};
    const struct
    {
        const char* name;
        AvcSps sps;
        const char* samples;
    } cases[] = {
        {"in order", frames, "D0 P1 P2 I3 P4 B5"},
        {"without reference", frames, "D0 P1 b2 b2 P2 b3 P3"},
        {"wrap at MaxFrameNum", frames, "D0 I15! P0 P1 I15! b0 b0 P0 P2!"},
        {"an IDR picture begins anew", frames, "D0 P1 P2 D0 P1 D0 b1 D0 P1"},
        {"one is missing", frames, "D0 P1 P3! P4"},
        {"one is missing before pictures without reference", frames, "D0 P1 b3! b3! P3! b4 P4"},
        {"one without reference is missing", frames, "D0 P1 P2 P3"},
        {"one comes twice", frames, "D0 P1 P1! P2"},
        {"two change places", frames, "D0 P2! P1! P3! P4"},
        {"begins in the middle", frames, "I7! P8 P9"},
        {"gaps are allowed", gaps, "D0 P7 P3 b9 P9t P12f P1t"},
        {"no MaxFrameNum", unlimited, "D0 P9 P3 P3"},
        {"no MaxFrameNum, fields", unlimitedFields, "D0t P0f P9t P9f P3t P3f"},
        {"the largest MaxFrameNum", nearlyUnlimited, "D0 I2147483647! P0 P2!"},
        {"field pairs", fields, "D0t P0f P1t P1f b2t b2f P2t P2f"},
        {"field pairs, bottom first", fields, "D0f P0t P1f P1t P2f P2t"},
        {"a missing field pair", fields, "D0t P0f P2t! P2f! P3t P3f"},
        {"frames among field pairs", fields, "D0t P0f P1 P2t P2f P3"},
        {"an IDR picture after a missing one", fields, "D0t P0f P2t! P2f! D0t P0f P1t"},
        {"an intra pair begins with a gap", fields, "D0t P0f I2t! P2f! P3t P3f"},
        // What the test flags in correct streams.
        {"both fields intra", fields, "D0t I0f! P1t! P1f! I2t P2f P3t P3f"},
        {"field pairs after an intra frame", fields, "D0t P0f I1 P2t P2f! P3t! P3f! D0t P0f P1t"},
        {"field pairs after an intra frame, bottom first", fields, "D0 P1f P1t P2f P2t"},
    };
    for (const auto& row : cases) {
        const AvcHandle handle;
        EXPECT_EQ(Tested(handle, row.sps.Write() + AvcPps{}.Write()), "");
        std::istringstream samples(row.samples);
        std::string soFar;
        for (std::string text; samples >> text;) {
            const Sample sample = ReadSample(text, row.sps);
            soFar += " " + text;
            EXPECT_EQ(Tested(handle, sample.bytes), sample.expected) << row.name << ":" << soFar;
        }
    }
}

TEST(SampleTest, LooksAtTheFirstSliceAlone)
{
    const AvcHandle handle;
    const Bytes partition = AvcSlice{.nal_unit_type = 2, .slice_type = 2, .frame_num = 1}.Write();
    EXPECT_EQ(Tested(handle, avc.sets + SliceOf(5, 5)), "frame intra ")
        << "an IDR slice is intra whatever it codes";
    EXPECT_EQ(Tested(handle, partition + AvcSlice{.frame_num = 9}.Write()), "frame intra ");
    EXPECT_EQ(Tested(handle, AvcSlice{.slice_type = 9, .frame_num = 2}.Write()), "frame ") << "SI";
    EXPECT_EQ(Tested(handle, AvcSlice{.slice_type = 5, .frame_num = 3}.Write()), "frame ");
}

TEST(SampleTest, ReportsWhatItCannotTest)
{
    const Bytes unknownPps = AvcSlice{.pic_parameter_set_id = 4}.Write();
    const Bytes unknownSps =
        AvcPps{.pic_parameter_set_id = 4, .seq_parameter_set_id = 9}.Write() + unknownPps;
    const AvcHandle handle;
    EXPECT_EQ(Tested(handle, SliceOf(5, 7), -1), "error ");
    EXPECT_EQ(Tested(handle, avc.sets + unknownPps, -1), "error ");
    EXPECT_EQ(Tested(handle, unknownSps, -1), "error ");
    EXPECT_EQ(Tested(handle, Bytes(5, 1), -1), "");
    EXPECT_EQ(Tested(handle, {}), "");
    EXPECT_EQ(Tested(handle, {0, 0, 1, 0x65}), "");
    EXPECT_EQ(Tested(handle, AvcDelimiter() + avc.sets + AvcSei()), "");
    VideoInfoEx test{77, 77, 77};
    EXPECT_EQ(VideoSampleTest(handle, nullptr, 100, &test), 0);
    EXPECT_EQ(test.sampleError + test.isFrame + test.isIntra, 0u);
}

// After a reference picture that was cut out, the test flags the pictures that are no reference, and the
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
        struct Sampled
        {
            Bytes sample;
            bool isIdr;
            bool isReference;
        };
        std::vector<Sampled> pictures;
        const AvcHandle whole;
        for (auto at = stream.begin(); at != stream.end(); at += ptrdiff_t(pictures.back().sample.size())) {
            const Bytes sample(at, at + accessUnits.at("sizes")[pictures.size()].get<ptrdiff_t>());
            VideoPicType type{};
            EXPECT_EQ(QueryType(whole, sample.data(), Size(sample), type), 0);
            EXPECT_EQ("PBI"[type % 5], letters[pictures.size()]) << testStream.name;
            EXPECT_TRUE(hasFields || Tested(whole, sample).find("error") == std::string::npos)
                << testStream.name;
            for (const Bytes& unit : SplitUnits(sample)) {
                const unsigned header = unit[unit[2] == 1 ? 3 : 4];
                if (avc.IsSlice(header & 31)) {
                    pictures.push_back({sample, (header & 31) == 5, header >> 5 != 0});
                    break;
                }
            }
        }
        for (size_t cut = 0; cut < pictures.size() && !hasFields; ++cut) {
            if (pictures[cut].isIdr)
                continue;
            const AvcHandle handle;
            bool isOpen = false;  // nothing has closed the gap yet
            for (size_t i = 0; i < pictures.size(); ++i) {
                const Sampled& picture = pictures[i];
                if (i == cut) {
                    isOpen = picture.isReference;
                    continue;
                }
                isOpen = isOpen && !picture.isIdr;
                ASSERT_EQ(Tested(handle, picture.sample).find("error") == 0, isOpen)
                    << testStream.name << " without " << cut << ", at " << i;
                flagCount += isOpen;
                isOpen = isOpen && !picture.isReference;
            }
        }
    }
    EXPECT_GT(flagCount, 300u);
}

// All operations read slices into the same records, with which the analysis distinguishes pictures.
TEST(SampleTest, SharesTablesAndSliceRecordsWithTheAnalysis)
{
    const Bytes first = AvcSlice{.nal_unit_type = 5}.Write();
    const Bytes second = AvcSlice{.frame_num = 1}.Write();
    const Bytes third = AvcSlice{.frame_num = 2}.Write();
    const Bytes sets = avc.sets;
    const struct
    {
        const char* name;
        Bytes fed, tested, fedThen;
        std::vector<Bytes> reported;
    } cases[] = {
        {"two pictures are joined", sets + first, second, second, {sets + first + second}},
        {"one picture is split", sets + first, second, first, {sets + first, sets + first}},
        {"tables are shared, held sets are not", {}, sets, first, {first}},
        {"the first slice was the tested one",
         sets,
         first,
         second,
         {AvcSps{}.Write(), AvcPps{}.Write() + second}},
        {"a picture starts if none is open", {}, sets + second, third, {third}},
    };
    for (const auto& row : cases) {
        Analysis analysis(VideoCodecAVC);
        analysis.Feed(row.fed);
        Tested(analysis.Handle(), row.tested);
        analysis.Feed(row.fedThen);
        analysis.Flush();
        ASSERT_EQ(analysis.Reports().size(), row.reported.size()) << row.name;
        for (size_t i = 0; i < row.reported.size(); ++i)
            EXPECT_EQ(Hex(analysis.Reports()[i].bytes), Hex(row.reported[i])) << row.name;
    }
}

}  // namespace videoparams::test
