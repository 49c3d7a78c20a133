#include "support/TestStream.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace videoparams::test {

namespace {

std::ifstream Open(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return file;
}

std::filesystem::path PathOf(const TestStream& stream)
{
    return std::filesystem::path(TEST_STREAMS_DIR) / stream.name;
}

std::vector<TestStream> FindStreams()
{
    std::vector<TestStream> streams;
    for (const auto& file : std::filesystem::directory_iterator(TEST_STREAMS_DIR)) {
        std::filesystem::path path = file.path();
        const std::string extension = path.extension().string();
        if (extension != ".h264" && extension != ".h265")
            continue;
        const std::string name = path.filename().string();
        if (std::filesystem::exists(path.replace_extension(".json")))
            streams.push_back({name, extension == ".h264" ? VideoCodecAVC : VideoCodecHEVC});
    }
    std::sort(streams.begin(), streams.end(),
              [](const TestStream& a, const TestStream& b) { return a.name < b.name; });
    return streams;
}

}  // namespace

Bytes TestStream::Read() const
{
    std::ifstream file = Open(PathOf(*this));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

nlohmann::json TestStream::Description() const
{
    std::ifstream file = Open(PathOf(*this).replace_extension(".json"));
    return nlohmann::json::parse(file);
}

const std::vector<TestStream>& TestStreams()
{
    static const std::vector<TestStream> streams = FindStreams();
    return streams;
}

std::string TestName(const TestStream& stream)
{
    std::string letters;
    for (const char letter : stream.name)
        letters += std::isalnum(static_cast<unsigned char>(letter)) ? letter : '_';
    return letters;
}

std::vector<Bytes> SplitUnits(const Bytes& stream)
{
    std::vector<size_t> starts;
    for (size_t i = 0; i + 3 <= stream.size(); ++i) {
        if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1)
            starts.push_back(i != 0 && stream[i - 1] == 0 ? i - 1 : i);
    }
    std::vector<Bytes> units;
    for (size_t k = 0; k < starts.size(); ++k) {
        const size_t end = k + 1 < starts.size() ? starts[k + 1] : stream.size();
        units.emplace_back(stream.begin() + static_cast<ptrdiff_t>(starts[k]),
                           stream.begin() + static_cast<ptrdiff_t>(end));
    }
    return units;
}

}  // namespace videoparams::test
