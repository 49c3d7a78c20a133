#include "avc/AvcParameterTables.h"

namespace videoparams {

Result CAvcParameterTables::ReadSps(CBitReader bits, SequenceInfo& info)
{
    SpsRecord sps;
    if (!ReadAvcSps(bits, sps, info))
        return ResultOk;
    return spsTable[sps.seq_parameter_set_id].Set(sps) ? ResultOk : ResultFailed;
}

Result CAvcParameterTables::ReadPps(CBitReader bits)
{
    PpsRecord pps;
    if (!ReadAvcPps(bits, pps))
        return ResultOk;
    return ppsTable[pps.pic_parameter_set_id].Set(pps) ? ResultOk : ResultFailed;
}

Result CAvcParameterTables::ReadParameterSet(uint32_t nal_unit_type, const Rbsp& rbsp, SequenceInfo& info)
{
    return nal_unit_type == AvcUnitSps ? ReadSps(rbsp.AfterHeader(), info) : ReadPps(rbsp.AfterHeader());
}

}  // namespace videoparams
