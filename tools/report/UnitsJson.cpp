#include "report/UnitsReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

class CUnitsJson : public CUnitsReport
{
public:
    void Begin(const SourceFacts& facts) override;
    void Add(const NalUnit& unit, const SliceMeasure& measure) override;
    void End(const SourceCounts&, uint64_t) override { fmt::print("\n]}}\n"); }

private:
    bool isFirst = true;
};

// A file name need not be UTF-8.
std::string Dump(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void CUnitsJson::Begin(const SourceFacts& facts)
{
    fmt::print("{{\"file\": {}, \"codec\": {}, \"units\": [", Dump(facts.name), Dump(CodecName(facts.codec)));
}

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
    fmt::print("{}\n  {}", isFirst ? "" : ",", Dump(json));
    isFirst = false;
}

}  // namespace

std::unique_ptr<CUnitsReport> MakeUnitsJson()
{
    return std::make_unique<CUnitsJson>();
}

}  // namespace tool
