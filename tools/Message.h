// What the tool says beside its results.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace tool {

// A line on standard error.
void Complain(const std::string& text);

}  // namespace tool
