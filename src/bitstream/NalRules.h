#pragma once

#include <cstdint>

namespace videoparams {

// What the assembly of access units does with a unit.
enum class UnitClass
{
    Slice,    // its header tells whether a picture starts
    Leading,  // the first one behind a picture's last slice starts the next access unit (H.264 7.4.1.2.3,
              // H.265 7.4.2.4.4)
    Other,    // joins whatever is open
};

// nal_unit_header(), as far as the library uses it.
struct NalHeader
{
    uint32_t forbidden_zero_bit;
    uint32_t nal_ref_idc;  // H.264 only
    uint32_t nal_unit_type;
};

// What tells the two codecs apart.
struct NalRules
{
    uint32_t headerLength;
    uint32_t typeShift;  // where nal_unit_type stands in the first byte
    uint32_t typeMask;
    UnitClass (*classOf)(uint32_t nal_unit_type);
    bool (*isKeySlice)(uint32_t nal_unit_type);
    bool (*isRead)(uint32_t nal_unit_type);  // leading units that are more than stored
    uint32_t delimiterType;   // the access unit delimiter, where its place is recorded; else NoType
    bool mergeTakesKeyFrame;  // a merge overwrites the key-frame flag of the current unit
    uint32_t seiType;         // the SEI units that are edited and searched
    unsigned char seiHeader[2];
    bool (*takesSeiInFront)(uint32_t nal_unit_type);  // a new SEI unit goes in front of the first such unit
};

constexpr uint32_t NoType = UINT32_MAX;

extern const NalRules avcRules;
extern const NalRules hevcRules;

// The start code that is written; those of a stream may have three bytes.
constexpr unsigned char LongStartCode[] = {0, 0, 0, 1};

// Units as the scanner delivers them.
inline uint32_t StartCodeLength(const unsigned char* unit)
{
    return unit[2] == 1 ? 3 : 4;
}

inline bool IsBareStartCode(const unsigned char* unit, uint32_t unitSize)
{
    return unitSize == StartCodeLength(unit);
}

inline uint32_t UnitType(const NalRules& rules, unsigned char firstHeaderByte)
{
    return (firstHeaderByte >> rules.typeShift) & rules.typeMask;
}

// nal_unit_type values, H.264 Table 7-1.
enum AvcUnitType : uint32_t
{
    AvcUnitSlice = 1,
    AvcUnitPartitionA = 2,
    AvcUnitIdrSlice = 5,
    AvcUnitSei = 6,
    AvcUnitSps = 7,
    AvcUnitPps = 8,
    AvcUnitDelimiter = 9,
};

// nal_unit_type values, H.265 Table 7-1.
enum HevcUnitType : uint32_t
{
    HevcUnitFirstIrap = 16,
    HevcUnitLastIrap = 21,
    HevcUnitVps = 32,
    HevcUnitSps = 33,
    HevcUnitPps = 34,
    HevcUnitDelimiter = 35,
    HevcUnitPrefixSei = 39,
};

}  // namespace videoparams
