#include "io/CleanUpOnSignal.h"

#include <climits>
#include <cstring>
#include <iterator>
#include <unistd.h>

namespace tool {

namespace {

constexpr int EndingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU, SIGXFSZ};

// For the handler. Written only while it is not set.
char fileToRemove[PATH_MAX];

struct sigaction actionsBefore[std::size(EndingSignals)];

// SA_RESETHAND has restored the default, and the signal waits until this returns: then it ends the program.
void RemoveAndEnd(int signal)
{
    unlink(fileToRemove);
    raise(signal);
}

bool IsIgnored(const struct sigaction& action)
{
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

CSignalPause::CSignalPause()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : EndingSignals)
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &before);
}

CSignalPause::~CSignalPause()
{
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

void RemoveOnSignal(const std::string& path)
{
    if (path.size() >= sizeof fileToRemove)
        return;
    std::memcpy(fileToRemove, path.c_str(), path.size() + 1);
    struct sigaction removal = {};
    removal.sa_handler = RemoveAndEnd;
    removal.sa_flags = static_cast<int>(SA_RESETHAND);
    for (size_t i = 0; i < std::size(EndingSignals); ++i) {
        sigaction(EndingSignals[i], nullptr, &actionsBefore[i]);
        if (!IsIgnored(actionsBefore[i]))
            sigaction(EndingSignals[i], &removal, nullptr);
    }
}

void StopRemovingOnSignal()
{
    for (size_t i = 0; i < std::size(EndingSignals); ++i)
        sigaction(EndingSignals[i], &actionsBefore[i], nullptr);
}

}  // namespace tool
