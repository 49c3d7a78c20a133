#include "io/Desktop.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

namespace {

bool IsSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

}  // namespace

bool HasDesktop()
{
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

// The shell does not wait for the program, which may run as long as the browser.
bool OpenOnDesktop(const std::string& path)
{
    static constexpr const char* Script =
        "command -v xdg-open >/dev/null || exit 1; xdg-open \"$1\" </dev/null >/dev/null 2>&1 &";
    const std::string whole = std::filesystem::absolute(path);
    const char* const arguments[] = {"sh", "-c", Script, "sh", whole.c_str(), nullptr};
    pid_t shell = 0;
    if (posix_spawnp(&shell, "sh", nullptr, nullptr, const_cast<char* const*>(arguments), environ) != 0)
        return false;
    int status = 0;
    return waitpid(shell, &status, 0) == shell && status == 0;
}

}  // namespace tool
