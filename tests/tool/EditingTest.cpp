// userdata add, get and remove.

#include "streams/AvcStream.h"
#include "support/TestStream.h"
#include "tool/ToolRun.h"

namespace videoparams::test {

namespace {

class EditingTool : public ToolTest
{};

}  // namespace

TEST_F(EditingTool, GivesBackWhatWasAddedAndThenTheStream)
{
    const Bytes message = {0, 0, 1, 'a', 0, 0, 0, 3, 0xFF, 0};
    WriteFile("message", message);
    size_t turn = 0;
    for (const TestStream& stream : TestStreams()) {
        SCOPED_TRACE(stream.name);
        const nlohmann::json described = stream.Description()["accessUnits"];
        const std::string path = StreamPath(stream.name);
        RunTool("userdata remove " + path + " -o plain");  // messages of other makers go too
        const size_t counts[] = {1, described["number"], described["keyFrames"].size()};
        const char* const places[] = {"first", "all", "key"};
        const size_t place = turn++ % 3;
        const std::string add = "userdata add " + path + " --data message -o edited --where ";
        EXPECT_EQ(RunTool(add + places[place]).status, 0);
        EXPECT_EQ(RunTool("userdata get edited --force -o got").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("got"), Repeat(message, counts[place])));
        EXPECT_EQ(RunTool("userdata remove edited -o restored").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("restored"), ReadFile("plain")));
        if (stream.name.find("user-data") == std::string::npos) {
            EXPECT_TRUE(AreSame(ReadFile("plain"), stream.Read()));
        }
    }
}

TEST_F(EditingTool, PassesEveryOtherByteThrough)
{
    const Bytes sets = AvcSps{}.Write() + Short(AvcPps{}.Write());
    const Bytes slice = Short(AvcSlice{.nal_unit_type = 5}.Write());
    const Bytes endOfSequence = {0, 0, 1, 0x0A};
    const Bytes damagedSei = {0, 0, 1, 6, 1, 200, 7, 7};
    const Bytes sei = Short(AvcSei());
    const Bytes streams[] = {
        Bytes{7, 7} + sets + slice,
        Bytes(9, 0) + sets + sei + Bytes(3, 0) + slice + endOfSequence,
        sets + Bytes{0, 0, 1} + slice + Bytes(5, 0),
        AvcSlice{}.Write() + sets + sei + sei + slice + sei,
    };
    for (const Bytes& stream : streams) {
        WriteFile("stream", stream);
        RunTool("userdata add stream --codec h264 --text x --where all -o edited");
        EXPECT_EQ(ReadFile("edited").size() - stream.size(),
                  stream == streams[1] || stream == streams[3] ? 19 : 25)
            << Hex(stream);
        RunTool("userdata remove edited --codec h264 -o restored");
        EXPECT_EQ(Hex(ReadFile("restored")), Hex(stream));
    }

    // An SEI unit that does not end as it should is not touched.
    WriteFile("stream", sets + damagedSei + slice);
    RunTool("userdata add stream --codec h264 --text x -o edited");
    const Bytes edited = ReadFile("edited");
    EXPECT_EQ(Hex(edited).find(Hex(sets + damagedSei + Bytes{0, 0, 0, 1, 6, 5})), 0u) << Hex(edited);
}

TEST_F(EditingTool, TellsWhichAccessUnitCarriesWhat)
{
    const std::string path = StreamPath("avc-aud.h264");
    RunTool("userdata add " + path + " --text 'take 7' --where key -o edited");
    RunTool("userdata add edited --text '' -o edited");
    const Run listed = RunTool("userdata get edited");
    EXPECT_EQ(LineCount(listed.out), 3);
    EXPECT_EQ(listed.out.find("access unit 0 "), 0u) << listed.out;
    EXPECT_NE(listed.out.find("0 bytes  \"\"\naccess unit 10 "), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("6 bytes  \"take 7\"\n"), std::string::npos) << listed.out;

    const Run none = RunTool("userdata get " + path);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(LineCount(none.err), 1);
}

}  // namespace videoparams::test
