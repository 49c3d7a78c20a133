#include "userdata/Clocks.h"

#include <chrono>

namespace gstvp {

namespace {

constexpr gint64 NtpToUnixSeconds = 2208988800;     // from 1900 to 1970, RFC 5905
constexpr guint64 MaxRunningTime = G_MAXINT64 / 2;  // 146 years; sums of two stay in range

template <typename Clock>
gint64 Now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

std::optional<gint64> TimeOf(GstClockTime time)
{
    if (!GST_CLOCK_TIME_IS_VALID(time))
        return std::nullopt;
    return static_cast<gint64>(time);
}

std::optional<gint64> NowOfPipelineClock(GstElement* element)
{
    GstClock* const clock = gst_element_get_clock(element);
    if (clock == nullptr)
        return std::nullopt;
    const GstClockTime now = gst_clock_get_time(clock);
    gst_object_unref(clock);
    return TimeOf(now);
}

std::optional<gint64> NowOfReference(ReferenceClock referenceClock, GstElement* element)
{
    switch (referenceClock) {
    case ReferenceClockUnix:
        return Now<std::chrono::system_clock>();
    case ReferenceClockNtp:
        return Now<std::chrono::system_clock>() + NtpToUnixSeconds * static_cast<gint64>(GST_SECOND);
    case ReferenceClockPipeline:
        return NowOfPipelineClock(element);
    default:
        return std::nullopt;
    }
}

std::optional<gint64> NowOf(guint clock, ReferenceClock referenceClock, GstElement* element)
{
    switch (clock) {
    case VideoParamsClockUtc:
        return Now<std::chrono::system_clock>();
    case VideoParamsClockMonotonic:
        return Now<std::chrono::steady_clock>();
    case VideoParamsClockRunningTime:
        return TimeOf(gst_element_get_current_running_time(element));
    case VideoParamsClockReference:
        return NowOfReference(referenceClock, element);
    default:
        return std::nullopt;
    }
}

}  // namespace

std::optional<gint64> RunningTimeOf(const GstSegment& segment, GstClockTime time)
{
    if (segment.format != GST_FORMAT_TIME || !GST_CLOCK_TIME_IS_VALID(time))
        return std::nullopt;
    guint64 distance = 0;
    const gint sign = gst_segment_to_running_time_full(&segment, GST_FORMAT_TIME, time, &distance);
    if (sign == 0 || distance > MaxRunningTime)
        return std::nullopt;
    return sign * static_cast<gint64>(distance);
}

std::optional<Stamp> MakeStamp(StampSource source, const GstSegment& segment, GstBuffer* buffer)
{
    switch (source) {
    case StampSourceUtc:
        return Stamp{VideoParamsClockUtc, Now<std::chrono::system_clock>()};
    case StampSourceMonotonic:
        return Stamp{VideoParamsClockMonotonic, Now<std::chrono::steady_clock>()};
    case StampSourceRunningTime:
        if (const auto time = RunningTimeOf(segment, GST_BUFFER_PTS(buffer)))
            return Stamp{VideoParamsClockRunningTime, *time};
        return std::nullopt;
    case StampSourceReference:
        if (const auto* const meta = gst_buffer_get_reference_timestamp_meta(buffer, nullptr))
            return Stamp{VideoParamsClockReference, static_cast<gint64>(meta->timestamp)};
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

std::optional<gint64> AgeOf(const Stamp& stamp, ReferenceClock referenceClock, GstElement* element)
{
    const std::optional<gint64> now = NowOf(stamp.clock, referenceClock, element);
    gint64 age = 0;
    if (!now || __builtin_sub_overflow(*now, stamp.nanoseconds, &age))
        return std::nullopt;
    return age;
}

const char* NameOfClock(guint clock)
{
    switch (clock) {
    case VideoParamsClockUtc:
        return "utc";
    case VideoParamsClockMonotonic:
        return "monotonic";
    case VideoParamsClockPts:
        return "pts";
    case VideoParamsClockRunningTime:
        return "running-time";
    case VideoParamsClockReference:
        return "reference";
    default:
        return "unknown";
    }
}

}  // namespace gstvp
