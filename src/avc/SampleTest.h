#pragma once

#include "VideoParams.h"
#include "avc/AvcSliceReader.h"

namespace videoparams {

// Whether the first slices of successive samples continue the sequence of frame_num.
class CSampleTest
{
public:
    VideoInfoEx TestSlice(const SliceHeaderRecord& slice, const SpsRecord& sps);

private:
    bool IsSecondField(const SliceHeaderRecord& slice) const;
    bool IsGap(const SliceHeaderRecord& slice, const SpsRecord& sps) const;

    uint32_t prevRefFrameNum = 0;    // frame_num of the last reference picture
    uint32_t secondFieldParity = 0;  // bottom_field_flag of a second field
    bool firstFieldHasGap = false;   // as tested for the last first field
};

}  // namespace videoparams
