// The continuity of frame_num, by the rules of the command's check.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Continuity.h"
#include "stream/FrameContinuity.h"

namespace gstvp {

class CAvcContinuity : public CContinuity
{
public:
    ContinuityResult Test(const CAccessUnitHead& head) override;
    void Restart() override { continuity.Forget(); }

private:
    tool::CFrameContinuity continuity;
};

}  // namespace gstvp
