// H.264 slices are measured by the library's iteration, a unit at a time. For H.265 there is none; what the
// unit headers say is printed.

#include "commands/Commands.h"
#include "report/Message.h"
#include "stream/Handle.h"
#include "stream/UnitSource.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

struct SliceMeasure
{
    bool isSlice = false;
    VideoPicType slice_type = VideoPicUnknown;
    unsigned int sliceHeaderLength = 0;
};

class CUnitLister
{
public:
    CUnitLister(VideoCodecType codec, bool json) : handle(codec), isJson(json) {}

    void Begin(const std::string& name, VideoCodecType codec);
    void Take(const NalUnit& unit);
    void End();

    uint64_t DamagedUnits() const { return damagedUnits; }

private:
    SliceMeasure Measure(const NalUnit& unit);
    static void Print(const NalUnit& unit, const SliceMeasure& measure);
    void PrintJson(const NalUnit& unit, const SliceMeasure& measure);

    CParseHandle handle;
    bool isJson;
    bool isFirst = true;
    uint64_t damagedUnits = 0;
};

std::string Dump(const nlohmann::ordered_json& json)
{
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void CUnitLister::Begin(const std::string& name, VideoCodecType codec)
{
    if (isJson) {
        fmt::print("{{\"file\": {}, \"codec\": {}, \"units\": [", Dump(name), Dump(CodecName(codec)));
        return;
    }
    fmt::print("{:>8} {:>12} {:>9} {:>4}  {}\n", "unit", "offset", "bytes", "code",
               codec == VideoCodecAVC ? "ref type" : "layer tid type");
}

void CUnitLister::Take(const NalUnit& unit)
{
    const SliceMeasure measure = Measure(unit);
    damagedUnits += unit.ForbiddenZeroBit();
    if (isJson)
        PrintJson(unit, measure);
    else
        Print(unit, measure);
}

void CUnitLister::End()
{
    if (isJson)
        fmt::print("\n]}}\n");
}

SliceMeasure CUnitLister::Measure(const NalUnit& unit)
{
    SliceMeasure measure;
    if (unit.codec != VideoCodecAVC) {
        measure.isSlice = unit.IsSlice() && !unit.ForbiddenZeroBit();
        return measure;
    }
    unsigned char* found = nullptr;
    unsigned int foundSize = 0;
    SetVideoData(handle, const_cast<unsigned char*>(unit.data), unit.size);
    GetNalUnit(handle, &found, &foundSize, &measure.isSlice, &measure.sliceHeaderLength);
    if (measure.isSlice)
        QueryType(handle, unit.data, unit.size, measure.slice_type);
    return measure;
}

void CUnitLister::Print(const NalUnit& unit, const SliceMeasure& measure)
{
    fmt::print("{:>8} {:>12} {:>9} {:>4}  ", unit.number, unit.offset, unit.size, unit.StartCodeLength());
    if (!unit.HasHeader()) {
        fmt::print("start code without a unit\n");
        return;
    }
    if (unit.codec == VideoCodecAVC)
        fmt::print("{:>3} ", unit.RefIdc());
    else
        fmt::print("{:>5} {:>3} ", unit.LayerId(), static_cast<int>(unit.TemporalIdPlus1()) - 1);
    fmt::print("{:>4} {}", unit.Type(), UnitTypeName(unit.codec, unit.Type()));
    if (measure.isSlice && unit.codec == VideoCodecHEVC)
        fmt::print(", slice");
    else if (measure.slice_type != VideoPicUnknown)
        fmt::print(", slice, slice_type {} {}", static_cast<int>(measure.slice_type),
                   SliceTypeName(measure.slice_type));
    else if (measure.isSlice)
        fmt::print(", slice");
    if (measure.sliceHeaderLength != 0)
        fmt::print(", header {} bytes", measure.sliceHeaderLength);
    fmt::print("{}\n", unit.ForbiddenZeroBit() ? ", damaged: forbidden_zero_bit is 1" : "");
}

void CUnitLister::PrintJson(const NalUnit& unit, const SliceMeasure& measure)
{
    nlohmann::ordered_json json = {{"number", unit.number},
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
    if (measure.slice_type != VideoPicUnknown)
        json["slice_type"] = static_cast<int>(measure.slice_type);
    if (measure.sliceHeaderLength != 0)
        json["sliceHeaderLength"] = measure.sliceHeaderLength;
    fmt::print("{}\n  {}", isFirst ? "" : ",", Dump(json));
    isFirst = false;
}

}  // namespace

Status RunUnits(const UnitsOptions& options)
{
    CUnitSource source(options.file, options.codec);
    source.PrintsLines();
    CUnitLister lister(source.Codec(), options.isJson);
    lister.Begin(source.Name(), source.Codec());
    source.ForEach([&](const NalUnit& unit) { lister.Take(unit); });
    lister.End();
    if (source.UnitCount() == 0)
        throw CToolError(fmt::format("{}: there is no NAL unit in it", source.Name()));
    if (source.SkippedBytes() == 0 && lister.DamagedUnits() == 0)
        return StatusGood;
    Complain(fmt::format(
        "{}: damaged: {} of {} units with forbidden_zero_bit 1, {} of {} bytes outside of units",
        source.Name(), lister.DamagedUnits(), source.UnitCount(), source.SkippedBytes(), source.ReadBytes()));
    return StatusFound;
}

}  // namespace tool
