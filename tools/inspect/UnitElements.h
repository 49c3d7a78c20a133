// The syntax elements of one unit, to be shown.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "inspect/StreamLists.h"

namespace tool {

// Of the header, a parameter set, a slice header, or the messages of an SEI unit: what the tool and the
// library read. `lists` has the parameter sets of the stream.
//     [{"name": "slice_type", "value": 7}, …]      without a value: the name of a structure
Json ReadElements(const NalUnit& unit, const CStreamLists& lists);

}  // namespace tool
