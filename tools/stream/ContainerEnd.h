// How reading a container ended, and what is missing.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct ContainerEnd
{
    uint64_t samples = 0;         // read
    uint64_t missingSamples = 0;  // in the index, but not in the file
    uint64_t damagedSamples = 0;  // cut short, or with bytes outside of units
    std::string cut;              // how the file shows that its end is missing; empty: it does not
    std::string error;            // empty: the end was reached

    // A text for each kind of missing data; nothing if the file was read to its end.
    std::vector<std::string> DescribeMissing() const;
};

}  // namespace tool
