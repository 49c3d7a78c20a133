#include "report/ContainerInfo.h"

#include "report/Message.h"

#include <cmath>
#include <fmt/format.h>
#include <numeric>

namespace tool {

namespace {

// Rounded time stamps make a rate inexact.
constexpr double RateTolerance = 0.01;

double FrameRate(const ContainerFacts& container)
{
    return container.frameRateDenominator == 0
               ? 0
               : static_cast<double>(container.frameRateNumerator) / container.frameRateDenominator;
}

std::string DescribeRate(const ContainerFacts& container)
{
    const uint32_t divisor = std::gcd(container.frameRateNumerator, container.frameRateDenominator);
    const uint32_t numerator = container.frameRateNumerator / divisor;
    if (divisor == container.frameRateDenominator)
        return fmt::format("{} frame{}/s", numerator, numerator == 1 ? "" : "s");
    return fmt::format("{:.6g} ({}/{}) frames/s", FrameRate(container), numerator,
                       container.frameRateDenominator / divisor);
}

std::string DescribeVideo(const ContainerFacts& container)
{
    std::string text = fmt::format("stream {} of {}", container.stream, container.streamCount);
    if (!container.codecTag.empty())
        text += ", " + container.codecTag;
    if (container.lengthSize != 0)
        text += fmt::format(", length fields of {}", CountOf(container.lengthSize, "byte"));
    return text;
}

std::vector<std::string> FindDisagreements(const InfoResult& result)
{
    std::vector<std::string> found;
    const ContainerFacts& container = *result.facts.container;
    if (result.summary.Sequences().empty())
        return found;
    const SequenceInfo& stream = result.summary.Sequences()[0].info;
    if (container.width != 0 && (container.width != stream.width || container.height != stream.height))
        found.push_back(fmt::format("picture size: {} x {} in the container, {} x {} in the stream",
                                    container.width, container.height, stream.width, stream.height));
    const double rate = FrameRate(container);
    if (rate != 0 && stream.HasFrameRate() && std::abs(rate / stream.FrameRate() - 1) > RateTolerance)
        found.push_back(fmt::format("frame rate: {:.6g} frames/s in the container, {:.6g} in the stream",
                                    rate, stream.FrameRate()));
    const std::optional<double> seconds = result.summary.Duration();
    if (container.durationSeconds && seconds && std::abs(*seconds - *container.durationSeconds) > 1)
        found.push_back(fmt::format("duration: {:.3f} s in the container, {:.3f} s in the stream",
                                    *container.durationSeconds, *seconds));
    return found;
}

Json TimeToJson(const std::optional<int64_t>& ticks, const TimeBase& timeBase)
{
    if (!ticks)
        return nullptr;
    return {{"ticks", *ticks}, {"seconds", Rounded(timeBase.Seconds(*ticks))}};
}

}  // namespace

InfoLines DescribeContainer(const InfoResult& result)
{
    InfoLines lines;
    if (!result.facts.container)
        return lines;
    const ContainerFacts& container = *result.facts.container;
    lines.emplace_back("container", container.format);
    lines.emplace_back("video", DescribeVideo(container));
    if (container.durationSeconds)
        lines.emplace_back("recorded duration", fmt::format("{:.3f} s", *container.durationSeconds));
    if (container.startSeconds && *container.startSeconds != 0)
        lines.emplace_back("recorded start", fmt::format("{:.3f} s", *container.startSeconds));
    if (container.frameRateNumerator != 0)
        lines.emplace_back("recorded rate", DescribeRate(container));
    if (container.rotation != 0)
        lines.emplace_back("rotation", fmt::format("{} degrees clockwise", container.rotation));
    if (!container.language.empty() && container.language != "und")
        lines.emplace_back("language", container.language);
    for (const std::string& text : FindDisagreements(result))
        lines.emplace_back("disagreement", text);
    for (const std::string& text : result.counts.container.DescribeMissing())
        lines.emplace_back("incomplete", text);
    return lines;
}

Json ContainerToJson(const InfoResult& result)
{
    if (!result.facts.container)
        return nullptr;
    const ContainerFacts& container = *result.facts.container;
    const ContainerEnd& end = result.counts.container;
    Json json = {
        {"streamCount", container.streamCount},
        {"stream", container.stream},
        {"codecTag", container.codecTag.empty() ? Json(nullptr) : Json(container.codecTag)},
        {"lengthSize", container.lengthSize},
        {"width", container.width},
        {"height", container.height},
        {"frameRate", nullptr},
        {"timeBase",
         {{"numerator", result.facts.timeBase.numerator},
          {"denominator", result.facts.timeBase.denominator}}},
        {"startSeconds", RoundedOrNull(container.startSeconds)},
        {"durationSeconds", RoundedOrNull(container.durationSeconds)},
        {"rotation", container.rotation},
        {"language", container.language.empty() ? Json(nullptr) : Json(container.language)},
        {"sampleCount", end.samples},
        {"missingSamples", end.missingSamples},
        {"damagedSamples", end.damagedSamples},
        {"readError", end.error.empty() ? Json(nullptr) : Json(end.error)},
        {"incomplete", end.DescribeMissing()},
        {"disagreements", FindDisagreements(result)},
    };
    if (container.frameRateNumerator != 0)
        json["frameRate"] = {{"numerator", container.frameRateNumerator},
                             {"denominator", container.frameRateDenominator},
                             {"framesPerSecond", Rounded(FrameRate(container))}};
    return json;
}

Json TimesToJson(const AccessUnit& unit, const TimeBase& timeBase)
{
    if (!unit.sample)
        return nullptr;
    const Sample& sample = *unit.sample;
    return {{"sample", sample.number},
            {"keySample", sample.isKey},
            {"pts", TimeToJson(sample.pts, timeBase)},
            {"dts", TimeToJson(sample.dts, timeBase)},
            {"duration", TimeToJson(sample.duration, timeBase)}};
}

}  // namespace tool
