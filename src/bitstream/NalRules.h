#pragma once

#include <array>
#include <cstdint>

namespace videoparams {

// What the assembly of access units does with a unit.
enum class UnitClass : uint8_t
{
    Slice,    // its header shows whether a picture starts
    Leading,  // the first one after a picture's last slice starts the next access unit (H.264 7.4.1.2.3,
              // H.265 7.4.2.4.4)
    Other,    // joins the access unit at hand
};

// What a nal_unit_type means to the library.
struct UnitTraits
{
    UnitClass unitClass = UnitClass::Other;
    bool isKeySlice = false;      // H.264: IDR; H.265: IRAP
    bool isParameterSet = false;  // a parameter set that is read: H.264 SPS and PPS; H.265 VPS and SPS
    bool takesSeiBefore = false;  // a new SEI unit goes before the first such unit
};

// nal_unit_header(), as far as the library uses it.
struct NalHeader
{
    uint32_t forbidden_zero_bit;
    uint32_t nal_ref_idc;  // H.264 only
    uint32_t nal_unit_type;
};

// The type of a unit that is a start code alone.
constexpr uint32_t NoType = 64;

// Everything in which the two codecs differ.
struct NalRules
{
    uint32_t headerLength;
    uint32_t typeShift;  // of nal_unit_type in the first header byte
    uint32_t typeMask;
    std::array<UnitTraits, NoType + 1> traits;  // by nal_unit_type
    uint32_t delimiterType;   // held parameter sets are inserted after it; NoType: none are held
    bool mergeTakesKeyFrame;  // a merge overwrites the key-frame flag of the current unit
    uint32_t seiType;         // the SEI units that are edited and searched
    unsigned char seiHeader[2];

    const UnitTraits& TraitsOf(uint32_t nal_unit_type) const { return traits[nal_unit_type]; }

    NalHeader HeaderOf(unsigned char firstByte) const
    {
        return {.forbidden_zero_bit = uint32_t{firstByte} >> 7,
                .nal_ref_idc = (uint32_t{firstByte} >> 5) & 3,
                .nal_unit_type = (uint32_t{firstByte} >> typeShift) & typeMask};
    }
};

extern const NalRules avcRules;
extern const NalRules hevcRules;

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
