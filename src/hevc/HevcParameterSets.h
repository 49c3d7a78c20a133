#pragma once

#include "analysis/SequenceInfo.h"
#include "bitstream/BitReader.h"

namespace videoparams {

// The bits come after the unit header. Of a set that is cut short, the groups that were read whole are
// written.
void ReadHevcVps(CBitReader& bits, SequenceInfo& info);
void ReadHevcSps(CBitReader& bits, SequenceInfo& info);

}  // namespace videoparams
