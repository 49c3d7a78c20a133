#include "hevc/ParseHEVCParams.h"

#include "hevc/HevcParameterSets.h"

namespace videoparams {

CParseHEVCParams::CParseHEVCParams(HandleFamily family) : CParserBase(hevcRules, *this, family) {}

void CParseHEVCParams::ReadParameterSet(const Rbsp& rbsp, SequenceInfo& info)
{
    CBitReader bits = rbsp.AfterHeader();
    if (scanner.Unit().header.nal_unit_type == HevcUnitVps)
        ReadHevcVps(bits, info);
    else
        ReadHevcSps(bits, info);
}

// slice_segment_header(), H.265 7.3.6.1, its first element
SliceOutcome CParseHEVCParams::ReadSlice()
{
    Rbsp rbsp;
    if (!scanner.OpenHead(rbsp))
        return SliceOutcome::OutOfMemory;
    CBitReader bits = rbsp.AfterHeader();
    const uint32_t first_slice_segment_in_pic_flag = bits.Bits(1);

    const bool startsPicture = !isFirstSlice && first_slice_segment_in_pic_flag == 1;
    isFirstSlice = false;
    return startsPicture ? SliceOutcome::StartsPicture : SliceOutcome::ContinuesPicture;
}

const SequenceInfo* CParseHEVCParams::CompleteKeyUnit(AccessUnit& /*unit*/)
{
    return nullptr;  // no parameter sets are held
}

void CParseHEVCParams::EndStream()
{
    isFirstSlice = true;
}

}  // namespace videoparams
