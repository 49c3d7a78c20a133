// What the inspector page shows of a stream: a record for every unit and access unit, and short lists.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "inspect/StreamCheck.h"
#include "inspect/StreamLists.h"
#include "report/InfoReport.h"

#include <vector>

namespace tool {

constexpr uint32_t NoAccessUnit = UINT32_MAX;

// The page reads the records as they are in memory.
struct UnitRecord
{
    double offset;        // in the stream
    uint32_t size;        // with the start code
    uint32_t accessUnit;  // its number, or NoAccessUnit
    uint8_t nal_unit_type;
    uint8_t startCodeLength;
    int8_t slice_type;  // H.264; -1: none
    uint8_t flags;      // of UnitFlag
    uint8_t idc;        // H.264: nal_ref_idc; H.265: nuh_layer_id
    uint8_t nuh_temporal_id_plus1;
    uint16_t sliceHeaderLength;  // as the library measures it; 0: not measured
};

enum UnitFlag : uint8_t
{
    UnitIsSlice = 1,
    UnitIsKeySlice = 2,
    UnitIsUnreadable = 4,
    UnitHasHeader = 8,
    UnitIsOutOfBand = 16,  // a parameter set of a container's sample description; `offset` is 0
};

struct AccessUnitRecord
{
    double offset = 0;   // in the stream, of its first unit
    double seconds = 0;  // from the first access unit on; 0 if the stream does not give its frame rate
    uint32_t size = 0;   // bytes of the stream
    uint32_t firstUnit = 0;
    uint32_t unitCount = 0;
    uint8_t isKeyFrame = 0;
    uint8_t isField = 0;     // H.264
    int8_t slice_type = -1;  // H.264; -1: none
    uint8_t reserved = 0;
};

static_assert(sizeof(UnitRecord) == 24 && sizeof(AccessUnitRecord) == 32);

class CInspection
{
public:
    explicit CInspection(const SourceFacts& facts);

    void Take(const NalUnit& unit);
    void Finish(const SourceCounts& counts);

    // Records that are complete. The caller takes them and calls Forget.
    const std::vector<UnitRecord>& Units() const { return units; }
    const std::vector<AccessUnitRecord>& AccessUnits() const { return accessUnits; }
    void ForgetRecords();

    const CStreamLists& Lists() const { return lists; }

    // After Finish.
    const InfoResult& Info() const { return info; }
    // What `info` prints, and the lists: {"description": [["codec", "H.264/AVC"], …], "damage": null, …}
    Json Results() const;

private:
    static uint8_t FlagsOf(const NalUnit& unit, UnitRole role);
    UnitRecord RecordOf(const NalUnit& unit, UnitRole role);
    void MeasureSlice(const NalUnit& unit, UnitRecord& record);
    void Place(const UnitRecord& record, UnitRole role);
    void ReleaseWaiting(uint32_t accessUnit);
    void TakeCompleted();
    void AddFindings(const std::vector<Finding>& findings);

    InfoResult info;
    CStreamAnalysis analysis;
    CParseHandle probe;  // measures slice headers
    CStreamLists lists;
    CStreamCheck check;

    std::vector<UnitRecord> units;
    std::vector<UnitRecord> waiting;  // before a slice that shows to which access unit they belong
    std::vector<AccessUnitRecord> accessUnits;
    uint64_t unitCount = 0;  // in `units` and those that were taken before
    AccessUnitRecord current;
    double seconds = 0;
};

}  // namespace tool
