#include "check/StreamCheck.h"

#include <algorithm>

namespace gstvp {

void CStreamCheck::Start()
{
    counts = CheckCounts();
}

bool CStreamCheck::Begin(const CodecRules& rules)
{
    End();
    continuity = MakeContinuity(rules);
    return sequence.Begin(rules);
}

void CStreamCheck::Restart()
{
    if (continuity != nullptr)
        continuity->Restart();
    lastKey.reset();
}

void CStreamCheck::End()
{
    continuity.reset();
    sequence.End();
    lastKey.reset();
    hasFormat = false;
    isUnreadable = false;
}

PictureFindings CStreamCheck::Take(const CAccessUnitHead& head, GstClockTime pts, guint64 size)
{
    PictureFindings findings;
    findings.number = counts.pictures;
    findings.isKey = head.IsKey();
    findings.continuity = TestContinuity(head);
    findings.change = FindChange(head);
    if (findings.isKey) {
        findings.distance = MeasureDistance(pts);
        lastKey = {counts.pictures, counts.bytes, pts};
        ++counts.keyFrames;
    }
    ++counts.pictures;
    counts.bytes += size;
    return findings;
}

ContinuityResult CStreamCheck::TestContinuity(const CAccessUnitHead& head)
{
    const ContinuityResult result = continuity->Test(head);
    const bool wasUnreadable = isUnreadable;
    isUnreadable = result.outcome == ContinuityOutcome::ParameterSetsMissing;
    if (isUnreadable)
        ++counts.unreadable;
    if (result.outcome == ContinuityOutcome::ReferencesMissing)
        ++counts.gaps;
    return isUnreadable && wasUnreadable ? ContinuityResult() : result;
}

std::optional<FormatChange> CStreamCheck::FindChange(const CAccessUnitHead& head)
{
    const std::optional<SequenceFormat> format = sequence.Read(head);
    if (!format || (hasFormat && *format == counts.format))
        return std::nullopt;
    const FormatChange change{counts.format, *format};
    const bool isFirst = !hasFormat;
    hasFormat = true;
    counts.format = *format;
    if (isFirst)
        return std::nullopt;
    ++counts.formatChanges;
    return change;
}

std::optional<KeyDistance> CStreamCheck::MeasureDistance(GstClockTime pts)
{
    if (!lastKey)
        return std::nullopt;
    KeyDistance distance{counts.pictures - lastKey->number, counts.bytes - lastKey->bytesBefore,
                         GST_CLOCK_TIME_NONE};
    if (GST_CLOCK_TIME_IS_VALID(pts) && GST_CLOCK_TIME_IS_VALID(lastKey->pts) && pts >= lastKey->pts)
        distance.duration = pts - lastKey->pts;
    counts.largestKeyDistance = std::max(counts.largestKeyDistance, distance.pictures);
    return distance;
}

}  // namespace gstvp
