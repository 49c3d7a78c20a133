#include "report/Ticks.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr double HorizontalSteps = 8;

// The smallest round step with which no more than the wanted number of steps fit.
double RoundStep(double range, double steps)
{
    const double least = range / steps;
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
        if (step * HorizontalSteps >= seconds)
            return step;
    }
    return 3600 * RoundStep(seconds / 3600, HorizontalSteps);
}

std::string ClockTime(double seconds)
{
    const auto whole = static_cast<long long>(std::llround(seconds));
    if (whole < 3600)
        return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

// "12,000", or with as many decimals as `step` needs.
std::string Label(double value, double step)
{
    const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
    const std::string digits = fmt::format("{:.{}f}", value, decimals);
    const size_t whole = std::min(digits.find('.'), digits.size());
    std::string label;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i != 0 && i < whole && (whole - i) % 3 == 0)
            label += ',';
        label += digits[i];
    }
    return label;
}

void AddTicks(Axis& axis, double step, double unit)
{
    // The end may be rounded to just under the last tick.
    for (int i = 0; i * step <= axis.end * (1 + 1e-9); ++i)
        axis.ticks.push_back({i * step, Label(i * step / unit, step / unit)});
}

Axis VerticalAxis(double largest, double steps, double unit, const std::string& title)
{
    const double step = RoundStep(largest / unit, steps) * unit;
    Axis axis;
    axis.end = std::ceil(largest / step - 1e-9) * step;
    axis.title = title;
    AddTicks(axis, step, unit);
    return axis;
}

}  // namespace

Axis SizeAxis(double largestBytes, double steps)
{
    return VerticalAxis(std::max(largestBytes, 1.0), steps, 1e3, "access-unit size (kB)");
}

Axis MeanAxis(double largestBytes, double steps)
{
    return VerticalAxis(std::max(largestBytes, 1.0), steps, 1e3, "mean (kB)");
}

Axis BitRateAxis(double largestBytesPerSecond, double steps)
{
    const double bytesPerMegabit = 1e6 / 8;
    const double largest = std::max(largestBytesPerSecond, 1.0);
    if (largest < bytesPerMegabit)
        return VerticalAxis(largest, steps, 1e3 / 8, "kbit/s");
    return VerticalAxis(largest, steps, bytesPerMegabit, "Mbit/s");
}

Axis TimeAxis(double seconds)
{
    Axis axis;
    axis.end = seconds;
    if (seconds < 120) {
        axis.title = "time in decoding order (s)";
        AddTicks(axis, RoundStep(seconds, HorizontalSteps), 1);
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
    AddTicks(axis, std::max(1.0, RoundStep(count, HorizontalSteps)), 1);
    return axis;
}

}  // namespace tool
