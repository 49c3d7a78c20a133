// The names that ITU-T H.264 Annex E, H.265 Annex E and H.273 give to the values of the colour description.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace tool {

const char* VideoFormatName(uint32_t video_format);
const char* ColourPrimariesName(uint32_t colour_primaries);
const char* TransferCharacteristicsName(uint32_t transfer_characteristics);
const char* MatrixCoefficientsName(uint32_t matrix_coefficients);

}  // namespace tool
