#include "report/Message.h"
#include "report/UnitsReport.h"

#include <fmt/format.h>

namespace tool {

namespace {

class CUnitsText : public CUnitsReport
{
public:
    explicit CUnitsText(const ReportStyle& given) : style(given) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const NalUnit& unit, const SliceMeasure& measure) override;
    void End(const SourceCounts&, uint64_t) override {}

private:
    ReportStyle style;
};

void CUnitsText::Begin(const SourceFacts& facts)
{
    if (style.hasSeveralFiles)
        fmt::print("{}\n", facts.name);
    fmt::print("{:>8} {:>12} {:>9} {:>4}  {}\n", "unit", "offset", "bytes", "code",
               facts.codec == VideoCodecAVC ? "ref type" : "layer tid type");
}

void CUnitsText::Add(const NalUnit& unit, const SliceMeasure& measure)
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
    if (measure.isSlice)
        fmt::print(", slice");
    if (measure.slice_type >= 0)
        fmt::print(", slice_type {} {}", measure.slice_type, SliceTypeName(measure.slice_type));
    if (measure.sliceHeaderLength != 0)
        fmt::print(", header {}", CountOf(measure.sliceHeaderLength, "byte"));
    if (measure.lacksSets)
        fmt::print(", parameter sets unknown");
    fmt::print("{}\n", unit.ForbiddenZeroBit() ? ", damaged: forbidden_zero_bit is 1" : "");
}

}  // namespace

std::unique_ptr<CUnitsReport> MakeUnitsReport(const ReportStyle& style)
{
    if (style.isJson)
        return MakeUnitsJson(style);
    return std::make_unique<CUnitsText>(style);
}

}  // namespace tool
