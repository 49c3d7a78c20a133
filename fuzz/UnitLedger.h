#pragma once

#include "FuzzInput.h"

// Compares the reports with the units that were fed, one unit per call: no unit is lost, repeated or moved.
// Only two kinds of units are never reported: those that come while no access unit is open, and H.264 slices
// whose parameter sets are unknown.
class CUnitLedger
{
public:
    explicit CUnitLedger(VideoCodecType streamCodec) : codec(streamCodec) {}

    void Feed(Bytes unit);
    void Report(Bytes accessUnit, bool isKeyFrame);
    void Flush();

private:
    bool MayBeDropped(Bytes unit, bool isOpen) const;
    size_t UnitsIn(Bytes begin, Bytes rest, size_t first) const;
    size_t UnitsInCompleted(Bytes accessUnit, size_t first) const;

    VideoCodecType codec;
    std::vector<Bytes> fed;          // and not reported yet
    std::vector<size_t> next = {0};  // indices in `fed` where the next report may begin
    bool wasReported = false;        // since the last flush
    Bytes firstSps;
    Bytes firstPps;
};
