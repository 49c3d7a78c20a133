// Follows frame_num from picture to picture, H.264 7.4.3: a reference picture has the value of the previous
// reference picture plus 1.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AvcSyntax.h"

#include <map>
#include <string>

namespace tool {

class CFrameContinuity
{
public:
    // An SPS or PPS; other units are ignored.
    void TakeParameterSet(const NalUnit& unit);

    // The first slice of a picture. Returns a finding, or "".
    std::string TakePicture(const NalUnit& slice);

private:
    struct Field
    {
        bool isBottom;
        uint32_t frame_num;  // that the second field of the frame has
    };

    bool IsSecondField(const AvcSliceHeader& slice) const;
    std::string Compare(const AvcSliceHeader& slice, const AvcSps& sps);
    void Forget();

    std::map<uint32_t, AvcSps> sequenceSets;
    std::map<uint32_t, AvcPps> pictureSets;
    std::optional<uint32_t> prevRefFrameNum;  // nothing after a picture that could not be read
    std::optional<Field> firstField;          // the previous picture, if a second field may follow
};

}  // namespace tool
