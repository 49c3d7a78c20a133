#include "io/Progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr uint64_t LargeFile = 16 << 20;
constexpr size_t BarWidth = 40;
constexpr std::chrono::milliseconds FirstDraw{400};
constexpr std::chrono::milliseconds DrawInterval{100};

}  // namespace

CProgress::CProgress(uint64_t total)
    : totalBytes(total), isWanted(total >= LargeFile && isatty(STDERR_FILENO)), nextDraw(start + FirstDraw)
{}

CProgress::~CProgress()
{
    if (isDrawn)
        fmt::print(stderr, "\r\x1b[K");
}

void CProgress::Update(uint64_t doneBytes)
{
    if (!isWanted || Clock::now() < nextDraw)
        return;
    const auto now = Clock::now();
    nextDraw = now + DrawInterval;
    const double done = std::min(1.0, static_cast<double>(doneBytes) / static_cast<double>(totalBytes));
    const double seconds = std::chrono::duration<double>(now - start).count();
    const auto filled = static_cast<size_t>(done * static_cast<double>(BarWidth));
    fmt::print(stderr, "\r[{:=<{}}{: <{}}] {:3.0f} %  {:.0f} MB/s\x1b[K", "", filled, "", BarWidth - filled,
               100 * done, static_cast<double>(doneBytes) / seconds / 1e6);
    std::fflush(stderr);
    isDrawn = true;
}

}  // namespace tool
