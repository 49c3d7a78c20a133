#include "stream/UnitNames.h"

#include <iterator>

namespace tool {

namespace {

// ITU-T H.264, Table 7-1
const char* const avcTypeNames[] = {
    "Unspecified",
    "Coded slice of a non-IDR picture",
    "Coded slice data partition A",
    "Coded slice data partition B",
    "Coded slice data partition C",
    "Coded slice of an IDR picture",
    "Supplemental enhancement information (SEI)",
    "Sequence parameter set",
    "Picture parameter set",
    "Access unit delimiter",
    "End of sequence",
    "End of stream",
    "Filler data",
    "Sequence parameter set extension",
    "Prefix NAL unit",
    "Subset sequence parameter set",
    "Depth parameter set",
    "Reserved",
    "Reserved",
    "Coded slice of an auxiliary coded picture without partitioning",
    "Coded slice extension",
    "Coded slice extension for a depth view component or a 3D-AVC texture view component",
    "Reserved",
    "Reserved",
};

// ITU-T H.265, Table 7-1
const char* const hevcTypeNames[] = {
    "TRAIL_N",     "TRAIL_R",     "TSA_N",       "TSA_R",          "STSA_N",         "STSA_R",
    "RADL_N",      "RADL_R",      "RASL_N",      "RASL_R",         "RSV_VCL_N10",    "RSV_VCL_R11",
    "RSV_VCL_N12", "RSV_VCL_R13", "RSV_VCL_N14", "RSV_VCL_R15",    "BLA_W_LP",       "BLA_W_RADL",
    "BLA_N_LP",    "IDR_W_RADL",  "IDR_N_LP",    "CRA_NUT",        "RSV_IRAP_VCL22", "RSV_IRAP_VCL23",
    "RSV_VCL24",   "RSV_VCL25",   "RSV_VCL26",   "RSV_VCL27",      "RSV_VCL28",      "RSV_VCL29",
    "RSV_VCL30",   "RSV_VCL31",   "VPS_NUT",     "SPS_NUT",        "PPS_NUT",        "AUD_NUT",
    "EOS_NUT",     "EOB_NUT",     "FD_NUT",      "PREFIX_SEI_NUT", "SUFFIX_SEI_NUT", "RSV_NVCL41",
    "RSV_NVCL42",  "RSV_NVCL43",  "RSV_NVCL44",  "RSV_NVCL45",     "RSV_NVCL46",     "RSV_NVCL47",
};

// ITU-T H.264, Table 7-6: 5 to 9 say the same of the slice, and that all slices of the picture are alike.
const char* const sliceTypeNames[] = {"P", "B", "I", "SP", "SI", "P", "B", "I", "SP", "SI"};

}  // namespace

const char* CodecName(VideoCodecType codec)
{
    return codec == VideoCodecAVC ? "H.264/AVC" : "H.265/HEVC";
}

std::string UnitTypeName(VideoCodecType codec, uint32_t nal_unit_type)
{
    if (codec == VideoCodecAVC)
        return nal_unit_type < std::size(avcTypeNames) ? avcTypeNames[nal_unit_type] : "Unspecified";
    if (nal_unit_type < std::size(hevcTypeNames))
        return hevcTypeNames[nal_unit_type];
    return "UNSPEC" + std::to_string(nal_unit_type);
}

const char* SliceTypeName(int32_t slice_type)
{
    return slice_type >= 0 && slice_type < static_cast<int32_t>(std::size(sliceTypeNames))
               ? sliceTypeNames[slice_type]
               : "";
}

}  // namespace tool
