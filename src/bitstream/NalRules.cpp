#include "bitstream/NalRules.h"

namespace videoparams {

namespace {

constexpr bool IsBetween(uint32_t value, uint32_t first, uint32_t last)
{
    return value >= first && value <= last;
}

constexpr UnitClass AvcClassOf(uint32_t nal_unit_type)
{
    if (nal_unit_type == AvcUnitSlice || nal_unit_type == AvcUnitPartitionA ||
        nal_unit_type == AvcUnitIdrSlice)
        return UnitClass::Slice;
    if (IsBetween(nal_unit_type, AvcUnitSei, AvcUnitDelimiter) || IsBetween(nal_unit_type, 14, 18))
        return UnitClass::Leading;
    return UnitClass::Other;
}

constexpr UnitTraits AvcTraitsOf(uint32_t nal_unit_type)
{
    return {
        .unitClass = AvcClassOf(nal_unit_type),
        .isKeySlice = nal_unit_type == AvcUnitIdrSlice,
        .isParameterSet = nal_unit_type == AvcUnitSps || nal_unit_type == AvcUnitPps,
        // Slices and slice data partitions; a coded slice extension (type 20) never comes first.
        .takesSeiBefore = IsBetween(nal_unit_type, AvcUnitSlice, AvcUnitIdrSlice),
    };
}

constexpr UnitClass HevcClassOf(uint32_t nal_unit_type)
{
    if (nal_unit_type <= 9 || IsBetween(nal_unit_type, 16, 23))
        return UnitClass::Slice;
    if (IsBetween(nal_unit_type, HevcUnitVps, HevcUnitDelimiter) || nal_unit_type == HevcUnitPrefixSei ||
        IsBetween(nal_unit_type, 41, 44) || IsBetween(nal_unit_type, 48, 55))
        return UnitClass::Leading;
    return UnitClass::Other;
}

constexpr UnitTraits HevcTraitsOf(uint32_t nal_unit_type)
{
    return {
        .unitClass = HevcClassOf(nal_unit_type),
        .isKeySlice = IsBetween(nal_unit_type, HevcUnitFirstIrap, HevcUnitLastIrap),
        .isParameterSet = nal_unit_type == HevcUnitVps || nal_unit_type == HevcUnitSps,
        // All VCL types, the reserved ones too.
        .takesSeiBefore = nal_unit_type < HevcUnitVps,
    };
}

constexpr auto TableOf(UnitTraits (*traitsOf)(uint32_t), uint32_t typeCount)
{
    std::array<UnitTraits, NoType + 1> table{};
    for (uint32_t nal_unit_type = 0; nal_unit_type < typeCount; ++nal_unit_type)
        table[nal_unit_type] = traitsOf(nal_unit_type);
    return table;
}

}  // namespace

constexpr NalRules avcRules = {
    .headerLength = 1,
    .typeShift = 0,
    .typeMask = 0x1F,
    .traits = TableOf(AvcTraitsOf, 32),
    .delimiterType = AvcUnitDelimiter,
    .mergeTakesKeyFrame = true,
    .seiType = AvcUnitSei,
    .seiHeader = {0x06},
};

constexpr NalRules hevcRules = {
    .headerLength = 2,
    .typeShift = 1,
    .typeMask = 0x3F,
    .traits = TableOf(HevcTraitsOf, 64),
    .delimiterType = NoType,
    .mergeTakesKeyFrame = false,
    .seiType = HevcUnitPrefixSei,
    .seiHeader = {0x4E, 0x01},
};

}  // namespace videoparams
