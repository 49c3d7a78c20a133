// The continuity of frame_num by the library's VideoSampleTest, without what it reports for sound streams.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Continuity.h"
#include "stream/Handle.h"

namespace gstvp {

class CAvcContinuity : public CContinuity
{
public:
    [[nodiscard]] bool Create();
    ContinuityResult Test(const CAccessUnitHead& head) override;
    void Restart() override;

private:
    bool IsSecondField(const CAccessUnitHead& head);
    bool IsGap(bool isFlagged, bool isReference, bool isKey);

    CParseHandle tester;
    CParseHandle scout;  // sees second fields too, to detect them
    bool isAfterFirstField = false;

    // Before the first reference picture, nothing is known to compare with.
    bool hasReference = false;
    bool isGapSuspected = false;
    bool repeatsFrameNum = false;
};

}  // namespace gstvp
