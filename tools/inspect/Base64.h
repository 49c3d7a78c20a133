// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string>

namespace tool {

// RFC 4648, 4: with padding.
std::string Base64(std::span<const unsigned char> bytes);

}  // namespace tool
