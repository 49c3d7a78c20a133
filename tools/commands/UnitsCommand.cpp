// H.264 slices are measured by the library's iteration, a unit at a time. It does not read H.265 slices; of
// those the fields of the unit header are printed.

#include "commands/Commands.h"
#include "report/Message.h"
#include "report/UnitsReport.h"
#include "stream/PictureParameters.h"

#include <fmt/format.h>

namespace tool {

namespace {

class CSliceMeter
{
public:
    explicit CSliceMeter(VideoCodecType codec) : handle(codec), parameters(codec) {}

    SliceMeasure Measure(const NalUnit& unit);

private:
    CParseHandle handle;
    CPictureParameters parameters;
};

SliceMeasure CSliceMeter::Measure(const NalUnit& unit)
{
    SliceMeasure measure;
    parameters.Take(unit);
    if (unit.codec != VideoCodecAVC) {
        measure.isSlice = unit.IsSlice() && !unit.ForbiddenZeroBit();
        return measure;
    }
    unsigned char* found = nullptr;
    unsigned int foundSize = 0;
    VideoPicType slice_type = VideoPicUnknown;
    SetVideoData(handle, const_cast<unsigned char*>(unit.data), unit.size);
    GetNalUnit(handle, &found, &foundSize, &measure.isSlice, &measure.sliceHeaderLength);
    if (measure.isSlice) {
        QueryType(handle, unit.data, unit.size, slice_type);
        measure.lacksSets = !parameters.Knows(unit);
    }
    if (measure.lacksSets)
        measure.sliceHeaderLength = 0;  // the library would stop at pic_parameter_set_id
    measure.slice_type = slice_type;
    return measure;
}

Status ListUnits(const SourceOptions& options, CUnitsReport& report)
{
    const auto source = OpenSource(options);
    source->PrintsLines();
    CSliceMeter meter(source->Codec());
    uint64_t damagedUnits = 0;
    report.Begin(source->Facts());
    source->ForEach([&](const NalUnit& unit) {
        const SliceMeasure measure = meter.Measure(unit);
        if (unit.isGiven)
            return;
        report.Add(unit, measure);
        damagedUnits += unit.ForbiddenZeroBit();
    });
    const SourceCounts& counts = source->Counts();
    if (counts.units == 0)
        throw CToolError(fmt::format("{}: there is no NAL unit in it", source->Name()));
    report.End(counts, damagedUnits);
    const bool isDamaged = counts.skippedBytes != 0 || damagedUnits != 0;
    const Status status = ReportMissing(*source, isDamaged ? StatusFound : StatusGood);
    if (!isDamaged)
        return status;
    Complain(
        fmt::format("{}: damaged: {} of {} units with forbidden_zero_bit 1, {} of {} bytes outside of units",
                    source->Name(), damagedUnits, counts.units, counts.skippedBytes, counts.bytes));
    return status;
}

}  // namespace

Status RunUnits(const UnitsOptions& options)
{
    const auto report =
        MakeUnitsReport({.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()});
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return ListUnits(source, *report); });
}

}  // namespace tool
