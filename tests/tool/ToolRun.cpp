#include "tool/ToolRun.h"

#include "streams/AvcStream.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

namespace videoparams::test {

ToolTest::ToolTest()
{
    std::string name = std::filesystem::temp_directory_path() / "video params-XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot make a folder");
    folder = name;
}

ToolTest::~ToolTest()
{
    std::filesystem::remove_all(folder);
}

ToolTest::Run ToolTest::RunTool(const std::string& arguments, const char* tool) const
{
    const std::string command =
        "cd '" + folder.string() + "' && '" + tool + "' " + arguments + " >.out 2>.err";
    const int status = std::system(command.c_str());
    const Bytes out = ReadFile(".out");
    const Bytes err = ReadFile(".err");
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, {out.begin(), out.end()}, {err.begin(), err.end()}};
}

nlohmann::json ToolTest::RunForJson(const std::string& arguments) const
{
    return nlohmann::json::parse(RunTool(arguments).out);
}

std::string ToolTest::WriteFile(const std::string& name, const Bytes& bytes) const
{
    std::ofstream file(folder / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return name;
}

Bytes ToolTest::ReadFile(const std::string& name) const
{
    std::ifstream file(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<Bytes> Pictures(uint32_t count)
{
    std::vector<Bytes> pictures;
    for (uint32_t i = 0; i < count; ++i)
        pictures.push_back(
            AvcSlice{.nal_unit_type = i == 0 ? 5u : 1u, .slice_type = i == 0 ? 7u : 5u, .frame_num = i}
                .Write());
    return pictures;
}

Bytes AvcParameterSets()
{
    return AvcSps{}.Write() + AvcPps{}.Write();
}

testing::AssertionResult AreSame(const Bytes& found, const Bytes& expected)
{
    if (found == expected)
        return testing::AssertionSuccess();
    const auto [place, other] = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
    const auto show = [](const Bytes& bytes, Bytes::const_iterator from) {
        const auto rest = std::min<std::ptrdiff_t>(bytes.end() - from, 16);
        return std::to_string(bytes.size()) + " bytes, there " + Hex({from, from + rest});
    };
    return testing::AssertionFailure() << "differ at byte " << place - found.begin() << ": found "
                                       << show(found, place) << ", expected " << show(expected, other);
}

}  // namespace videoparams::test
