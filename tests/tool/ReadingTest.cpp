// info, units, params and check.

#include "streams/AvcStream.h"
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

// Pictures of an H.264 stream: the first an IDR picture, each a reference for the next.
std::vector<Bytes> Pictures(uint32_t count)
{
    std::vector<Bytes> pictures;
    for (uint32_t i = 0; i < count; ++i)
        pictures.push_back(
            AvcSlice{.nal_unit_type = i == 0 ? 5u : 1u, .slice_type = i == 0 ? 7u : 5u, .frame_num = i}
                .Write());
    return pictures;
}

const Bytes parameterSets = AvcSps{}.Write() + AvcPps{}.Write();

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
    const Bytes& sets = parameterSets;
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

TEST_F(ReadingTool, TakesParameterSetsOfTheirOwnFile)
{
    for (const std::string name : {"avc-headers-once.h264", "hevc-headers-once.h265"}) {
        const std::string path = StreamPath(name);
        const bool isAvc = name[0] == 'a';
        Bytes rest;
        for (const Bytes& unit : SplitUnits(ReadFile(TEST_STREAMS_DIR "/" + name))) {
            const unsigned char header = unit[unit[2] == 1 ? 3 : 4];
            const int type = isAvc ? header & 0x1F : header >> 1;
            const bool isSet = isAvc ? type == 7 || type == 8 : type >= 32 && type <= 34;
            rest += isSet ? Bytes{} : unit;
        }
        WriteFile("rest", rest);
        for (const std::string command : {"info rest", "check rest", "userdata add rest --text x -o out"}) {
            const Run run = RunTool(command);
            EXPECT_EQ(run.status, 2) << name << " " << command;
            EXPECT_NE(run.err.find("slices without parameter sets (give them with --params SETS)"),
                      std::string::npos)
                << run.err;
        }
        EXPECT_EQ(RunTool("params " + path + " -o sets --force").status, 0);
        const json whole = RunForJson("info --json " + path);
        const json described = RunForJson("info --json rest --params sets");
        EXPECT_EQ(described["accessUnitCount"], whole["accessUnitCount"]);
        EXPECT_EQ(described["sequences"], whole["sequences"]);
        EXPECT_EQ(RunTool("check rest --params sets").status, 0);
        EXPECT_EQ(RunTool("userdata add rest --params sets --text x -o out").status, 0);
        EXPECT_EQ(RunTool("userdata remove out -o out").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("out"), rest));
    }
}

TEST_F(ReadingTool, ReadsWhatCanBeReadOfADamagedStream)
{
    const std::vector<Bytes> p = Pictures(3);
    Bytes damagedUnit = p[1];
    damagedUnit[4] |= 0x80;
    const struct
    {
        Bytes stream;
        size_t accessUnits;
        size_t unreadable;
    } cases[] = {
        {Bytes(40, 0) + parameterSets + p[0] + p[1], 2, 0},
        {Bytes{7, 7, 7} + parameterSets + p[0] + p[1], 2, 3},
        {parameterSets + p[0] + damagedUnit + p[2], 2, damagedUnit.size()},
        {p[1] + p[2] + parameterSets + p[0] + p[1], 2, p[1].size() + p[2].size()},
        {parameterSets + p[0] + p[1] + Bytes{0, 0, 1, 0x0A}, 2, 0},
    };
    for (const auto& c : cases) {
        const Run run = RunTool("info --json --codec h264 " + WriteFile("s", c.stream));
        const json info = json::parse(run.out);
        EXPECT_EQ(info["accessUnitCount"], c.accessUnits);
        EXPECT_EQ(info["unreadable"]["bytes"], c.unreadable);
        EXPECT_EQ(run.status, c.unreadable == 0 ? 0 : 1);
        EXPECT_EQ(LineCount(run.err), c.unreadable == 0 ? 0 : 1) << run.err;
    }
    EXPECT_EQ(RunForJson("info --json s")["unitCount"], 5);  // the last one has four bytes
}

TEST_F(ReadingTool, AnswersAnErrorWithOneLineAndStatus2)
{
    WriteFile("empty", {});
    WriteFile("text", Repeat({'t', 'e', 'x', 't', '\n'}, 100));
    WriteFile("film.mp4", Bytes{0, 0, 0, 24, 'f', 't', 'y', 'p'} + Pictures(1)[0]);
    WriteFile("sets", parameterSets);
    for (const char* const arguments :
         {"", "info", "nonsense", "info --nonsense empty", "info nosuchfile", "info .", "info empty",
          "info text", "info film.mp4", "info sets", "units empty", "params text", "check sets",
          "userdata get text", "userdata add sets -o x", "userdata add sets --text t --data text -o x",
          "info --codec mpeg2 sets"}) {
        const Run run = RunTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(LineCount(run.err), 1) << arguments << "\n" << run.err;
    }
    EXPECT_NE(RunTool("nonsense").err.find("there is no subcommand \"nonsense\""), std::string::npos);
    EXPECT_NE(RunTool("info --codec h265 sets").err.find("sets: this is an H.264/AVC byte stream"),
              std::string::npos);
}

TEST_F(ReadingTool, TakesTheStandardInputForAFile)
{
    const std::string path = StreamPath(TestStreams()[0].name);
    EXPECT_EQ(RunTool("units - <" + path).out, RunTool("units " + path).out);
}

TEST_F(ReadingTool, ShowsParameterSetsAndTheirChanges)
{
    const Bytes larger = AvcSps{.pic_width_in_mbs_minus1 = 19}.Write();
    const std::vector<Bytes> p = Pictures(1);
    WriteFile("steady", parameterSets + p[0] + Short(AvcSps{}.Write()) + p[0]);
    WriteFile("changing", parameterSets + p[0] + larger + p[0]);
    EXPECT_NE(RunTool("params steady").out.find("SPS 0: 2 times in the stream, never changes"),
              std::string::npos);
    EXPECT_NE(RunTool("params changing").out.find("SPS 0: 2 times in the stream, CHANGES 1 time"),
              std::string::npos);

    const Run written = RunTool("params changing -o sets");
    EXPECT_EQ(LineCount(written.err), 1);
    EXPECT_EQ(ReadFile("sets"), parameterSets);
}

// A plot has a bar for each access unit, or a bar for each column of pixels when there are more.
TEST_F(ReadingTool, DrawsPlotsThatStaySmall)
{
    Bytes stream = parameterSets;
    for (uint32_t i = 0; i < 20000; ++i)
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
        EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
        EXPECT_LT(svg.size(), 100000u);
    }
}

}  // namespace videoparams::test
