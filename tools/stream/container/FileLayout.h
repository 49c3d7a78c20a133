// What the headers of a container say about its layout and its size. libavformat reports neither.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/InputFile.h"

#include <string>
#include <string_view>

namespace tool {

// The order of the top-level boxes, ISO/IEC 14496-12 4.2.
struct MovLayout
{
    bool isFragmented = false;
    bool indexComesFirst = false;
    uint64_t declaredSize = 0;  // the end of the last box; 0: not declared
};

// These move the file. `file` must be regular.
MovLayout ReadMovLayout(CInputFile& file);

// How the file shows that its end is missing; empty if it does not. `format` is the name of libavformat.
std::string DescribeCutEnd(CInputFile& file, std::string_view format);

}  // namespace tool
