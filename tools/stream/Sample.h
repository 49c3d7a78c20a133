// What a container records about itself and about each sample of a video stream. A byte stream has neither.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

// Seconds in one tick of the times of a container.
struct TimeBase
{
    int64_t numerator = 0;  // 0: there are no times
    int64_t denominator = 1;

    double Seconds(int64_t ticks) const
    {
        return static_cast<double>(ticks) * static_cast<double>(numerator) / static_cast<double>(denominator);
    }
};

struct Sample
{
    uint64_t number = 0;             // from 0, in decoding order
    std::optional<uint64_t> offset;  // in the file of the container
    uint64_t size = 0;               // bytes in the container
    std::optional<int64_t> pts;      // in ticks, as the following two
    std::optional<int64_t> dts;
    std::optional<int64_t> duration;
    bool isKey = false;  // as the container marks it
};

struct ContainerFacts
{
    std::string format;  // its name for people
    uint32_t streamCount = 0;
    uint32_t stream = 0;   // index of the video stream
    std::string codecTag;  // such as "avc1"; empty if the format has none
    uint32_t width = 0;    // of the pictures; 0: not recorded
    uint32_t height = 0;
    uint32_t frameRateNumerator = 0;  // mean; 0: not recorded
    uint32_t frameRateDenominator = 0;
    int32_t rotation = 0;  // degrees clockwise, to be applied when shown
    std::string language;  // empty: not recorded
    std::optional<double> startSeconds;
    std::optional<double> durationSeconds;  // of the video stream
    uint32_t lengthSize = 0;                // bytes of the length field before each unit; 0: start codes
    bool recordsAllTimes = true;            // otherwise some are guessed
    bool marksKeySamples = false;           // `Sample::isKey` is a mark of the container, not a guess
    std::vector<std::vector<unsigned char>> parameterSets;  // of the sample description, with start codes
};

}  // namespace tool
