// What `info` says of a whole stream, gathered access unit by access unit in constant memory.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/StreamAnalysis.h"

#include <optional>
#include <vector>

namespace tool {

// The fields of a report that describe the sequence.
struct SequenceInfo
{
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t frameRateNumerator = 0;
    uint32_t frameRateDenominator = 0;
    uint32_t video_signal_type_present_flag = 0;
    uint32_t video_format = 0;
    uint32_t video_full_range_flag = 0;
    uint32_t colour_description_present_flag = 0;
    uint32_t colour_primaries = 0;
    uint32_t transfer_characteristics = 0;
    uint32_t matrix_coefficients = 0;
    uint32_t profile_idc = 0;  // H.265: general_profile_idc
    std::string profile;       // its name
    std::string level;
    std::string tier;  // H.265
    uint32_t chroma_format_idc = 0;
    uint32_t lumaBitDepth = 0;
    uint32_t chromaBitDepth = 0;
    Scan scan = Scan::Unknown;

    bool operator==(const SequenceInfo&) const = default;
    bool HasFrameRate() const { return frameRateNumerator != 0 && frameRateDenominator != 0; }
    double FrameRate() const { return static_cast<double>(frameRateNumerator) / frameRateDenominator; }
};

struct SequenceStart
{
    uint64_t accessUnit;
    SequenceInfo info;
};

// Smallest, mean and largest of some numbers.
struct Spread
{
    uint64_t count = 0;
    uint64_t sum = 0;
    uint64_t smallest = 0;
    uint64_t largest = 0;

    void Add(uint64_t value);
    double Mean() const { return static_cast<double>(sum) / static_cast<double>(count); }
};

class CStreamSummary
{
public:
    void Add(const AccessUnit& unit);

    // After Add of the unit; 0 if the stream does not give its frame rate.
    double SecondsOf(const AccessUnit& unit) const;

    const Spread& Sizes() const { return sizes; }  // bytes of the access units
    const Spread& KeyDistances() const
    {
        return keyDistances;
    }  // access units from one key frame to the next
    uint64_t KeyFrames() const { return keyFrames; }
    uint64_t Fields() const { return fields; }

    // Where the description of the sequence begins and where it changes.
    const std::vector<SequenceStart>& Sequences() const { return sequences; }
    uint64_t SequenceChanges() const
    {
        return sequenceChanges;
    }  // more than are listed, if there are very many

    // Seconds and bits a second; nothing where the stream does not say its frame rate for every access unit.
    std::optional<double> Duration() const;
    std::optional<double> BitRate() const;

private:
    void NoteSequence(const AccessUnit& unit);

    Spread sizes;
    Spread keyDistances;
    uint64_t keyFrames = 0;
    uint64_t lastKeyFrame = 0;
    uint64_t fields = 0;
    std::vector<SequenceStart> sequences;
    SequenceInfo present;
    uint64_t sequenceChanges = 0;
    double seconds = 0;
    uint64_t untimedUnits = 0;
};

}  // namespace tool
