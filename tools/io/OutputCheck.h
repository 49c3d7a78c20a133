// Decides whether an output may be opened, so that nothing of the user's is lost.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/OutputFile.h"

namespace tool {

// Throws CToolError if the request would destroy an input or a file of another kind, or write bytes to a
// terminal.
void CheckOutput(const OutputRequest& request);

}  // namespace tool
