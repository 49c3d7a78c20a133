#include "stream/ParameterSetId.h"

#include "stream/HevcSyntax.h"

namespace tool {

const char* ParameterSetKind(const NalUnit& unit)
{
    if (unit.IsVps())
        return "VPS";
    if (unit.IsSps())
        return "SPS";
    return unit.IsPps() ? "PPS" : nullptr;
}

uint32_t ReadParameterSetId(const NalUnit& unit)
{
    CElementReader bits(unit);
    if (unit.IsVps())
        return bits.Bits("vps_video_parameter_set_id", 4);
    if (!unit.IsSps())
        return bits.Ue("pic_parameter_set_id");
    if (unit.codec == VideoCodecHEVC)
        return ReadHevcSpsId(bits);
    bits.Skip(24);  // profile_idc, constraint flags, level_idc
    return bits.Ue("seq_parameter_set_id");
}

uint32_t ReadReferredId(const NalUnit& unit)
{
    CElementReader bits(unit);
    if (unit.IsSps())
        return unit.codec == VideoCodecHEVC ? bits.Bits("sps_video_parameter_set_id", 4) : 0;
    bits.Ue("pic_parameter_set_id");
    return bits.Ue("seq_parameter_set_id");
}

}  // namespace tool
