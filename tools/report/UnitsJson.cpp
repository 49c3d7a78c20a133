#include "report/JsonReport.h"
#include "report/UnitsReport.h"

namespace tool {

namespace {

class CUnitsJson : public CJsonReport<CUnitsReport>
{
public:
    explicit CUnitsJson(const ReportStyle& style) : CJsonReport("units", "units", style) {}

    void Add(const NalUnit& unit, const SliceMeasure& measure) override;
    void End(const SourceCounts& counts, uint64_t damagedUnits) override;
};

void CUnitsJson::Add(const NalUnit& unit, const SliceMeasure& measure)
{
    Json json = {{"number", unit.number},
                 {"offset", unit.offset},
                 {"size", unit.size},
                 {"startCodeLength", unit.StartCodeLength()}};
    if (unit.HasHeader()) {
        json["forbidden_zero_bit"] = unit.ForbiddenZeroBit();
        json["nal_unit_type"] = unit.Type();
        json["name"] = UnitTypeName(unit.codec, unit.Type());
        if (unit.codec == VideoCodecAVC) {
            json["nal_ref_idc"] = unit.RefIdc();
        } else {
            json["nuh_layer_id"] = unit.LayerId();
            json["nuh_temporal_id_plus1"] = unit.TemporalIdPlus1();
        }
        json["isSlice"] = measure.isSlice;
    }
    if (measure.slice_type >= 0)
        json["slice_type"] = measure.slice_type;
    if (measure.sliceHeaderLength != 0)
        json["sliceHeaderLength"] = measure.sliceHeaderLength;
    writer.Add(json);
}

void CUnitsJson::End(const SourceCounts& counts, uint64_t damagedUnits)
{
    writer.End({{"bytes", counts.bytes},
                {"unitCount", counts.units},
                {"damagedUnits", damagedUnits},
                {"bytesOutsideOfUnits", counts.skippedBytes}});
}

}  // namespace

std::unique_ptr<CUnitsReport> MakeUnitsJson(const ReportStyle& style)
{
    return std::make_unique<CUnitsJson>(style);
}

}  // namespace tool
