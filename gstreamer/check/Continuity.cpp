#include "check/AvcContinuity.h"
#include "check/HevcContinuity.h"

namespace gstvp {

std::unique_ptr<CContinuity> MakeContinuity(const CodecRules& rules)
{
    if (rules.codec == VideoCodecHEVC)
        return std::make_unique<CHevcContinuity>();
    return std::make_unique<CAvcContinuity>();
}

}  // namespace gstvp
