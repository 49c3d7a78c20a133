#pragma once

#include "streams/Bytes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

namespace videoparams::test {

using namespace streams;

// Runs the tool in a folder of the test's own.
class ToolTest : public testing::Test
{
protected:
    struct Run
    {
        int status;
        std::string out;
        std::string err;
    };

    ToolTest();
    ~ToolTest() override;

    // The arguments as the shell takes them; they may begin with a redirection or end with one.
    Run RunTool(const std::string& arguments, const char* tool = VIDEOPARAMS_TOOL) const;
    nlohmann::json RunForJson(const std::string& arguments) const;

    std::string WriteFile(const std::string& name, const Bytes& bytes) const;
    Bytes ReadFile(const std::string& name) const;

    std::filesystem::path folder;
};

// Pictures of an H.264 stream: the first an IDR picture, each a reference for the next.
std::vector<Bytes> Pictures(uint32_t count);
Bytes AvcParameterSets();

inline long LineCount(const std::string& text)
{
    return std::count(text.begin(), text.end(), '\n');
}

// The path of a stream of tests/streams, quoted for the shell.
inline std::string StreamPath(const std::string& name)
{
    return "'" TEST_STREAMS_DIR "/" + name + "'";
}

// Long contents are not printed, only the first place where they differ.
testing::AssertionResult AreSame(const Bytes& found, const Bytes& expected);

}  // namespace videoparams::test
