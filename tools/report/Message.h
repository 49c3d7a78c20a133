// Words for people.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace tool {

// A line on standard error, beside the results.
void Complain(const std::string& text);

// "1 picture", "2 pictures"
std::string CountOf(uint64_t count, const std::string& thing);

}  // namespace tool
