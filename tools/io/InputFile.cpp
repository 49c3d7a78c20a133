#include "io/InputFile.h"

#include "io/ToolError.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/stat.h>

namespace tool {

CInputFile::CInputFile(const std::string& path) : name(path == "-" ? "standard input" : path)
{
    file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        throw CToolError(fmt::format("{}: {}", name, std::strerror(errno)));
    std::setvbuf(file, nullptr, _IONBF, 0);
    struct stat status;
    if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode))
        size = static_cast<uint64_t>(status.st_size);
}

CInputFile::~CInputFile()
{
    if (file != stdin)
        std::fclose(file);
}

size_t CInputFile::Read(unsigned char* buffer, size_t capacity)
{
    const size_t count = std::fread(buffer, 1, capacity, file);
    if (count < capacity && std::ferror(file))
        throw CToolError(fmt::format("{}: {}", name, std::strerror(errno)));
    return count;
}

std::string ReadWholeFile(const std::string& path, size_t limit)
{
    CInputFile input(path);
    std::string bytes;
    unsigned char piece[65536];
    while (const size_t count = input.Read(piece, sizeof piece)) {
        bytes.append(reinterpret_cast<const char*>(piece), count);
        if (bytes.size() > limit)
            throw CToolError(fmt::format("{}: more than {} bytes", input.Name(), limit));
    }
    return bytes;
}

}  // namespace tool
