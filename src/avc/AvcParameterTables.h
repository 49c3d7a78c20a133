#pragma once

#include "avc/AvcParameterSets.h"
#include "bitstream/NalScanner.h"
#include "memory/HeapBlock.h"
#include "memory/Result.h"

namespace videoparams {

// The parameter sets that slices refer to, by their identifiers. A later one replaces an earlier one.
class CAvcParameterTables
{
public:
    // Reads an SPS or PPS and keeps what slices need. One that cannot be understood is no failure; -1: out of
    // memory, and the identifier is as unknown as before.
    [[nodiscard]] Result ReadSps(CBitReader bits, SequenceInfo& info);
    [[nodiscard]] Result ReadPps(CBitReader bits);

    // The same by the type of the unit, which is SPS or PPS.
    [[nodiscard]] Result ReadParameterSet(uint32_t nal_unit_type, const Rbsp& rbsp, SequenceInfo& info);

    // Null: unknown.
    const SpsRecord* FindSps(uint32_t seq_parameter_set_id) const
    {
        return seq_parameter_set_id < MaxSpsCount ? spsTable[seq_parameter_set_id].Get() : nullptr;
    }
    const PpsRecord* FindPps(uint32_t pic_parameter_set_id) const
    {
        return pic_parameter_set_id < MaxPpsCount ? ppsTable[pic_parameter_set_id].Get() : nullptr;
    }

private:
    CHeapRecord<SpsRecord> spsTable[MaxSpsCount];
    CHeapRecord<PpsRecord> ppsTable[MaxPpsCount];
};

}  // namespace videoparams
