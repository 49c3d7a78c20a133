#include "stream/ParameterSetId.h"

namespace tool {

namespace {

// Reads the RBSP of a unit from behind its header; zeros behind its end.
class CRbspReader
{
public:
    explicit CRbspReader(const NalUnit& unit)
        : position(unit.Header() + unit.HeaderLength()), end(unit.data + unit.size)
    {}

    uint32_t GetBits(int count)
    {
        uint32_t value = 0;
        while (count-- > 0)
            value = value << 1 | GetBit();
        return value;
    }

    // ue(v), H.264 9.1
    uint32_t GetUE()
    {
        int leadingZeros = 0;
        while (leadingZeros < 32 && position < end && GetBit() == 0)
            ++leadingZeros;
        return leadingZeros < 32 ? (1u << leadingZeros) - 1 + GetBits(leadingZeros) : 0;
    }

private:
    uint32_t GetBit()
    {
        if (bitsLeft == 0 && !NextByte())
            return 0;
        return present >> --bitsLeft & 1u;
    }

    bool NextByte()
    {
        if (position < end && zeros >= 2 && *position == 3) {  // emulation_prevention_three_byte
            ++position;
            zeros = 0;
        }
        if (position >= end)
            return false;
        present = *position++;
        zeros = present == 0 ? zeros + 1 : 0;
        bitsLeft = 8;
        return true;
    }

    const unsigned char* position;
    const unsigned char* end;
    uint32_t present = 0;
    int bitsLeft = 0;
    int zeros = 0;
};

// seq_parameter_set_rbsp() up to its identifier, H.265 7.3.2.2.1 and 7.3.3
uint32_t ReadHevcSpsId(CRbspReader& reader)
{
    reader.GetBits(4);  // sps_video_parameter_set_id
    const uint32_t sps_max_sub_layers_minus1 = reader.GetBits(3);
    reader.GetBits(1);   // sps_temporal_id_nesting_flag
    reader.GetBits(88);  // general profile
    reader.GetBits(8);   // general_level_idc
    uint32_t profiles = 0;
    uint32_t levels = 0;
    for (uint32_t i = 0; i < sps_max_sub_layers_minus1; ++i) {
        profiles += reader.GetBits(1);  // sub_layer_profile_present_flag
        levels += reader.GetBits(1);    // sub_layer_level_present_flag
    }
    if (sps_max_sub_layers_minus1 > 0)
        reader.GetBits(static_cast<int>(2 * (8 - sps_max_sub_layers_minus1)));  // reserved_zero_2bits
    reader.GetBits(static_cast<int>(88 * profiles + 8 * levels));
    return reader.GetUE();
}

}  // namespace

uint32_t ReadParameterSetId(const NalUnit& unit)
{
    if (!unit.HasHeader())
        return 0;
    CRbspReader reader(unit);
    if (unit.IsVps())
        return reader.GetBits(4);
    if (!unit.IsSps())
        return reader.GetUE();
    if (unit.codec == VideoCodecHEVC)
        return ReadHevcSpsId(reader);
    reader.GetBits(24);  // profile_idc, constraint flags, level_idc
    return reader.GetUE();
}

uint32_t ReadReferredId(const NalUnit& unit)
{
    if (!unit.HasHeader())
        return 0;
    CRbspReader reader(unit);
    if (unit.IsSps())
        return reader.GetBits(4);  // sps_video_parameter_set_id
    reader.GetUE();                // pic_parameter_set_id, pps_pic_parameter_set_id
    return reader.GetUE();         // seq_parameter_set_id, pps_seq_parameter_set_id
}

}  // namespace tool
