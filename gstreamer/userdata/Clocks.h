// The clocks that timestamps count.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <gst/base/gstbasetransform.h>
#include <optional>
#include <videoparams/timestamp.h>

namespace gstvp {

// What an inserted timestamp holds. The first value aside, these are clocks of the payload.
enum StampSource
{
    StampSourceNone,
    StampSourceUtc,
    StampSourceMonotonic,
    StampSourceRunningTime,
    StampSourceReference
};

// How the values of reference timestamps are to be understood.
enum ReferenceClock
{
    ReferenceClockUnknown,
    ReferenceClockUnix,      // since 1970, UTC
    ReferenceClockNtp,       // since 1900, UTC
    ReferenceClockPipeline,  // of the pipeline's clock
};

struct Stamp
{
    guint clock;  // of VideoParamsClock, or any byte of a foreign payload
    gint64 nanoseconds;
};

// Negative before the segment. None if the segment does not count time, or without a time.
std::optional<gint64> RunningTimeOf(const GstSegment& segment, GstClockTime time);

// The timestamp for a buffer. None if the buffer does not have what the source needs: a presentation
// timestamp, or a GstReferenceTimestampMeta.
std::optional<Stamp> MakeStamp(StampSource source, const GstSegment& segment, GstBuffer* buffer);

// The time that has passed since the stamp. None if its clock cannot be read here.
std::optional<gint64> AgeOf(const Stamp& stamp, ReferenceClock referenceClock, GstElement* element);

// "utc", "monotonic", "pts", "running-time", "reference"; "unknown" for all others.
const char* NameOfClock(guint clock);

}  // namespace gstvp
