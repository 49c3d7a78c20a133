#include "io/InputFile.h"

#include "io/Interrupt.h"
#include "io/ToolError.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

CInputFile::CInputFile(const std::string& given) : path(given), name(given == "-" ? "standard input" : given)
{
    descriptor = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        throw CToolError(fmt::format("{}: {}", name, std::strerror(errno)));
    isRegular = S_ISREG(status.st_mode);
    if (!isRegular)
        return;
    start = static_cast<uint64_t>(lseek(descriptor, 0, SEEK_CUR));
    size = static_cast<uint64_t>(status.st_size) - std::min(start, static_cast<uint64_t>(status.st_size));
}

CInputFile::~CInputFile()
{
    if (descriptor != STDIN_FILENO)
        close(descriptor);
}

const std::vector<unsigned char>& CInputFile::Peek(size_t count)
{
    constexpr size_t Step = 65536;
    while (head.size() < count) {
        const size_t before = head.size();
        head.resize(before + std::min(Step, count - before));
        const size_t got = ReadDescriptor(&head[before], head.size() - before);
        head.resize(before + got);
        if (got == 0)
            break;
    }
    return head;
}

size_t CInputFile::Read(unsigned char* buffer, size_t capacity)
{
    if (headPosition == head.size())
        return ReadDescriptor(buffer, capacity);
    const size_t count = std::min(capacity, head.size() - headPosition);
    std::memcpy(buffer, &head[headPosition], count);
    headPosition += count;
    if (headPosition == head.size()) {
        headPosition = 0;
        head = {};
    }
    return count;
}

// False if the reading is to end. Waits in short turns, for a signal may come just before the call.
bool CInputFile::AwaitBytes() const
{
    constexpr int Milliseconds = 100;
    struct pollfd input = {descriptor, POLLIN, 0};
    if (isRegular || poll(&input, 1, 0) > 0)
        return !CInterrupt::IsRequested();
    std::fflush(stdout);
    while (!CInterrupt::IsRequested()) {
        if (poll(&input, 1, Milliseconds) > 0)
            return true;
    }
    return false;
}

size_t CInputFile::ReadDescriptor(unsigned char* buffer, size_t capacity)
{
    while (AwaitBytes()) {
        const ssize_t count = read(descriptor, buffer, capacity);
        if (count >= 0)
            return static_cast<size_t>(count);
        if (errno != EINTR)
            throw CToolError(fmt::format("{}: {}", name, std::strerror(errno)));
    }
    return 0;
}

bool CInputFile::Seek(uint64_t offset)
{
    if (!isRegular || offset > INT64_MAX - start ||
        lseek(descriptor, static_cast<off_t>(start + offset), SEEK_SET) < 0)
        return false;
    head = {};
    headPosition = 0;
    return true;
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
