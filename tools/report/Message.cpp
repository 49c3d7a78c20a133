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

std::string DescribeNoPicture(const std::string& name, const Damage& damage)
{
    std::string reason = "there is no slice";
    if (damage.lostSlices != 0)
        reason = fmt::format("{} without parameter sets (give them with --params SETS)",
                             CountOf(damage.lostSlices, "slice"));
    else if (damage.damagedUnits != 0)
        reason = CountOf(damage.damagedUnits, "unit") + " with forbidden_zero_bit 1";
    return fmt::format("{}: no picture could be read: {}", name, reason);
}

std::string CountOf(uint64_t count, const std::string& thing)
{
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

}  // namespace tool
