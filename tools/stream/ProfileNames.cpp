#include "stream/ProfileNames.h"

namespace tool {

namespace {

bool HasConstraint(uint32_t constraint_flags, uint32_t number)
{
    return (constraint_flags >> (7 - number) & 1) != 0;
}

const char* AvcBaseName(uint32_t profile_idc)
{
    switch (profile_idc) {
    case 44:
        return "CAVLC 4:4:4 Intra";
    case 66:
        return "Baseline";
    case 77:
        return "Main";
    case 83:
        return "Scalable Baseline";
    case 86:
        return "Scalable High";
    case 88:
        return "Extended";
    case 100:
        return "High";
    case 110:
        return "High 10";
    case 118:
        return "Multiview High";
    case 122:
        return "High 4:2:2";
    case 128:
        return "Stereo High";
    case 134:
        return "MFC High";
    case 135:
        return "MFC Depth High";
    case 138:
        return "Multiview Depth High";
    case 139:
        return "Enhanced Multiview Depth High";
    case 244:
        return "High 4:4:4 Predictive";
    default:
        return nullptr;
    }
}

std::string Unknown(uint32_t idc)
{
    return "unknown (" + std::to_string(idc) + ")";
}

}  // namespace

std::string AvcProfileName(uint32_t profile_idc, uint32_t constraint_flags)
{
    const char* const base = AvcBaseName(profile_idc);
    if (base == nullptr)
        return Unknown(profile_idc);
    const bool isIntra = HasConstraint(constraint_flags, 3);
    if (profile_idc == 66 && HasConstraint(constraint_flags, 1))
        return "Constrained Baseline";
    if (profile_idc == 100 && HasConstraint(constraint_flags, 4))
        return HasConstraint(constraint_flags, 5) ? "Constrained High" : "Progressive High";
    if ((profile_idc == 110 || profile_idc == 122) && isIntra)
        return std::string(base) + " Intra";
    if (profile_idc == 244 && isIntra)
        return "High 4:4:4 Intra";
    return base;
}

std::string HevcProfileName(uint32_t general_profile_idc)
{
    static constexpr const char* Names[] = {nullptr,
                                            "Main",
                                            "Main 10",
                                            "Main Still Picture",
                                            "Format Range Extensions",
                                            "High Throughput",
                                            "Multiview Main",
                                            "Scalable Main",
                                            "3D Main",
                                            "Screen-Extended Main",
                                            "Scalable Format Range Extensions",
                                            "High Throughput Screen-Extended"};
    if (general_profile_idc == 0 || general_profile_idc >= std::size(Names))
        return Unknown(general_profile_idc);
    return Names[general_profile_idc];
}

bool IsAvcLevel1b(const AvcSps& sps)
{
    const bool isOld = sps.profile_idc == 66 || sps.profile_idc == 77 || sps.profile_idc == 88;
    return isOld ? sps.level_idc == 11 && HasConstraint(sps.constraint_flags, 3) : sps.level_idc == 9;
}

}  // namespace tool
