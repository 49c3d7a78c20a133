// What a container records about one sample of a video track. A byte stream has no samples.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>

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

}  // namespace tool
