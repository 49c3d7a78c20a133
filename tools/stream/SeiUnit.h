// The form of SEI units, as far as editing needs it.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/NalUnit.h"

namespace tool {

// Zeros at the end of a unit that belong to the byte stream (trailing_zero_8bits), not to the unit.
uint32_t TrailingZeros(const NalUnit& unit);

// An SEI unit of the base layer that ends as it should, in rbsp_trailing_bits(): 80.
bool TakesMessage(const NalUnit& unit);

// An SEI unit with a message of this type.
bool HasMessage(const NalUnit& unit, uint32_t payloadType);

}  // namespace tool
