#include "io/OutputFile.h"

#include "io/ToolError.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr int EndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

// What a signal has to take away. Written before the handlers are set.
char temporaryToRemove[PATH_MAX];

void RemoveTemporary(int signal)
{
    unlink(temporaryToRemove);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void SetSignalHandlers(void (*handler)(int))
{
    for (const int signal : EndingSignals)
        std::signal(signal, handler);
}

mode_t DefaultMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// A link is followed: the file that it names is replaced, not the link.
std::string ResolvePath(const std::string& path)
{
    char* const resolved = realpath(path.c_str(), nullptr);
    if (resolved == nullptr)
        return path;
    std::string result = resolved;
    std::free(resolved);
    return result;
}

}  // namespace

COutputFile::COutputFile(const std::string& givenPath) : path(ResolvePath(givenPath))
{
    struct stat status;
    const bool exists = stat(path.c_str(), &status) == 0;
    if (givenPath == "-") {
        path = "standard output";
        file = stdout;
        return;
    }
    if (exists && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        Fail();
    }
    if (!exists || S_ISREG(status.st_mode)) {
        OpenTemporary(exists ? status.st_mode & 07777 : DefaultMode());
        return;
    }
    file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        Fail();
}

void COutputFile::OpenTemporary(unsigned int mode)
{
    temporaryPath = path + ".XXXXXX";
    const int descriptor = mkstemp(temporaryPath.data());
    if (descriptor < 0) {
        temporaryPath.clear();
        Fail();
    }
    if (temporaryPath.size() < sizeof temporaryToRemove) {
        std::memcpy(temporaryToRemove, temporaryPath.c_str(), temporaryPath.size() + 1);
        SetSignalHandlers(RemoveTemporary);
    }
    fchmod(descriptor, mode);
    file = fdopen(descriptor, "wb");
    if (file == nullptr) {
        close(descriptor);
        unlink(temporaryPath.c_str());
        Fail();
    }
}

COutputFile::~COutputFile()
{
    if (file != nullptr && file != stdout)
        std::fclose(file);
    if (temporaryPath.empty())
        return;
    unlink(temporaryPath.c_str());
    SetSignalHandlers(SIG_DFL);
}

void COutputFile::Write(const void* data, size_t size)
{
    if (size != 0 && std::fwrite(data, 1, size, file) != size)
        Fail();
}

void COutputFile::Commit()
{
    if (std::fflush(file) != 0)
        Fail();
    if (file == stdout)
        return;
    std::FILE* const closing = file;
    file = nullptr;
    if (std::fclose(closing) != 0)
        Fail();
    if (temporaryPath.empty())
        return;
    if (std::rename(temporaryPath.c_str(), path.c_str()) != 0)
        Fail();
    temporaryPath.clear();
    SetSignalHandlers(SIG_DFL);
}

void COutputFile::Fail() const
{
    throw CToolError(fmt::format("{}: {}", path, std::strerror(errno)));
}

}  // namespace tool
