// Opens files with the programs of the user's desktop.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace tool {

bool HasDesktop();

// Opens a file with the program that the user has chosen for its kind. False if that is not possible.
bool OpenOnDesktop(const std::string& path);

}  // namespace tool
