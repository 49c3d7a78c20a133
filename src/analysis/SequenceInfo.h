#pragma once

#include "VideoParams.h"

#include <cstdint>

namespace videoparams {

// Luma samples that one unit of a cropping offset stands for.
struct CroppingUnit
{
    uint32_t width;
    uint32_t height;
};

// SubWidthC and SubHeightC, H.264 Table 6-1 and H.265 Table 6-1; 0 and 0 for a chroma_format_idc that has
// none.
CroppingUnit ChromaSubsampling(uint32_t chroma_format_idc);

// Sizes wrap modulo 2^32, as do the products.
uint32_t CroppedSize(uint32_t codedSize, uint32_t unit, uint32_t firstOffset, uint32_t lastOffset);

// Copies the description of the sequence: sequenceInfoValid and the fields from `width` on.
void CopySequenceInfo(const VideoInfo& from, VideoInfo& to);

}  // namespace videoparams
