#include "stream/ContainerCheck.h"

#include "stream/ParameterSetId.h"
#include "stream/SeiUnit.h"

#include <cmath>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr uint32_t RecoveryPoint = 6;  // payloadType, H.264 D.1.8 and H.265 D.2.8

// Times that differ by more than this from one sample to the next are a jump, if it is also many frames.
constexpr double JumpSeconds = 1;
constexpr int64_t JumpFrames = 10;

// Rounded time stamps make a rate inexact.
constexpr double RateTolerance = 0.01;

std::vector<unsigned char> BytesAfterStartCode(const NalUnit& unit)
{
    const unsigned char* end = unit.data + unit.size;
    while (end > unit.Header() && end[-1] == 0)  // trailing_zero_8bits
        --end;
    return {unit.Header(), end};
}

bool RefersToOthers(const AccessUnit& picture)
{
    constexpr int32_t TypeI = 2;  // slice_type modulo 5, H.264 Table 7-6
    constexpr int32_t TypeSi = 4;
    const int32_t type = picture.slice_type % 5;
    return picture.slice_type >= 0 && type != TypeI && type != TypeSi;
}

}  // namespace

CContainerCheck::CContainerCheck(const SourceFacts& source) : facts(source), container(*source.container) {}

std::vector<SampleFinding> CContainerCheck::Take(const NalUnit& unit, UnitRole role,
                                                 const CStreamAnalysis& analysis)
{
    if (analysis.Completed() != nullptr)
        TakeCompleted(*analysis.Completed());
    if (unit.sample && unit.sample != contents.sample) {
        FinishSample();
        contents.sample = unit.sample;
        CheckTimes(unit.sample);
    }
    if (unit.IsVps() || unit.IsSps() || unit.IsPps())
        TakeParameterSet(unit);
    if (unit.IsSei() && CSeiUnit(unit).Has(RecoveryPoint))
        contents.hasRecoveryPoint = true;
    if (role == UnitRole::FirstSlice || role == UnitRole::FurtherSlice)
        TakeSlice(unit, role, analysis.Current());
    return std::exchange(findings, {});
}

std::vector<SampleFinding> CContainerCheck::Finish(const SourceCounts& counts,
                                                   const CStreamAnalysis& analysis)
{
    if (analysis.Completed() != nullptr)
        TakeCompleted(*analysis.Completed());
    FinishSample();
    CheckFrameRate();
    const ContainerEnd& end = counts.container;
    if (end.missingSamples != 0)
        Add(fmt::format("the file is cut short: {} of {} samples are missing", end.missingSamples,
                        end.missingSamples + end.samples));
    if (!end.error.empty())
        Add(fmt::format("reading ended after {} samples: {}", end.samples, end.error));
    return std::exchange(findings, {});
}

void CContainerCheck::TakeSlice(const NalUnit& unit, UnitRole role, const AccessUnit& picture)
{
    contents.hasIrap = contents.hasIrap || unit.IsKeySlice();
    contents.hasIdr = contents.hasIdr || unit.IsIdrSlice();
    contents.refersToOthers = contents.refersToOthers || RefersToOthers(picture);
    if (role == UnitRole::FirstSlice)
        ++(picture.isField ? contents.fields : contents.frames);
    else if (contents.frames == 0 && contents.fields == 0)
        contents.isContinued = true;
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
    if (container.lengthSize == 0 || reportedSets.contains(key))
        return;
    const bool isMissing = described == describedSets.end();
    if (!isMissing && described->second == BytesAfterStartCode(unit))
        return;
    reportedSets.insert(key);
    Add(fmt::format("{} {} in the sample {} the sample description{}", UnitTypeName(unit.codec, unit.Type()),
                    key.second, isMissing ? "is missing in" : "differs from the one in",
                    isMissing ? "" : "; a player that uses the description decodes wrongly"));
}

void CContainerCheck::TakeCompleted(const AccessUnit& picture)
{
    if (!picture.format)
        return;
    const VideoInfo& info = picture.format->info;
    const std::pair<uint32_t, uint32_t> size{info.width, info.height};
    const bool differs = size != std::pair(container.width, container.height);
    if (container.width != 0 && container.height != 0 && differs && size != reportedSize)
        findings.push_back(
            {picture.sample, fmt::format("the pictures are {} x {}, the container records {} x {}",
                                         info.width, info.height, container.width, container.height)});
    reportedSize = size;
    if (info.frameRateNumerator == 0 || info.frameRateDenominator == 0)
        return;
    const double rate = static_cast<double>(info.frameRateNumerator) / info.frameRateDenominator;
    rateChanges = rateChanges || (streamFrameRate != 0 && rate != streamFrameRate);
    streamFrameRate = rate;
}

void CContainerCheck::FinishSample()
{
    if (contents.sample) {
        CheckPictures();
        if (container.marksKeySamples)
            CheckMark();
    }
    contents = {};
}

// Two fields of one frame share a sample.
void CContainerCheck::CheckPictures()
{
    if (contents.isContinued)
        Add("it begins with slices of a picture that began in an earlier sample");
    const uint64_t count = contents.frames + (contents.fields + 1) / 2;
    if (count == 0 && !contents.isContinued)
        Add("it holds no picture; one is expected");
    else if (count > 1)
        Add(fmt::format("it holds {} pictures; one is expected", contents.frames + contents.fields));
}

// A picture with a recovery point, and an H.265 CRA or BLA picture, may be marked or not.
void CContainerCheck::CheckMark()
{
    const bool isMarked = contents.sample->isKey;
    if (contents.hasIdr && !isMarked)
        Add("an IDR picture is not marked as a key sample: players cannot seek to it");
    if (!isMarked || contents.hasIrap || contents.hasRecoveryPoint ||
        (contents.frames == 0 && contents.fields == 0))
        return;
    if (facts.codec == VideoCodecHEVC)
        Add("it is marked as a key sample, but its picture is no IRAP picture: decoding cannot start here");
    else if (contents.refersToOthers)
        Add("it is marked as a key sample, but its picture refers to others: decoding cannot start here");
}

void CContainerCheck::CheckTimes(const std::shared_ptr<const Sample>& sample)
{
    if (!sample->dts)
        return;
    const auto add = [&](const std::string& text) { findings.push_back({sample, text}); };
    if (sample->pts && *sample->pts < *sample->dts)
        add(fmt::format("it is presented at {}, before it is decoded at {}", Time(*sample->pts),
                        Time(*sample->dts)));
    if (lastTimed) {
        const int64_t last = *lastTimed->dts;
        const int64_t step = *sample->dts - last;
        const int64_t duration = lastTimed->duration.value_or(0);
        if (step < 0)
            add(fmt::format("its decoding time {} goes back behind {}", Time(*sample->dts), Time(last)));
        else if (step == 0)
            add(fmt::format("its decoding time {} is that of the previous sample", Time(*sample->dts)));
        else if (facts.timeBase.Seconds(step) > JumpSeconds && step / JumpFrames > duration)
            add(fmt::format("its decoding time jumps by {:.3f} s, from {} to {}",
                            facts.timeBase.Seconds(step), Time(last), Time(*sample->dts)));
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
    const double rate = seconds > 0 ? static_cast<double>(timedSamples - 1) / seconds : 0;
    if (rate != 0 && std::abs(rate / streamFrameRate - 1) > RateTolerance)
        Add(fmt::format("the stream says {:.6g} frames/s, the times of the container give {:.6g}",
                        streamFrameRate, rate));
}

std::string CContainerCheck::Time(int64_t ticks) const
{
    return fmt::format("{:.3f} s", facts.timeBase.Seconds(ticks));
}

}  // namespace tool
