#include "stream/ContainerCheck.h"

#include "stream/ParameterSetId.h"
#include "stream/SeiUnit.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tool {

namespace {

// Times that differ by more than this from one sample to the next are a jump, if it is also many frames.
constexpr double JumpSeconds = 1;
constexpr int64_t JumpFrames = 10;

// Rounded time stamps make a rate inexact.
constexpr double RateTolerance = 0.01;
constexpr double OddFrames = 2;

std::vector<unsigned char> BytesAfterStartCode(const NalUnit& unit)
{
    const unsigned char* end = unit.data + unit.size;
    while (end > unit.Header() && end[-1] == 0)  // trailing_zero_8bits
        --end;
    return {unit.Header(), end};
}

// The sample entries that allow parameter sets in samples, ISO/IEC 14496-15 5.4.2.1 and 8.4.1.1.
bool HoldsSetsInSamples(const ContainerFacts& container)
{
    static constexpr std::string_view Tags[] = {"avc3", "avc4", "hev1", "hev2", "dvav", "dvhe"};
    return std::find(std::begin(Tags), std::end(Tags), container.codecTag) != std::end(Tags);
}

}  // namespace

CContainerCheck::CContainerCheck(const SourceFacts& source) : facts(source), container(*source.container) {}

std::vector<SampleFinding> CContainerCheck::Take(const NalUnit& unit, UnitRole role,
                                                 const CStreamAnalysis& analysis)
{
    if (analysis.Completed() != nullptr)
        TakeCompleted(*analysis.Completed());
    if (unit.sample && unit.sample != contents.Of()) {
        FinishSample();
        contents = CSampleContents(unit.sample);
        CheckTimes(unit.sample);
    }
    if (unit.IsVps() || unit.IsSps() || unit.IsPps())
        TakeParameterSet(unit);
    contents.Take(unit, role, analysis.Current());
    return std::exchange(findings, {});
}

std::vector<SampleFinding> CContainerCheck::Finish(const SourceCounts& counts,
                                                   const CStreamAnalysis& analysis)
{
    if (analysis.Completed() != nullptr)
        TakeCompleted(*analysis.Completed());
    FinishSample();
    CheckFrameRate();
    for (const std::string& text : counts.container.DescribeMissing())
        Add(text, "a whole file");
    return std::exchange(findings, {});
}

// A set of the sample description holds until one with its identifier comes in a sample.
void CContainerCheck::TakeParameterSet(const NalUnit& unit)
{
    const SetKey key{unit.Type(), ReadParameterSetId(unit)};
    if (unit.isOutOfBand) {
        describedSets[key] = BytesAfterStartCode(unit);
        return;
    }
    const auto described = describedSets.find(key);
    if (container.lengthSize == 0 || HoldsSetsInSamples(container) || reportedSets.contains(key))
        return;
    const bool isMissing = described == describedSets.end();
    if (!isMissing && described->second == BytesAfterStartCode(unit))
        return;
    reportedSets.insert(key);
    Add(fmt::format("{} {} {} the sample description", UnitTypeName(unit.codec, unit.Type()), key.second,
                    isMissing ? "is missing in" : "differs from the one in"),
        "the same set in both: players use the description");
}

void CContainerCheck::TakeCompleted(const AccessUnit& picture)
{
    if (!picture.format)
        return;
    const VideoInfo& info = picture.format->info;
    const std::pair<uint32_t, uint32_t> size{info.width, info.height};
    const bool differs = size != std::pair(container.width, container.height);
    if (container.width != 0 && container.height != 0 && differs && size != reportedSize)
        findings.push_back({picture.sample,
                            fmt::format("the container records {} x {}", container.width, container.height),
                            fmt::format("{} x {} as the pictures have", info.width, info.height)});
    reportedSize = size;
    if (info.frameRateNumerator == 0 || info.frameRateDenominator == 0)
        return;
    const double rate = static_cast<double>(info.frameRateNumerator) / info.frameRateDenominator;
    rateChanges = rateChanges || (streamFrameRate != 0 && rate != streamFrameRate);
    streamFrameRate = rate;
}

void CContainerCheck::FinishSample()
{
    if (contents.Of()) {
        CheckPictures();
        if (container.marksKeySamples)
            CheckMark();
    }
    contents = {};
}

void CContainerCheck::CheckPictures()
{
    if (contents.IsContinued())
        Add("it begins with slices of a picture that began in an earlier sample", "a whole picture");
    else if (contents.Pictures() == 0)
        Add("it holds no picture", "one picture");
    if (contents.Pictures() > 1)
        Add(fmt::format("it holds {} pictures", contents.Pictures()), "one picture");
}

void CContainerCheck::CheckMark()
{
    const std::optional<bool> required = contents.RequiredMark();
    if (!required || *required == contents.Of()->isKey)
        return;
    if (*required)
        Add("an IDR picture is not marked as a key sample", "the mark: players cannot seek to it without");
    else
        Add("it is marked as a key sample, but decoding cannot start with its picture", "no mark");
}

void CContainerCheck::CheckTimes(const std::shared_ptr<const Sample>& sample)
{
    if (!sample->dts)
        return;
    const auto add = [&](const std::string& found, const std::string& expected) {
        findings.push_back({sample, found, expected});
    };
    if (sample->pts && *sample->pts < *sample->dts)
        add(fmt::format("it is presented at {}", Time(*sample->pts)),
            fmt::format("{} or later, when it is decoded", Time(*sample->dts)));
    if (lastTimed) {
        const int64_t last = *lastTimed->dts;
        const int64_t step = *sample->dts - last;
        const auto samples = static_cast<int64_t>(sample->number - lastTimed->number);  // 1 if all have times
        const int64_t duration = lastTimed->duration.value_or(0);
        if (step < 0 || (step == 0 && container.recordsAllTimes))
            add(fmt::format("its decoding time {} {}", step < 0 ? "goes back to" : "stays at",
                            Time(*sample->dts)),
                fmt::format("more than {}, the time of the previous sample", Time(last)));
        else if (facts.timeBase.Seconds(step) > JumpSeconds && step / samples / JumpFrames > duration)
            add(fmt::format("its decoding time jumps by {:.3f} s, from {} to {}",
                            facts.timeBase.Seconds(step), Time(last), Time(*sample->dts)),
                duration == 0 ? fmt::format("at most {:.0f} s", JumpSeconds)
                              : Time(last + samples * duration));
    } else {
        firstTimed = sample;
    }
    lastTimed = sample;
    ++timedSamples;
}

void CContainerCheck::CheckFrameRate()
{
    if (streamFrameRate == 0 || rateChanges || timedSamples < 3)
        return;
    const double seconds = facts.timeBase.Seconds(*lastTimed->dts - *firstTimed->dts);
    const uint64_t frames = lastTimed->number - firstTimed->number;
    const double rate = seconds > 0 ? static_cast<double>(frames) / seconds : 0;
    const double framesTooMany = std::abs(seconds * streamFrameRate - static_cast<double>(frames));
    if (rate != 0 && framesTooMany > OddFrames && std::abs(rate / streamFrameRate - 1) > RateTolerance)
        Add(fmt::format("the times of the container give {:.6g} frames/s", rate),
            fmt::format("{:.6g} as the stream says", streamFrameRate));
}

std::string CContainerCheck::Time(int64_t ticks) const
{
    return fmt::format("{:.3f} s", facts.timeBase.Seconds(ticks));
}

}  // namespace tool
