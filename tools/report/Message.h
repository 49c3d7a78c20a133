// Words for people.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/StreamAnalysis.h"

#include <cstdint>
#include <string>

namespace tool {

// A line on standard error, beside the results.
void Complain(const std::string& text);

// A line about what was done: on standard output, or beside the result if that is there.
void Announce(const std::string& text, bool isResultOnStandardOutput);

// "1 picture", "2 pictures"
std::string CountOf(uint64_t count, const std::string& thing);

// "film.h264: no picture could be read: 10 slices without parameter sets (...)"
std::string DescribeNoPicture(const std::string& name, const Damage& damage);

}  // namespace tool
