// userdata add, get and remove.

#include "streams/AvcStream.h"
#include "streams/HevcStream.h"
#include "streams/SeiMessages.h"
#include "support/TestStream.h"
#include "tool/ToolRun.h"

#include <chrono>

namespace videoparams::test {

namespace {

using nlohmann::json;

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
        const size_t counts[] = {1, described["number"], described["keyFrames"].size()};
        const char* const places[] = {"first", "all", "key"};
        const size_t place = turn++ % 3;
        const std::string add = "userdata add " + path + " --data message -o edited --where ";
        EXPECT_EQ(RunTool(add + places[place]).status, 0);
        EXPECT_EQ(RunTool("userdata get edited --force -o got").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("got"), Repeat(message, counts[place])));
        EXPECT_EQ(RunTool("userdata remove edited -o restored").status, 0);
        EXPECT_TRUE(AreSame(ReadFile("restored"), stream.Read()));
    }
}

TEST_F(EditingTool, PassesEveryOtherByteThrough)
{
    const Bytes sets = AvcSps{}.Write() + Short(AvcPps{}.Write());
    const Bytes slice = Short(AvcSlice{.nal_unit_type = 5}.Write());
    const Bytes endOfSequence = {0, 0, 1, 0x0A};
    const Bytes damagedSei = {0, 0, 1, 6, 1, 200, 7, 7};
    const Bytes sei = Short(AvcSei());
    const Bytes foreign = SeiMessage(5, Bytes(16, 0x5A) + Bytes{'u'}) + SeiMessage(1, {0, 0, 3, 0});
    const Bytes streams[] = {
        Bytes{7, 7} + sets + slice,
        Bytes(9, 0) + sets + sei + Bytes(3, 0) + slice + endOfSequence,
        sets + Bytes{0, 0, 1} + slice + Bytes(5, 0),
        AvcSlice{}.Write() + sets + sei + sei + slice + sei,
        sets + AvcSei({}) + Short(AvcSei(foreign)) + slice,
    };
    for (const Bytes& stream : streams) {
        WriteFile("stream", stream);
        RunTool("userdata add stream --codec h264 --text x --where all -o edited");
        EXPECT_EQ(ReadFile("edited").size() - stream.size(),
                  stream == streams[0] || stream == streams[2] ? 25 : 19)
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

TEST_F(EditingTool, ShowsTheMessagesOfAnAccessUnitInOrder)
{
    const std::string path = StreamPath("avc-aud.h264");
    RunTool("userdata add " + path + " --text 'take \xC3\xBC\"' --where key -o edited");
    RunTool("userdata add edited --text '' -o edited");
    WriteFile("binary", {0, 'a'});
    RunTool("userdata add edited --data binary -o edited");
    const json messages = RunForJson("userdata get --json edited")["messages"];
    ASSERT_EQ(messages.size(), 5u);
    const json texts = {"take \xC3\xBC\"", "", nullptr};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(messages[i]["accessUnit"], 0);
        EXPECT_EQ(messages[i]["text"], texts[i]);
    }
    EXPECT_EQ(messages[3]["accessUnit"], 10);
    EXPECT_EQ(RunTool("userdata get --raw edited").out.substr(0, 10), std::string("take \xC3\xBC\"\0a", 10));

    RunTool("userdata add edited --text new --replace -o edited");
    EXPECT_EQ(RunForJson("userdata get --json edited")["messages"].size(), 3u);
    RunTool("userdata remove edited -o edited");
    EXPECT_TRUE(AreSame(ReadFile("edited"), ReadFile(TEST_STREAMS_DIR "/avc-aud.h264")));
    const Run none = RunTool("userdata get edited");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(LineCount(none.err), 1);
}

// The encoder's signature goes only if that is wanted. What else is in its unit stays as it is.
TEST_F(EditingTool, RemovesMessagesOfOthersOnlyWhenTold)
{
    const Bytes identifier = Bytes(15, 0x5A) + Bytes{0};
    const Bytes picture = SeiMessage(1, {0, 0, 3, 0});
    const Bytes own = UserDataMessage({'x'});
    const Bytes signature = SeiMessage(5, identifier + Bytes{0, 1, 'u'});
    const Bytes sets = HevcVps{}.Write() + HevcSps{}.Write();
    const Bytes slice = HevcSlice{.nal_unit_type = 19}.Write();
    const auto stream = [&](const Bytes& messages) {
        return sets + (messages.empty() ? Bytes{} : Short(HevcSei(messages)) + Bytes(2, 0)) + slice;
    };
    WriteFile("stream", stream(own + signature + picture + own));
    const struct
    {
        std::string option;
        Bytes rest;
        long warnings;
    } cases[] = {
        {"", signature + picture, 0},
        {" --all", picture, 1},
        {" --uuid 5a5a5a5a-5A5A-5a5a-5a5a-5a5a5a5a5a00", own + picture + own, 1},
        {" --uuid 00000000000000000000000000000000", own + signature + picture + own, 0},
    };
    for (const auto& c : cases) {
        const Run run = RunTool("userdata remove stream -o rest" + c.option);
        EXPECT_EQ(Hex(ReadFile("rest")), Hex(stream(c.rest))) << c.option;
        EXPECT_EQ(LineCount(run.err), c.warnings) << run.err;
    }
    WriteFile("stream", stream(own));
    RunTool("userdata remove stream -o rest");
    EXPECT_EQ(Hex(ReadFile("rest")), Hex(stream({})));
}

TEST_F(EditingTool, StampsWithTheTimeOfAClock)
{
    const std::string path = StreamPath("avc-aud.h264");
    const auto before = std::chrono::system_clock::now().time_since_epoch();
    RunTool("userdata add " + path + " --timestamp utc --where all -o edited");
    const json messages = RunForJson("userdata get --json edited")["messages"];
    ASSERT_EQ(messages.size(), 30u);
    std::chrono::nanoseconds last = before;
    for (const json& message : messages) {
        EXPECT_EQ(message["timestamp"]["clock"], "utc");
        const std::chrono::nanoseconds time(message["timestamp"]["nanoseconds"].get<int64_t>());
        EXPECT_GE(time, last);
        last = time;
    }
    EXPECT_LE(last, std::chrono::system_clock::now().time_since_epoch());
    EXPECT_EQ(RunTool("userdata add " + path + " --timestamp pts -o edited").status, 2);
}

}  // namespace videoparams::test
