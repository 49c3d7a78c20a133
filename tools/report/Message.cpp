#include "report/Message.h"

#include <cstdio>
#include <fmt/format.h>

namespace tool {

// The results so far come first where both go to one terminal or file.
void Complain(const std::string& text)
{
    std::fflush(stdout);
    fmt::print(stderr, "videoparams: {}\n", text);
}

void Announce(const std::string& text, bool isResultOnStandardOutput)
{
    fmt::print(isResultOnStandardOutput ? stderr : stdout, "{}\n", text);
}

std::string CountOf(uint64_t count, const std::string& thing)
{
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

}  // namespace tool
