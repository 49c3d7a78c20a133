#include "io/OutputFile.h"

#include "io/CleanUpOnSignal.h"
#include "io/OutputCheck.h"
#include "io/ToolError.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

mode_t DefaultMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

std::string ResolvePath(const std::string& path)
{
    char* const resolved = realpath(path.c_str(), nullptr);
    struct stat status;
    if (resolved == nullptr && lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        throw CToolError(fmt::format("{}: this is a link to a file that cannot be found", path));
    if (resolved == nullptr)
        return path;
    std::string result = resolved;
    std::free(resolved);
    return result;
}

}  // namespace

COutputFile::COutputFile(const OutputRequest& request)
{
    CheckOutput(request);
    if (request.path == "-") {
        path = "standard output";
        file = stdout;
        return;
    }
    path = ResolvePath(request.path);
    struct stat status;
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        Fail();
    }
    if (!exists || S_ISREG(status.st_mode)) {
        OpenTemporary(exists ? &status : nullptr);
        return;
    }
    file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        Fail();
}

// The new file gets the owner, as far as that is allowed, and the mode of the one that it replaces.
void COutputFile::OpenTemporary(const struct stat* replaced)
{
    const CSignalPause pause;
    temporaryPath = path + ".XXXXXX";
    const int descriptor = mkstemp(temporaryPath.data());
    if (descriptor < 0) {
        temporaryPath.clear();
        Fail();
    }
    RemoveOnSignal(temporaryPath);
    const bool isOwned = replaced == nullptr || fchown(descriptor, replaced->st_uid, replaced->st_gid) == 0;
    const mode_t mode = replaced == nullptr ? DefaultMode() : replaced->st_mode;
    fchmod(descriptor, mode & (isOwned ? 07777 : 0777));
    file = fdopen(descriptor, "wb");
    if (file == nullptr) {
        close(descriptor);
        unlink(temporaryPath.c_str());
        StopRemovingOnSignal();
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
    StopRemovingOnSignal();
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
    StopRemovingOnSignal();
}

void COutputFile::Fail() const
{
    throw CToolError(fmt::format("{}: {}", path, std::strerror(errno)));
}

}  // namespace tool
