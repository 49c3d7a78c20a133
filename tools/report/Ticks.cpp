#include "report/Ticks.h"

#include <cmath>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr double WantedSteps = 8;

// The smallest round step with which no more than the wanted number of steps fit.
double RoundStep(double range)
{
    const double least = range / WantedSteps;
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1, 2, 5}) {
        if (factor * power >= least)
            return factor * power;
    }
    return 10 * power;
}

double RoundTimeStep(double seconds)
{
    for (const double step : {10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200}) {
        if (step * WantedSteps >= seconds)
            return step;
    }
    return 3600 * RoundStep(seconds / 3600);
}

std::string ClockTime(double seconds)
{
    const auto whole = static_cast<long long>(std::llround(seconds));
    if (whole < 3600)
        return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

void AddTicks(Axis& axis, double step, double unit)
{
    // Half a step is room for what adding up rounds off.
    for (int i = 0; i * step <= axis.end * (1 + 1e-9); ++i)
        axis.ticks.push_back({i * step, fmt::format("{:g}", i * step / unit)});
}

}  // namespace

Axis SizeAxis(double largestBytes)
{
    const double largest = std::max(largestBytes, 1.0);
    const double unit = largest < 10e3 ? 1 : largest < 10e6 ? 1e3 : 1e6;
    const double step = RoundStep(largest);
    Axis axis;
    axis.end = std::ceil(largest / step) * step;
    axis.title = fmt::format("access-unit size ({})", unit == 1 ? "bytes" : unit == 1e3 ? "kB" : "MB");
    AddTicks(axis, step, unit);
    return axis;
}

Axis TimeAxis(double seconds)
{
    Axis axis;
    axis.end = seconds;
    if (seconds < 120) {
        axis.title = "time in decoding order (s)";
        AddTicks(axis, RoundStep(seconds), 1);
        return axis;
    }
    axis.title = seconds < 3600 ? "time in decoding order (min:s)" : "time in decoding order (h:min:s)";
    const double step = RoundTimeStep(seconds);
    for (int i = 0; i * step <= seconds; ++i)
        axis.ticks.push_back({i * step, ClockTime(i * step)});
    return axis;
}

Axis CountAxis(double count)
{
    Axis axis;
    axis.end = count;
    axis.title = "access unit in decoding order";
    AddTicks(axis, std::max(1.0, RoundStep(count)), 1);
    return axis;
}

}  // namespace tool
