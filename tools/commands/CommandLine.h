// The command line.
//
// SPDX-License-Identifier: MIT

#pragma once

namespace tool {

// Does what the command line says and returns the status to end with. Throws CToolError.
int RunCommandLine(int argc, char** argv);

}  // namespace tool
