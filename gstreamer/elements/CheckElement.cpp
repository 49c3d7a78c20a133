#include "elements/CheckElement.h"

namespace gstvp {

namespace {

GstStructure* NewReport(const char* name, const PictureFindings& findings, GstClockTime pts)
{
    return gst_structure_new(name, "pts", G_TYPE_UINT64, pts, "picture", G_TYPE_UINT64, findings.number,
                             nullptr);
}

GstStructure* ReportContinuity(const PictureFindings& findings, GstClockTime pts)
{
    if (findings.continuity.outcome == ContinuityOutcome::ParameterSetsMissing)
        return NewReport("vpcheck-missing-parameter-sets", findings, pts);
    GstStructure* const report = NewReport("vpcheck-missing-references", findings, pts);
    if (findings.continuity.missingCount > 0)
        gst_structure_set(report, "missing", G_TYPE_UINT, findings.continuity.missingCount, nullptr);
    return report;
}

GstStructure* ReportChange(const PictureFindings& findings, GstClockTime pts)
{
    const auto& [before, now] = *findings.change;
    GstStructure* const report = NewReport("vpcheck-format", findings, pts);
    gst_structure_set(report, "width", G_TYPE_UINT, now.width, "height", G_TYPE_UINT, now.height, "framerate",
                      GST_TYPE_FRACTION, now.rateNumerator, now.rateDenominator, "previous-width",
                      G_TYPE_UINT, before.width, "previous-height", G_TYPE_UINT, before.height,
                      "previous-framerate", GST_TYPE_FRACTION, before.rateNumerator, before.rateDenominator,
                      nullptr);
    return report;
}

GstStructure* ReportKeyFrame(const PictureFindings& findings, GstClockTime pts, guint64 size)
{
    GstStructure* const report = NewReport("vpcheck-key-frame", findings, pts);
    gst_structure_set(report, "size", G_TYPE_UINT64, size, nullptr);
    if (!findings.distance)
        return report;
    gst_structure_set(report, "distance", G_TYPE_UINT64, findings.distance->pictures, "group-size",
                      G_TYPE_UINT64, findings.distance->bytes, nullptr);
    if (GST_CLOCK_TIME_IS_VALID(findings.distance->duration))
        gst_structure_set(report, "duration", G_TYPE_UINT64, findings.distance->duration, nullptr);
    return report;
}

}  // namespace

void CCheckElement::SetProperty(guint id, const GValue* value)
{
    const std::lock_guard lock(mutex);
    switch (id) {
    case CheckPropertyFixFlags:
        settings.isFixingFlags = g_value_get_boolean(value) != FALSE;
        break;
    case CheckPropertyPostMessages:
        settings.isPosting = g_value_get_boolean(value) != FALSE;
        break;
    }
}

void CCheckElement::GetProperty(guint id, GValue* value)
{
    switch (id) {
    case CheckPropertyFixFlags:
        g_value_set_boolean(value, Settings().isFixingFlags);
        break;
    case CheckPropertyPostMessages:
        g_value_set_boolean(value, Settings().isPosting);
        break;
    case CheckPropertyStats:
        g_value_take_boxed(value, Stats());
        break;
    }
}

CheckSettings CCheckElement::Settings()
{
    const std::lock_guard lock(mutex);
    return settings;
}

GstStructure* CCheckElement::Stats()
{
    const std::lock_guard lock(mutex);
    return gst_structure_new("vpcheck-stats", "pictures", G_TYPE_UINT64, counts.pictures, "bytes",
                             G_TYPE_UINT64, counts.bytes, "key-frames", G_TYPE_UINT64, counts.keyFrames,
                             "largest-key-distance", G_TYPE_UINT64, counts.largestKeyDistance, "gaps",
                             G_TYPE_UINT64, counts.gaps, "unreadable", G_TYPE_UINT64, counts.unreadable,
                             "format-changes", G_TYPE_UINT64, counts.formatChanges, "fixed-flags",
                             G_TYPE_UINT64, fixedFlags, "width", G_TYPE_UINT, counts.format.width, "height",
                             G_TYPE_UINT, counts.format.height, "framerate", GST_TYPE_FRACTION,
                             counts.format.rateNumerator, counts.format.rateDenominator, nullptr);
}

void CCheckElement::Start()
{
    check.Start();
    const std::lock_guard lock(mutex);
    counts = CheckCounts();
    fixedFlags = 0;
}

bool CCheckElement::Begin(const CodecRules& codecRules)
{
    rules = &codecRules;
    return check.Begin(codecRules);
}

GstBuffer* CCheckElement::Take(GstBuffer* buffer)
{
    const guint64 size = gst_buffer_get_size(buffer);
    const GstClockTime pts = GST_BUFFER_PTS(buffer);
    PictureFindings findings;
    {
        const CAccessUnitHead head(*rules, buffer);
        if (!head.HasSlice())
            return buffer;
        findings = check.Take(head, pts, size);
    }
    {
        const std::lock_guard lock(mutex);
        counts = check.Counts();
    }
    const CheckSettings now = Settings();
    if (now.isFixingFlags)
        FixFlags(buffer, findings.isKey);
    if (now.isPosting)
        Post(findings, pts, size);
    return buffer;
}

void CCheckElement::Post(const PictureFindings& findings, GstClockTime pts, guint64 size)
{
    if (findings.continuity.outcome != ContinuityOutcome::Continues)
        Post(ReportContinuity(findings, pts));
    if (findings.change)
        Post(ReportChange(findings, pts));
    if (findings.isKey)
        Post(ReportKeyFrame(findings, pts, size));
}

void CCheckElement::Post(GstStructure* report)
{
    gst_element_post_message(owner, gst_message_new_element(GST_OBJECT(owner), report));
}

void CCheckElement::FixFlags(GstBuffer*& buffer, bool isKey)
{
    const bool isDelta = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    if (isDelta != isKey)
        return;
    buffer = gst_buffer_make_writable(buffer);
    if (isKey)
        GST_BUFFER_FLAG_UNSET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    else
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    const std::lock_guard lock(mutex);
    ++fixedFlags;
}

}  // namespace gstvp
