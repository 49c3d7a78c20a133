// What differs between the two codecs, as data.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <VideoParams.h>
#include <gst/gst.h>

#include <array>

namespace gstvp {

struct CodecRules
{
    VideoCodecType codec;
    const char* mediaType;      // of the caps
    const char* parserElement;  // turns other caps of this media type into accepted ones
    guint headerLength;         // bytes of a NAL unit header
    guint typeShift;            // of nal_unit_type in the first header byte
    guint typeMask;
    guint seiType;  // SEI units that precede the picture
    guint firstSliceType, lastSliceType;
    guint firstKeyType, lastKeyType;  // slices of IDR (H.264) and IRAP pictures (H.265)

    guint TypeOf(guint8 firstHeaderByte) const { return (firstHeaderByte >> typeShift) & typeMask; }
    bool IsSlice(guint type) const { return type >= firstSliceType && type <= lastSliceType; }
    bool IsKeySlice(guint type) const { return type >= firstKeyType && type <= lastKeyType; }
};

extern const std::array<const CodecRules*, 2> AllRules;

// The rules for caps of one structure; null for a media type that is neither H.264 nor H.265.
const CodecRules* FindRules(const GstCaps* caps);

}  // namespace gstvp
