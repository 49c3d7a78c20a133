#pragma once

#include "VideoParams.h"
#include "streams/AvcStream.h"
#include "streams/HevcStream.h"
#include "streams/SeiMessages.h"

#include <gtest/gtest.h>

namespace videoparams::test {

using namespace streams;

// What Table 7-1 of H.264 or H.265 and the clauses on the first unit of an access unit (H.264 7.4.1.2.3,
// H.265 7.4.2.4.4) specify for a nal_unit_type.
enum class UnitKind
{
    Slice,     // with a header that shows whether a picture starts
    KeySlice,  // the same, of an IDR or IRAP picture
    OtherVcl,  // coded picture data without such a header
    Leading,   // the first one after the last slice of a picture starts an access unit
    Other,
};

enum class Picture
{
    Plain,
    Key,
};

// A codec and the streams that tests make of it.
struct Codec
{
    const char* name;
    VideoCodecType type;
    uint32_t typeCount;  // of nal_unit_type
    UnitKind (*kindOf)(uint32_t nal_unit_type);
    Bytes (*unit)(uint32_t nal_unit_type, const Bytes& rbsp);  // of an RBSP without its header
    Bytes (*sei)(const Bytes& messages);
    // A slice of a picture; the first one or another. Neighbouring numbers are different pictures.
    Bytes (*slice)(uint32_t number, Picture picture, bool isFirst);

    Bytes sets;  // describe a sequence of this width
    uint32_t width;
    Bytes delimiter;
    uint32_t fillerType;

    bool IsAvc() const { return type == VideoCodecAVC; }
    bool IsSlice(uint32_t nal_unit_type) const { return kindOf(nal_unit_type) <= UnitKind::KeySlice; }
    bool IsVcl(uint32_t nal_unit_type) const { return kindOf(nal_unit_type) <= UnitKind::OtherVcl; }
};

extern const Codec avc;
extern const Codec hevc;

// For suites that both codecs run through: INSTANTIATE_TEST_SUITE_P(, Suite, bothCodecs, nameOfCodec)
inline const auto bothCodecs = testing::Values(&avc, &hevc);
inline std::string nameOfCodec(const testing::TestParamInfo<const Codec*>& info)
{
    return info.param->name;
}

class CodecTest : public testing::TestWithParam<const Codec*>
{
protected:
    const Codec& codec = *GetParam();

    Bytes Key(uint32_t number = 0) const { return codec.slice(number, Picture::Key, true); }
    Bytes NextOfKey(uint32_t number = 0) const { return codec.slice(number, Picture::Key, false); }
    Bytes Slice(uint32_t number) const { return codec.slice(number, Picture::Plain, true); }
    Bytes Sei(const Bytes& messages = {1, 1, 0x2A}) const { return codec.sei(messages); }
    Bytes Filler() const { return codec.unit(codec.fillerType, {0xFF, 0x80}); }
};

}  // namespace videoparams::test
