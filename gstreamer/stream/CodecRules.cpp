#include "stream/CodecRules.h"

namespace gstvp {

namespace {

// H.264 Table 7-1 and H.265 Table 7-1
constexpr CodecRules AvcRules = {
    .codec = VideoCodecAVC,
    .mediaType = "video/x-h264",
    .parserElement = "h264parse",
    .headerLength = 1,
    .typeShift = 0,
    .typeMask = 0x1F,
    .seiType = 6,
    .firstSliceType = 1,
    .lastSliceType = 5,
    .firstKeyType = 5,
    .lastKeyType = 5,
};

constexpr CodecRules HevcRules = {
    .codec = VideoCodecHEVC,
    .mediaType = "video/x-h265",
    .parserElement = "h265parse",
    .headerLength = 2,
    .typeShift = 1,
    .typeMask = 0x3F,
    .seiType = 39,
    .firstSliceType = 0,
    .lastSliceType = 31,
    .firstKeyType = 16,
    .lastKeyType = 21,
};

}  // namespace

const std::array<const CodecRules*, 2> AllRules = {&AvcRules, &HevcRules};

const CodecRules* FindRules(const GstCaps* caps)
{
    if (gst_caps_get_size(caps) == 0)
        return nullptr;
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    for (const CodecRules* const rules : AllRules) {
        if (gst_structure_has_name(structure, rules->mediaType))
            return rules;
    }
    return nullptr;
}

}  // namespace gstvp
