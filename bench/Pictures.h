#pragma once

#include "VideoParams.h"
#include "streams/Bytes.h"

namespace bench {

using videoparams::streams::Bytes;

// The units of a synthetic stream of 1920 x 1080: correct in every element, since the libraries that are
// measured beside this one read more of them.
struct PictureWriter
{
    Bytes delimiter;
    Bytes parameterSets;
    Bytes (*sei)(const Bytes& messages);
    // Picture `index` of a group of at most 128, the first of which is an IDR picture; one slice.
    Bytes (*picture)(uint32_t index, const Bytes& payload);
};

const PictureWriter& PicturesOf(VideoCodecType codec);

}  // namespace bench
