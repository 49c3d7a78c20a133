// What the tool makes of its inputs: parameter sets of their own file, damage, files of other kinds.

#include "streams/AvcStream.h"
#include "support/TestStream.h"
#include "tool/ToolRun.h"

#include <regex>

namespace videoparams::test {

namespace {

using nlohmann::json;

class InputTool : public ToolTest
{};

}  // namespace

TEST_F(InputTool, TakesParameterSetsOfTheirOwnFile)
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
        const json listed = RunForJson("units --json rest --params sets")["units"];
        const json lacking = RunForJson("units --json rest")["units"];
        EXPECT_EQ(lacking.size(), listed.size());
        EXPECT_EQ(listed[0].contains("sliceHeaderLength"), isAvc);
        EXPECT_FALSE(lacking[0].contains("sliceHeaderLength"));
        EXPECT_EQ(RunTool("userdata add rest --params sets --text x -o out").status, 0);
        EXPECT_EQ(RunTool("userdata remove out -o out").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("out"), rest));
    }
}

TEST_F(InputTool, ReadsWhatCanBeReadOfADamagedStream)
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
        {Bytes(40, 0) + AvcParameterSets() + p[0] + p[1], 2, 0},
        {Bytes{7, 7, 7} + AvcParameterSets() + p[0] + p[1], 2, 3},
        {AvcParameterSets() + p[0] + damagedUnit + p[2], 2, damagedUnit.size()},
        {p[1] + p[2] + AvcParameterSets() + p[0] + p[1], 2, p[1].size() + p[2].size()},
        {AvcParameterSets() + p[0] + p[1] + Bytes{0, 0, 1, 0x0A}, 2, 0},
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

TEST_F(InputTool, AnswersAnErrorWithOneLineAndStatus2)
{
    WriteFile("empty", {});
    WriteFile("text", Repeat({'t', 'e', 'x', 't', '\n'}, 100));
    WriteFile("film.mp4", Bytes{0, 0, 0, 24, 'f', 't', 'y', 'p'} + Pictures(1)[0]);
    WriteFile("sets", AvcParameterSets());
    for (const char* const arguments :
         {"", "info", "nonsense", "info --nonsense empty", "info nosuchfile", "info .", "info empty",
          "info text", "info film.mp4", "info sets", "units empty", "params text", "check sets",
          "userdata get text", "userdata add sets -o x", "userdata add sets --text t --data text -o x",
          "info --codec mpeg2 sets"}) {
        const Run run = RunTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(LineCount(run.err), 1) << arguments << "\n" << run.err;
    }
}

// Also the tool that reads no containers knows what a file is.
TEST_F(InputTool, NamesTheFileAndWhatItIs)
{
    const auto text = [](const char* bytes, size_t size) { return Bytes(bytes, bytes + size); };
    WriteFile("sets", AvcParameterSets());
    WriteFile(
        "a.wav",
        text("RIFF\x24\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x80\x3E\0\0\2\0\x10\0data\0\0\0\0", 44));
    WriteFile(
        "a.h264",
        Repeat(text("\0\0\1\xB3\x16\1\x20\x13\xFF\xFF\xE0\xA0\0\0\1\0\0\xF\xFF\xF8\0\0\1\1\xA\x55", 26), 30));
    WriteFile("a.mxf", text("\x06\x0E\x2B\x34\2\5\1\1\xD\1\2\1\1\2\4\0", 16) + Bytes(100, 0));
    const std::string cases[][2] = {
        {"nonsense", "there is no subcommand \"nonsense\"; there are info, "},
        {"userdata nonsense", "there is no subcommand \"nonsense\"; there are add, "},
        {"info nosuchfile", "nosuchfile: No such file"},
        {"info --codec h265 sets", "sets: this is an H.264/AVC byte stream, but --codec says H.265/HEVC"},
        {"info a.wav", "a.wav: this is [^;]*WAV.*video"},
        {"info - <a.wav", "standard input: this is [^;]*WAV.*video"},
        {"units a.h264", "a.h264: this is [^;]*MPEG.* video"},
        {"check a.mxf", "a.mxf: this is [^;]*MXF"},
    };
    for (const auto& [arguments, message] : cases) {
        for (const char* const tool : {VIDEOPARAMS_TOOL, VIDEOPARAMS_TOOL_OF_STREAMS}) {
            const Run run = RunTool(arguments, tool);
            EXPECT_EQ(run.status, 2) << arguments;
            EXPECT_TRUE(std::regex_search(run.err, std::regex("^videoparams: " + message))) << run.err;
        }
    }
}

TEST_F(InputTool, TakesTheStandardInputForAFile)
{
    const std::string path = StreamPath(TestStreams()[0].name);
    EXPECT_EQ(RunTool("units - <" + path).out, RunTool("units " + path).out);
}

}  // namespace videoparams::test
