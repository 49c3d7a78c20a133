#include "io/Progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr size_t LongestBar = 40;
constexpr size_t ShortestBar = 8;
constexpr size_t UsualColumns = 80;
constexpr std::chrono::milliseconds FirstDraw{400};
constexpr std::chrono::milliseconds DrawInterval{100};

// Asked before each drawing, because the window may be resized.
size_t TerminalColumns()
{
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return isKnown ? size.ws_col : UsualColumns;
}

std::string DescribeBytes(double bytes)
{
    if (bytes < 1e6)
        return fmt::format("{:.0f} kB", bytes / 1e3);
    return bytes < 1e9 ? fmt::format("{:.1f} MB", bytes / 1e6) : fmt::format("{:.2f} GB", bytes / 1e9);
}

// The last column stays free: a character there makes some terminals go to the next line.
std::string FitLine(const std::string& figures, std::optional<double> done, size_t columns)
{
    const size_t room = columns - 1;
    const size_t besideBar = figures.size() + 3;
    if (!done || room < besideBar + ShortestBar)
        return figures.substr(0, room);
    const size_t length = std::min(room - besideBar, LongestBar);
    const auto filled = static_cast<size_t>(*done * static_cast<double>(length));
    return fmt::format("[{:=<{}}{: <{}}] {}", "", filled, "", length - filled, figures);
}

}  // namespace

CProgress::CProgress(bool isWanted, uint64_t total)
    : isShown(isWanted && isatty(STDERR_FILENO)), totalBytes(total), nextDraw(start + FirstDraw)
{}

CProgress::~CProgress()
{
    if (isDrawn)
        fmt::print(stderr, "\r\x1b[K");
}

void CProgress::Update(uint64_t doneBytes)
{
    const auto now = Clock::now();
    if (!isShown || now < nextDraw)
        return;
    nextDraw = now + DrawInterval;
    const auto bytes = static_cast<double>(doneBytes);
    const std::string rate = DescribeBytes(bytes / std::chrono::duration<double>(now - start).count()) + "/s";
    std::optional<double> done;
    if (totalBytes != 0)
        done = std::min(1.0, bytes / static_cast<double>(totalBytes));
    const std::string figures = done ? fmt::format("{:3.0f} %  {}", 100 * *done, rate)
                                     : fmt::format("{}  {}", DescribeBytes(bytes), rate);
    fmt::print(stderr, "\r{}\x1b[K", FitLine(figures, done, TerminalColumns()));
    std::fflush(stderr);
    isDrawn = true;
}

}  // namespace tool
