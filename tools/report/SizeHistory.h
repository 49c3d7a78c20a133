// The sizes of any number of access units in a few thousand bins: as the stream goes on, two bins become one.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

namespace tool {

struct SizeBin
{
    uint64_t count = 0;
    uint64_t sum = 0;
    uint64_t largestKey = 0;    // of the key frames; 0: none
    uint64_t largestOther = 0;  // of the others; 0: none

    void Merge(const SizeBin& other);
};

class CSizeHistory
{
public:
    void Add(uint64_t size, bool isKeyFrame);

    // Every bin has as many access units as the first, but for the last.
    const std::vector<SizeBin>& Bins() const { return bins; }

private:
    void Halve();

    std::vector<SizeBin> bins;
    uint64_t unitsPerBin = 1;
};

}  // namespace tool
