#include "bitstream/NalRules.h"

namespace videoparams {

namespace {

bool IsBetween(uint32_t value, uint32_t first, uint32_t last)
{
    return value >= first && value <= last;
}

UnitClass AvcClassOf(uint32_t nal_unit_type)
{
    if (nal_unit_type == AvcUnitSlice || nal_unit_type == AvcUnitPartitionA ||
        nal_unit_type == AvcUnitIdrSlice)
        return UnitClass::Slice;
    if (IsBetween(nal_unit_type, AvcUnitSei, AvcUnitDelimiter) || IsBetween(nal_unit_type, 14, 18))
        return UnitClass::Leading;
    return UnitClass::Other;
}

bool IsAvcKeySlice(uint32_t nal_unit_type)
{
    return nal_unit_type == AvcUnitIdrSlice;
}

bool IsReadAvc(uint32_t nal_unit_type)
{
    return nal_unit_type == AvcUnitSps || nal_unit_type == AvcUnitPps;
}

// Slices and slice data partitions; a coded slice extension (type 20) never comes first.
bool TakesSeiInFrontAvc(uint32_t nal_unit_type)
{
    return IsBetween(nal_unit_type, AvcUnitSlice, AvcUnitIdrSlice);
}

UnitClass HevcClassOf(uint32_t nal_unit_type)
{
    if (nal_unit_type <= 9 || IsBetween(nal_unit_type, 16, 23))
        return UnitClass::Slice;
    if (IsBetween(nal_unit_type, HevcUnitVps, HevcUnitDelimiter) || nal_unit_type == HevcUnitPrefixSei ||
        IsBetween(nal_unit_type, 41, 44) || IsBetween(nal_unit_type, 48, 55))
        return UnitClass::Leading;
    return UnitClass::Other;
}

bool IsHevcKeySlice(uint32_t nal_unit_type)
{
    return IsBetween(nal_unit_type, HevcUnitFirstIrap, HevcUnitLastIrap);
}

bool IsReadHevc(uint32_t nal_unit_type)
{
    return nal_unit_type == HevcUnitVps || nal_unit_type == HevcUnitSps;
}

// All VCL types, the reserved ones too.
bool TakesSeiInFrontHevc(uint32_t nal_unit_type)
{
    return nal_unit_type < HevcUnitVps;
}

}  // namespace

const NalRules avcRules = {
    .headerLength = 1,
    .typeShift = 0,
    .typeMask = 0x1F,
    .classOf = AvcClassOf,
    .isKeySlice = IsAvcKeySlice,
    .isRead = IsReadAvc,
    .delimiterType = AvcUnitDelimiter,
    .mergeTakesKeyFrame = true,
    .seiType = AvcUnitSei,
    .seiHeader = {0x06},
    .takesSeiInFront = TakesSeiInFrontAvc,
};

const NalRules hevcRules = {
    .headerLength = 2,
    .typeShift = 1,
    .typeMask = 0x3F,
    .classOf = HevcClassOf,
    .isKeySlice = IsHevcKeySlice,
    .isRead = IsReadHevc,
    .delimiterType = NoType,
    .mergeTakesKeyFrame = false,
    .seiType = HevcUnitPrefixSei,
    .seiHeader = {0x4E, 0x01},
    .takesSeiInFront = TakesSeiInFrontHevc,
};

}  // namespace videoparams
