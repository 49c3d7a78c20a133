// inspect: the page that it writes, and what it does with it. web/tests shows such pages in a browser.

#include "tool/ToolRun.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace videoparams::test {

namespace {

const std::string Head = R"(<!doctype html><meta name="generator" content="VideoParams Inspector">)";
const std::string Tail = "<script>start()</script>";

class InspectTool : public ToolTest
{
protected:
    InspectTool()
    {
        WriteText("page", Head + R"(<script type="application/json" id="embedded">null</script>)" + Tail);
    }

    std::string WriteText(const std::string& name, const std::string& text) const
    {
        return WriteFile(name, {text.begin(), text.end()});
    }
    std::string ReadText(const std::string& name) const
    {
        const Bytes bytes = ReadFile(name);
        return {bytes.begin(), bytes.end()};
    }
    Run Inspect(const std::string& arguments) const
    {
        return RunTool("inspect --no-open --page page " + arguments);
    }
};

// The contents of all elements that begin like this.
std::vector<std::string> ElementsOf(const std::string& page, const std::string& begin)
{
    std::vector<std::string> found;
    for (size_t at = page.find(begin); at != std::string::npos; at = page.find(begin, at + 1)) {
        const size_t from = at + begin.size();
        found.push_back(page.substr(from, page.find("</script>", from) - from));
    }
    return found;
}

nlohmann::json HeaderOf(const std::string& page)
{
    return nlohmann::json::parse(ElementsOf(page, R"(<script type="application/json" id="embedded">)").at(0));
}

Bytes PartOf(const std::string& page, const std::string& name)
{
    static const std::string Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes bytes;
    for (const std::string& text :
         ElementsOf(page, R"(<script type="text/plain" data-part=")" + name + "\">")) {
        uint32_t bits = 0;
        size_t bitCount = 0;
        for (const char digit : text.substr(0, text.find('='))) {
            bits = bits << 6 | static_cast<uint32_t>(Digits.find(digit));
            bitCount += 6;
            if (bitCount >= 8)
                bytes.push_back(static_cast<unsigned char>(bits >> (bitCount -= 8)));
        }
    }
    return bytes;
}

}  // namespace

TEST_F(InspectTool, WritesResultsRecordsAndStreamIntoThePage)
{
    constexpr size_t RecordSizes[] = {24, 32};
    for (const char* const name : {"avc-user-data.h264", "avc-paff.h264", "hevc-hdr10.h265"}) {
        const Bytes stream = Bytes{7, 7} + ReadFile(std::string(TEST_STREAMS_DIR "/") + name);
        WriteFile(name, stream);
        EXPECT_EQ(Inspect(std::string(name) + " -o out").status, 1);  // for the two bytes
        const std::string page = ReadText("out");
        EXPECT_TRUE(page.starts_with(Head));
        EXPECT_TRUE(page.ends_with(Tail));
        EXPECT_TRUE(AreSame(PartOf(page, "stream"), stream));
        const nlohmann::json info = RunForJson("info --json " + std::string(name));
        EXPECT_EQ(PartOf(page, "units").size(), info["unitCount"].get<size_t>() * RecordSizes[0]);
        EXPECT_EQ(PartOf(page, "access-units").size(),
                  info["accessUnitCount"].get<size_t>() * RecordSizes[1]);
        const nlohmann::json header = HeaderOf(page);
        EXPECT_EQ(header["name"], name);
        EXPECT_EQ(header["size"], stream.size());
        std::string lines = std::string(name) + "\n";
        for (const auto& line : header["results"]["description"]) {
            std::string label = line[0];
            label.resize(20, ' ');
            lines += "  " + label + line[1].get<std::string>() + "\n";
        }
        EXPECT_EQ(lines, RunTool("info " + std::string(name)).out);
    }
}

TEST_F(InspectTool, LeavesTheBytesOfALongStreamOut)
{
    const Bytes once = ReadFile(TEST_STREAMS_DIR "/avc-1080.h264");
    WriteFile("long.h264", Repeat(once, (32 << 20) / once.size() + 1));
    EXPECT_EQ(Inspect("long.h264").status, 0);
    const std::string page = ReadText("long.h264.html");
    EXPECT_EQ(HeaderOf(page)["hasStream"], false);
    EXPECT_TRUE(PartOf(page, "stream").empty());
    EXPECT_FALSE(PartOf(page, "units").empty());
}

TEST_F(InspectTool, LetsNothingInTheFileEndTheElement)
{
    std::filesystem::copy(TEST_STREAMS_DIR "/avc-aud.h264", folder / "<!--x");
    EXPECT_EQ(Inspect("'<!--x' -o out").status, 0);
    EXPECT_EQ(ReadText("out").find("<!--x"), std::string::npos);
    EXPECT_EQ(HeaderOf(ReadText("out"))["name"], "<!--x");
}

TEST_F(InspectTool, SaysWhatIsMissing)
{
    const std::string path = StreamPath("avc-aud.h264");
    const std::pair<std::string, std::string> cases[] = {
        {"inspect " + path, "build it with web/build"},
        {"inspect --page nosuchpage " + path, "nosuchpage"},
        {"inspect --page .out " + path + " -o out", "build it again"},
        {"inspect --page page - <" + path, "-o is missing"},
        {"inspect --page page page -o out", "there is no H.264 or H.265 video in it"},
        {"inspect --page page " + path + " -o page/out", "page/out"},
    };
    for (const auto& [arguments, reason] : cases) {
        const Run run = RunTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));
    EXPECT_EQ(Inspect("- -o - <" + path).status, 0);
}

// A program of this name stands in for the one of the desktop.
TEST_F(InspectTool, OpensThePageIfThereIsADesktop)
{
    const std::string path = StreamPath("avc-aud.h264");
    WriteText("xdg-open", "#!/bin/sh\necho \"$1\" >'" + folder.string() + "/opened'\n");
    std::filesystem::permissions(folder / "xdg-open", std::filesystem::perms(0755));
    setenv("PATH", (folder.string() + ":" + std::getenv("PATH")).c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    for (const bool hasDesktop : {false, true}) {
        setenv("DISPLAY", hasDesktop ? ":7" : "", 1);
        const Run run = RunTool("inspect --page page -o out.html " + path);
        EXPECT_EQ(run.out,
                  std::string("out.html: ") + (hasDesktop ? "opened" : "open it in a browser") + "\n");
        const std::string expected = hasDesktop ? folder.string() + "/out.html\n" : "";
        for (int i = 0; i < 500 && ReadText("opened") != expected; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(ReadText("opened"), expected);
    }
}

}  // namespace videoparams::test
