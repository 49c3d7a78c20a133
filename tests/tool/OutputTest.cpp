// Files that the tool writes: nothing of the user's is lost.

#include "streams/AvcStream.h"
#include "support/TestStream.h"
#include "tool/ToolRun.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace videoparams::test {

namespace {

class OutputTool : public ToolTest
{
protected:
    std::vector<std::string> FilesInFolder() const
    {
        std::vector<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            const std::string name = file.path().filename();
            if (name[0] != '.')
                names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    pid_t StartEditingPipe(int signal, bool isIgnored) const;
    bool WaitForFiles(size_t count) const;
};

// The tool reads a pipe that nobody closes, so it waits with its output open.
pid_t OutputTool::StartEditingPipe(int signal, bool isIgnored) const
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    std::signal(signal, isIgnored ? SIG_IGN : SIG_DFL);  // the test may run under nohup
    if (chdir(folder.c_str()) == 0)
        execl(VIDEOPARAMS_TOOL, "videoparams", "userdata", "remove", "--codec", "h264", "-o", "out", "pipe",
              nullptr);
    _exit(127);
}

bool OutputTool::WaitForFiles(size_t count) const
{
    for (int i = 0; i < 1000 && FilesInFolder().size() != count; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return FilesInFolder().size() == count;
}

}  // namespace

TEST_F(OutputTool, LeavesTheOutputAloneWhenItFails)
{
    const Bytes old = {'o', 'l', 'd'};
    WriteFile("out", old);
    WriteFile("sets", AvcSps{}.Write() + AvcPps{}.Write());
    const std::vector<std::string> before = FilesInFolder();
    EXPECT_EQ(RunTool("userdata add sets --text x -o out").status, 2);
    EXPECT_EQ(RunTool("userdata remove nosuchfile -o out").status, 2);
    EXPECT_EQ(RunTool("userdata add sets --text x -o nosuchfolder/out").status, 2);
    EXPECT_EQ(ReadFile("out"), old);
    EXPECT_EQ(FilesInFolder(), before);
}

TEST_F(OutputTool, ReplacesTheInputItselfWhenToldSo)
{
    const std::string path = StreamPath("hevc-aud.h265");
    std::filesystem::copy(TEST_STREAMS_DIR "/hevc-aud.h265", folder / "stream");
    std::filesystem::permissions(folder / "stream", std::filesystem::perms(0640));
    std::filesystem::create_symlink("stream", folder / "link");
    EXPECT_EQ(RunTool("userdata add link --text x -o link").status, 0);
    EXPECT_EQ(RunTool("userdata get stream -o -").out, "x");
    EXPECT_EQ(std::filesystem::status(folder / "stream").permissions(), std::filesystem::perms(0640));
    EXPECT_TRUE(RunTool("userdata remove - -o - <link").out ==
                RunTool("userdata remove " + path + " -o -").out);
}

TEST_F(OutputTool, NeverOverwritesAnInput)
{
    const Bytes stream = TestStreams()[0].Read();
    const Bytes data = {'d', 'a', 't', 'a'};
    WriteFile("film", stream);
    WriteFile("other", stream);
    WriteFile("data", data);
    std::filesystem::create_symlink("film", folder / "link");
    std::filesystem::create_hard_link(folder / "film", folder / "hardlink");
    for (const std::string output : {"film", "link", "hardlink", "./film"}) {
        for (const char* const command : {"params film -o ", "userdata get film -o ", "info film --plot "}) {
            const Run run = RunTool(command + output + " --force");
            EXPECT_EQ(run.status, 2) << command << output;
            EXPECT_NE(run.err.find(output + ": "), std::string::npos) << run.err;
        }
    }
    EXPECT_EQ(RunTool("userdata add film --data data -o data --force").status, 2);
    EXPECT_EQ(RunTool("info --plot film other").status, 2);
    EXPECT_EQ(RunTool("info --plot - other").status, 2);  // the description is there
    EXPECT_EQ(ReadFile("film"), stream);
    EXPECT_EQ(ReadFile("data"), data);
}

TEST_F(OutputTool, ReplacesAFileOfAnotherKindOnlyWhenForced)
{
    const std::string path = StreamPath("avc-aud.h264");
    const Bytes letter = {'D', 'e', 'a', 'r', '\n'};
    RunTool("userdata add " + path + " --text x -o stamped");
    const std::string page = R"(<meta name="generator" content="VideoParams Inspector">)"
                             R"(<script type="application/json" id="embedded">null</script>)";
    WriteFile("page", {page.begin(), page.end()});
    for (const std::string& command :
         {"params -o out " + path, "info --plot out " + path, std::string("userdata get stamped -o out"),
          "inspect --no-open --page page -o out " + path, "userdata remove -o out " + path}) {
        WriteFile("out", letter);
        EXPECT_EQ(RunTool(command).status, 2) << command;
        EXPECT_EQ(ReadFile("out"), letter) << command;
        EXPECT_EQ(RunTool(command + " --force").status, 0) << command;
        EXPECT_NE(ReadFile("out"), letter) << command;
        EXPECT_EQ(RunTool(command).status, command.find(" get ") == std::string::npos ? 0 : 2) << command;
    }
}

TEST_F(OutputTool, LeavesNoTemporaryFileWhenASignalEndsIt)
{
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const int keepsOpen = open((folder / "pipe").c_str(), O_RDWR);
    const Bytes stream = Repeat(TestStreams()[0].Read(), 6);  // enough for the detection of a pipe
    const auto size = static_cast<ssize_t>(stream.size());
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE}) {
        for (const bool isIgnored : {false, signal != SIGTERM}) {
            const pid_t tool = StartEditingPipe(signal, isIgnored);
            EXPECT_EQ(write(keepsOpen, stream.data(), stream.size()), size);
            EXPECT_TRUE(WaitForFiles(2)) << signal;
            kill(tool, signal);
            if (isIgnored) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                EXPECT_EQ(kill(tool, SIGTERM), 0);
            }
            int status = 0;
            waitpid(tool, &status, 0);
            EXPECT_EQ(WTERMSIG(status), isIgnored ? SIGTERM : signal);
            ASSERT_EQ(FilesInFolder(), std::vector<std::string>{"pipe"}) << signal;
        }
    }
    close(keepsOpen);
}

}  // namespace videoparams::test
