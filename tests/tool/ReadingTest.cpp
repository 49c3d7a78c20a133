// info, units, params and check.

#include "streams/AvcStream.h"
#include "streams/HevcStream.h"
#include "support/TestStream.h"
#include "tool/ToolRun.h"

#include <numeric>

namespace videoparams::test {

namespace {

using nlohmann::json;

class ReadingTool : public ToolTest
{};

// Numerator and denominator as far as they can be reduced.
std::string Ratio(const json& frameRate)
{
    if (frameRate.is_null())
        return "";
    const auto numerator = frameRate["numerator"].get<uint64_t>();
    const auto denominator = frameRate["denominator"].get<uint64_t>();
    const uint64_t divisor = std::gcd(numerator, denominator);
    return std::to_string(numerator / divisor) + "/" + std::to_string(denominator / divisor);
}

void ExpectSequences(const json& info, const json& described)
{
    ASSERT_EQ(info["sequences"].size(), described["sequences"].size());
    for (size_t i = 0; i < info["sequences"].size(); ++i) {
        const json& found = info["sequences"][i];
        const json& expected = described["sequences"][i];
        EXPECT_EQ(found["firstAccessUnit"], expected["accessUnit"]);
        EXPECT_EQ(found["width"], expected["width"]);
        EXPECT_EQ(found["height"], expected["height"]);
        EXPECT_EQ(Ratio(found["frameRate"]), expected["frameRate"].is_null() ? "" : expected["frameRate"]);
    }
    const json& found = info["sequences"][0]["colour"];
    const json& expected = described["colour"];
    EXPECT_EQ(found["video_full_range_flag"], expected["video_full_range_flag"]);
    for (const char* name : {"colour_primaries", "transfer_characteristics", "matrix_coefficients"})
        EXPECT_EQ(found[name]["value"], expected[name]) << name;
}

void ExpectAccessUnits(const json& info, const json& described)
{
    const json& expected = described["accessUnits"];
    json sizes = json::array();
    json keyFrames = json::array();
    std::string sliceTypes;
    for (const json& unit : info["accessUnits"]) {
        sizes.push_back(unit["size"]);
        if (unit["keyFrame"])
            keyFrames.push_back(unit["number"]);
        if (unit.contains("slice_type"))
            sliceTypes += "PBI"[unit["slice_type"].get<int>() % 5];
    }
    EXPECT_EQ(sizes, expected["sizes"]);
    EXPECT_EQ(keyFrames, expected["keyFrames"]);
    EXPECT_EQ(info["keyFrameCount"], keyFrames.size());
    if (!sliceTypes.empty()) {
        EXPECT_EQ(sliceTypes, expected["sliceTypes"]);
    }
}

}  // namespace

TEST_F(ReadingTool, SaysOfEveryStreamWhatOthersSay)
{
    for (const TestStream& stream : TestStreams()) {
        SCOPED_TRACE(stream.name);
        const json described = stream.Description();
        const json info = RunForJson("info --json --units " + StreamPath(stream.name));
        ExpectSequences(info, described);
        ExpectAccessUnits(info, described);

        std::string expectedTypes;
        for (const json& types : described["accessUnits"]["nalUnitTypes"])
            expectedTypes += types.get<std::string>() + " ";
        std::string types;
        uint64_t offset = 0;
        const json listed = RunForJson("units --json " + StreamPath(stream.name));
        for (const json& unit : listed["units"]) {
            EXPECT_EQ(unit["offset"], offset);
            offset += unit["size"].get<uint64_t>();
            types += std::to_string(unit["nal_unit_type"].get<int>()) + " ";
        }
        EXPECT_EQ(types, expectedTypes);
        EXPECT_EQ(offset, described["fileSize"]);

        const Run check = RunTool("check " + StreamPath(stream.name));
        EXPECT_EQ(check.status, 0) << check.out << check.err;
    }
}

TEST_F(ReadingTool, ChecksContinuityAndOrder)
{
    const std::vector<Bytes> p = Pictures(3);
    const Bytes& sets = AvcParameterSets();
    const Bytes sps = AvcSps{}.Write();
    const Bytes pps = AvcPps{}.Write();
    const Bytes aud = AvcDelimiter();
    const Bytes again = AvcSlice{.slice_type = 5, .frame_num = 1, .pic_order_cnt_lsb = 2}.Write();
    const Bytes restart =
        AvcSlice{.slice_type = 5, .frame_num = 1, .memory_management_control_operation = 5}.Write();
    const auto at = [](const Bytes& before) { return "byte " + std::to_string(before.size()); };
    const struct
    {
        Bytes stream;
        std::vector<std::string> found;
    } cases[] = {
        {aud + sets + p[0] + aud + p[1] + aud + p[2], {}},
        {sets + p[0] + p[2], {"access unit 1, " + at(sets + p[0]) + ": frame_num 2, expected 1"}},
        {sets + p[0] + p[1] + AvcSlice{.nal_ref_idc = 0, .frame_num = 1}.Write() + p[2], {}},
        {sets + p[0] + p[1] + again,
         {"access unit 2, " + at(sets + p[0] + p[1]) + ": frame_num 1, expected 2"}},
        {sets + p[0] + restart + again, {}},
        {sps + aud + pps + p[0], {"unit 1, " + at(sps)}},
        {aud + aud + sets + p[0], {"unit 1, " + at(aud)}},
        {aud + pps + sps + p[0], {"unit 2, " + at(aud + pps)}},
        {sets + p[0] + sets + p[0], {"unit 3, " + at(sets + p[0]), "unit 4, " + at(sets + p[0] + sps)}},
        {p[0] + sets + p[0], {"unit 0, byte 0: slice whose parameter sets are unknown"}},
        {sets + p[0] + sets, {"unit 3, " + at(sets + p[0])}},
    };
    // Parameter sets that are sent again may come in any order.
    std::vector<Bytes> units = SplitUnits(ReadFile(TEST_STREAMS_DIR "/hevc-bframes.h265"));
    const auto isVps = [](const Bytes& unit) { return unit[4] == 0x40; };
    const auto secondVps = std::find_if(units.begin() + 1, units.end(), isVps);
    ASSERT_NE(secondVps, units.end());
    std::swap(secondVps[0], secondVps[1]);
    Bytes swapped;
    for (const Bytes& unit : units)
        swapped += unit;
    WriteFile("swapped", swapped);
    EXPECT_EQ(RunTool("check swapped").status, 0);
    for (const auto& c : cases) {
        const Run run = RunTool("check --codec h264 " + WriteFile("s", c.stream));
        EXPECT_EQ(run.status, c.found.empty() ? 0 : 1) << run.out;
        EXPECT_EQ(LineCount(run.out), static_cast<long>(c.found.size() + 1)) << run.out;
        for (const std::string& found : c.found)
            EXPECT_NE(run.out.find(found), std::string::npos) << found << " in\n" << run.out;
    }
}

// The sets that the slices use count, and the pictures of the base layer.
TEST_F(ReadingTool, DescribesThePicturesAndNamesUnusedSets)
{
    Bytes used = AvcSps{.vui = AvcVui{.timing = Timing{1, 2}}}.Write() + AvcPps{}.Write();
    used[6] |= 0x10;  // constraint_set3_flag: level 1b
    used[7] = 11;     // level_idc
    const Bytes unused = AvcSps{.seq_parameter_set_id = 1, .pic_width_in_mbs_minus1 = 39}.Write() +
                         AvcPps{.pic_parameter_set_id = 4, .seq_parameter_set_id = 1}.Write();
    WriteFile("avc", used + unused + Pictures(1)[0]);
    const auto layered = [](uint32_t nal_unit_type) {
        const HevcSlice slice{.nal_unit_type = nal_unit_type};
        return slice.Write() + slice.Write(1);
    };
    WriteFile("hevc", HevcVps{}.Write() + HevcSps{}.Write() + HevcPps() + layered(19) + layered(1));
    const struct
    {
        const char* file;
        std::vector<std::string> lines;
    } cases[] = {
        {"avc",
         {"profile             Main, level 1b", "picture size        160 x 96",
          "frame rate          1 frame/s", "unused sets         SPS 1, PPS 4"}},
        {"hevc", {"access units        2 in", "layers              2; the pictures of the base layer"}},
    };
    for (const auto& c : cases) {
        const std::string text = RunTool(std::string("info ") + c.file).out;
        for (const std::string& line : c.lines)
            EXPECT_NE(text.find("\n  " + line), std::string::npos) << line << " in\n" << text;
    }
    EXPECT_NE(RunTool("info avc hevc").out.find(", 1 frame/s, 1 access unit, 1 key frame,"),
              std::string::npos);
}

TEST_F(ReadingTool, ShowsParameterSetsAndTheirChanges)
{
    const Bytes larger = AvcSps{.pic_width_in_mbs_minus1 = 19}.Write();
    const std::vector<Bytes> p = Pictures(1);
    WriteFile("steady", AvcParameterSets() + p[0] + Short(AvcSps{}.Write()) + p[0]);
    WriteFile("changing", AvcParameterSets() + p[0] + larger + p[0]);
    EXPECT_NE(RunTool("params steady").out.find("SPS 0: 2 times in the stream, never changes"),
              std::string::npos);
    EXPECT_NE(RunTool("params changing").out.find("SPS 0: 2 times in the stream, CHANGES 1 time"),
              std::string::npos);

    const Run written = RunTool("params changing -o sets");
    EXPECT_EQ(LineCount(written.err), 1);
    EXPECT_EQ(ReadFile("sets"), AvcParameterSets());
}

// A plot has a bar for each access unit, or a bar for each column of pixels when there are more.
TEST_F(ReadingTool, DrawsPlotsThatStaySmall)
{
    Bytes stream = AvcParameterSets();
    for (uint32_t i = 0; i < 50000; ++i)
        stream += AvcSlice{.nal_unit_type = 5, .idr_pic_id = i % 2}.Write();
    const Bytes few(stream.begin(), stream.begin() + 600);
    const auto draw = [&](const Bytes& bytes) {
        WriteFile("a<b>&c.h264", bytes);
        EXPECT_EQ(RunTool("info --codec h264 --plot plot.svg 'a<b>&c.h264'").status, 0);
        const Bytes svg = ReadFile("plot.svg");
        return std::string(svg.begin(), svg.end());
    };
    for (const bool isLong : {true, false}) {
        const std::string svg = draw(isLong ? stream : few);
        EXPECT_NE(svg.find("<title>a&lt;b>&amp;c.h264</title>"), std::string::npos);
        EXPECT_NE(svg.find("access-unit size (kB)"), std::string::npos);
        EXPECT_EQ(svg.find(": largest of ") != std::string::npos, isLong);
        const std::string band = svg.substr(svg.find("stroke=\"#e8710a\" d=") + 1, 5000);
        EXPECT_EQ(band.substr(0, band.find('/')).find("V436.0H"), std::string::npos);  // no column is empty
        EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
        EXPECT_LT(svg.size(), 100000u);
    }
}

}  // namespace videoparams::test
