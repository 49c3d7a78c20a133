#include "report/StreamSummary.h"

#include <algorithm>

namespace tool {

namespace {

constexpr size_t MaxSequencesListed = 100;

SequenceInfo SequenceInfoOf(const PictureFormat& format)
{
    const VideoInfo& info = format.info;
    return {.width = info.width,
            .height = info.height,
            .frameRateNumerator = info.frameRateNumerator,
            .frameRateDenominator = info.frameRateDenominator,
            .video_signal_type_present_flag = info.video_signal_type_present_flag,
            .video_format = info.video_format,
            .video_full_range_flag = info.video_full_range_flag,
            .colour_description_present_flag = info.colour_description_present_flag,
            .colour_primaries = info.colour_primaries,
            .transfer_characteristics = info.transfer_characteristics,
            .matrix_coefficients = info.matrix_coefficients,
            .profile_idc = format.profile_idc,
            .profile = format.profile,
            .level = format.level,
            .tier = format.tier,
            .chroma_format_idc = format.chroma_format_idc,
            .lumaBitDepth = format.lumaBitDepth,
            .chromaBitDepth = format.chromaBitDepth,
            .scan = format.scan};
}

}  // namespace

void Spread::Add(uint64_t value)
{
    smallest = count == 0 ? value : std::min(smallest, value);
    largest = std::max(largest, value);
    sum += value;
    ++count;
}

void CStreamSummary::Add(const AccessUnit& unit)
{
    if (unit.format)
        NoteSequence(unit);
    if (!unit.hasSlice)
        return;
    sizes.Add(unit.size);
    if (unit.isKeyFrame) {
        if (keyFrames++ != 0)
            keyDistances.Add(unit.number - lastKeyFrame);
        lastKeyFrame = unit.number;
    }
    fields += unit.isField;
    seconds += SecondsOf(unit);
    untimedUnits += !present.HasFrameRate();
}

double CStreamSummary::SecondsOf(const AccessUnit& unit) const
{
    return present.HasFrameRate() ? (unit.isField ? 0.5 : 1.0) / present.FrameRate() : 0;
}

void CStreamSummary::NoteSequence(const AccessUnit& unit)
{
    const SequenceInfo info = SequenceInfoOf(*unit.format);
    if (!sequences.empty()) {
        if (info == present)
            return;
        ++sequenceChanges;
    }
    present = info;
    if (sequences.size() < MaxSequencesListed)
        sequences.push_back({unit.number, info});
}

std::optional<double> CStreamSummary::Duration() const
{
    if (untimedUnits != 0 || sizes.count == 0)
        return std::nullopt;
    return seconds;
}

std::optional<double> CStreamSummary::BitRate() const
{
    const std::optional<double> duration = Duration();
    if (!duration)
        return std::nullopt;
    return 8 * static_cast<double>(sizes.sum) / *duration;
}

}  // namespace tool
