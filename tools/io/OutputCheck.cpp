#include "io/OutputCheck.h"

#include "io/ToolError.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

// Enough to recognise a file. A byte stream may begin with a large unit.
constexpr size_t StartSize = 1 << 20;

bool IsSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Devices and pipes may be input and output at once.
bool IsRegular(const std::string& path, int descriptorOfDash, struct stat& status)
{
    const int result = path == "-" ? fstat(descriptorOfDash, &status) : stat(path.c_str(), &status);
    return result == 0 && S_ISREG(status.st_mode);
}

std::string ReadStart(const std::string& path)
{
    std::string start(StartSize, '\0');
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return "";
    start.resize(std::fread(start.data(), 1, start.size(), file));
    std::fclose(file);
    return start;
}

bool IsInput(const std::string& input, const struct stat& output)
{
    struct stat status;
    return !input.empty() && IsRegular(input, STDIN_FILENO, status) && IsSameFile(status, output);
}

void RefuseTerminal(const OutputRequest& request)
{
    if (request.path == "-" && !request.force && isatty(STDOUT_FILENO))
        throw CToolError("standard output: this is a terminal, and the output is not text; name a file, or "
                         "--force writes it here");
}

// An edited copy may take the place of its input, but not if it is written directly.
void RefuseInput(const OutputRequest& request, const struct stat& output)
{
    const bool isDirect = request.path == "-";
    for (const std::string& input : request.inputs) {
        const bool mayBeReplaced = input == request.editedInput && !isDirect;
        if (!mayBeReplaced && IsInput(input, output))
            throw CToolError(fmt::format("{}: this is an input; choose another output",
                                         isDirect ? "standard output" : request.path));
    }
}

void RefuseOtherKind(const OutputRequest& request, const struct stat& output)
{
    if (request.force || output.st_size == 0 || IsInput(request.editedInput, output))
        return;
    if (request.kind.isKindOf == nullptr)
        throw CToolError(fmt::format("{}: the file exists; --force replaces it", request.path));
    if (!request.kind.isKindOf(ReadStart(request.path)))
        throw CToolError(fmt::format("{}: the file exists and is not {}; --force replaces it", request.path,
                                     request.kind.name));
}

}  // namespace

void CheckOutput(const OutputRequest& request)
{
    RefuseTerminal(request);
    struct stat output;
    if (!IsRegular(request.path, STDOUT_FILENO, output))
        return;
    RefuseInput(request, output);
    if (request.path != "-")
        RefuseOtherKind(request, output);
}

}  // namespace tool
