// The names that ITU-T H.264 and H.265, Annex A and its relatives, give to profiles.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AvcSyntax.h"

#include <string>

namespace tool {

std::string AvcProfileName(uint32_t profile_idc, uint32_t constraint_flags);
std::string HevcProfileName(uint32_t general_profile_idc);

// Level 1b shares its level_idc with level 1.1 in some profiles, H.264 A.3.1.
bool IsAvcLevel1b(const AvcSps& sps);

}  // namespace tool
