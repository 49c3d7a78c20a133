// What the pictures of one sample of a container are, and whether the sample may be marked as a key sample.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/StreamAnalysis.h"

#include <memory>
#include <optional>

namespace tool {

class CSampleContents
{
public:
    CSampleContents() = default;
    explicit CSampleContents(std::shared_ptr<const Sample> given) : sample(std::move(given)) {}

    // Every unit of the sample, after the analysis has taken it.
    void Take(const NalUnit& unit, UnitRole role, const AccessUnit& picture);

    const std::shared_ptr<const Sample>& Of() const { return sample; }

    // Two fields of one frame count as one.
    uint64_t Pictures() const { return frames + (fields + 1) / 2; }
    bool IsContinued() const { return isContinued; }  // begins with slices of a picture of an earlier sample

    // The mark that the sample must have: 1 for an IDR picture, 0 for a picture from which decoding cannot
    // start. Nothing if both are allowed: for a picture with a recovery point, an H.265 CRA or BLA picture,
    // and an intra picture.
    std::optional<bool> RequiredMark() const;

private:
    std::shared_ptr<const Sample> sample;
    uint64_t frames = 0;
    uint64_t fields = 0;
    bool isContinued = false;
    bool hasIdr = false;
    bool hasIrap = false;
    bool hasRecoveryPoint = false;
    bool cannotStart = false;  // H.264: a slice of type P or B; H.265: a slice of no IRAP picture
};

}  // namespace tool
