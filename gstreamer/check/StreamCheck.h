// Follows a stream picture by picture: continuity, picture size and rate, key frames.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Continuity.h"
#include "stream/SequenceReader.h"

namespace gstvp {

struct FormatChange
{
    SequenceFormat before;
    SequenceFormat now;
};

// What is since the last key frame; a field counts as a picture.
struct KeyDistance
{
    guint64 pictures;
    guint64 bytes;          // of these pictures, the last key frame included
    GstClockTime duration;  // GST_CLOCK_TIME_NONE without timestamps
};

struct PictureFindings
{
    guint64 number = 0;  // of the picture, from 0
    bool isKey = false;
    ContinuityResult continuity;  // missing parameter sets are found at the first picture of a run
    std::optional<FormatChange> change;
    std::optional<KeyDistance> distance;  // of a key frame that is not the first
};

struct CheckCounts
{
    guint64 pictures = 0;
    guint64 bytes = 0;
    guint64 keyFrames = 0;
    guint64 largestKeyDistance = 0;
    guint64 gaps = 0;
    guint64 unreadable = 0;
    guint64 formatChanges = 0;
    SequenceFormat format;
};

class CStreamCheck
{
public:
    // Counts from 0.
    void Start();
    // The stream has this codec from now on. False: out of memory.
    [[nodiscard]] bool Begin(const CodecRules& rules);
    // The next picture need not continue the last one.
    void Restart();
    void End();

    // A picture: the head has a slice.
    PictureFindings Take(const CAccessUnitHead& head, GstClockTime pts, guint64 size);
    const CheckCounts& Counts() const { return counts; }

private:
    struct KeyFrame
    {
        guint64 number;
        guint64 bytesBefore;
        GstClockTime pts;
    };

    ContinuityResult TestContinuity(const CAccessUnitHead& head);
    std::optional<FormatChange> FindChange(const CAccessUnitHead& head);
    std::optional<KeyDistance> MeasureDistance(GstClockTime pts);

    std::unique_ptr<CContinuity> continuity;
    CSequenceReader sequence;
    CheckCounts counts;
    bool hasFormat = false;
    bool isUnreadable = false;  // as the last picture was
    std::optional<KeyFrame> lastKey;
};

}  // namespace gstvp
