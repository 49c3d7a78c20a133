// Follows frame_num from picture to picture, H.264 7.4.3: a reference picture has the value of the previous
// reference picture plus 1.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AvcSyntax.h"

#include <map>

namespace tool {

enum class FrameNumOutcome
{
    Continues,            // or nothing can be concluded
    PicturesMissing,      // once for each gap
    ParameterSetsUnknown  // the slice header cannot be read
};

struct FrameNumResult
{
    FrameNumOutcome outcome = FrameNumOutcome::Continues;
    uint32_t frame_num = 0;  // found and expected, if pictures are missing
    uint32_t expected = 0;
};

class CFrameContinuity
{
public:
    // An SPS or PPS; other units are ignored.
    void TakeParameterSet(const NalUnit& unit);

    // The first slice of a picture.
    FrameNumResult TakePicture(const NalUnit& slice);

    // The next picture need not continue the last one. Parameter sets stay known.
    void Forget();

private:
    struct Field
    {
        bool isBottom;
        uint32_t frame_num;  // that the second field of the frame has
    };

    bool IsSecondField(const AvcSliceHeader& slice) const;
    FrameNumResult Compare(const AvcSliceHeader& slice, const AvcSps& sps);

    std::map<uint32_t, AvcSps> sequenceSets;
    std::map<uint32_t, AvcPps> pictureSets;
    std::optional<uint32_t> prevRefFrameNum;  // nothing after a picture that could not be read
    std::optional<Field> firstField;          // the previous picture, if a second field may follow
};

}  // namespace tool
