// The sizes of any number of pictures in a few thousand bins: when all are full, two bins become one.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

namespace tool {

struct SizeBin
{
    uint64_t count = 0;
    uint64_t keyCount = 0;
    uint64_t sum = 0;           // bytes
    uint64_t largestKey = 0;    // bytes of the largest key frame; 0: no such picture
    uint64_t largestOther = 0;  // bytes of the largest other picture; 0: no such picture
    double seconds = 0;         // 0 if the frame rate is unknown

    void Merge(const SizeBin& other);
};

class CSizeHistory
{
public:
    void Add(uint64_t size, bool isKeyFrame, double seconds);

    // Every bin has as many pictures as the first one, except the last.
    const std::vector<SizeBin>& Bins() const { return bins; }

private:
    void Halve();

    std::vector<SizeBin> bins;
    uint64_t unitsPerBin = 1;
};

}  // namespace tool
