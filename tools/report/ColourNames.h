// The names that ITU-T H.264, H.265 and H.273 give to the values of the colour description and of the sample
// format.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/PictureParameters.h"

#include <cstdint>

namespace tool {

const char* VideoFormatName(uint32_t video_format);
const char* ColourPrimariesName(uint32_t colour_primaries);
const char* TransferCharacteristicsName(uint32_t transfer_characteristics);
const char* MatrixCoefficientsName(uint32_t matrix_coefficients);

const char* ChromaFormatName(uint32_t chroma_format_idc);
const char* ScanName(Scan scan);

}  // namespace tool
