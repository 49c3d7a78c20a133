#include "commands/Commands.h"
#include "io/OutputFile.h"
#include "report/InfoReport.h"
#include "report/Message.h"
#include "report/SizeHistory.h"
#include "report/SizePlot.h"
#include "stream/UnitSource.h"

#include <fmt/format.h>

namespace tool {

namespace {

class CInfo
{
public:
    explicit CInfo(const InfoOptions& options);
    Status Run();

private:
    void Take(const AccessUnit& unit);
    void PrintUnit(const AccessUnit& unit) const;
    void WritePlot() const;

    InfoOptions options;
    CUnitSource source;
    CStreamAnalysis analysis;
    InfoReport report;
    CSizeHistory history;
    std::optional<CJsonReport> json;
};

CInfo::CInfo(const InfoOptions& given)
    : options(given), source(given.file, given.codec), analysis(source.Codec())
{
    report.name = source.Name();
    report.codec = source.Codec();
    if (options.isJson)
        json.emplace(source.Name(), source.Codec(), options.listsUnits);
    if (options.listsUnits)
        source.PrintsLines();
}

Status CInfo::Run()
{
    if (options.listsUnits && !json)
        fmt::print("{:>8} {:>12} {:>9}  {:<4} {:<6} slice_type\n", "unit", "offset", "bytes", "key", "coded");
    const auto takeCompleted = [&] {
        if (const AccessUnit* const unit = analysis.Completed())
            Take(*unit);
    };
    source.ForEach([&](const NalUnit& unit) {
        analysis.Take(unit);
        takeCompleted();
    });
    analysis.Finish();
    takeCompleted();

    report.readBytes = source.ReadBytes();
    report.unitCount = source.UnitCount();
    report.skippedBytes = source.SkippedBytes();
    report.damage = analysis.Found();
    if (json)
        json->Finish(report);
    else
        PrintReport(report);
    if (!options.plotFile.empty() && report.summary.Sizes().count != 0)
        WritePlot();
    const std::string damage = report.IsDamaged() ? report.DescribeDamage() : "";
    if (report.summary.Sizes().count == 0)
        throw CToolError(fmt::format("{}: no picture could be read from it{}", source.Name(),
                                     damage.empty() ? "" : "; " + damage));
    if (!damage.empty())
        Complain(fmt::format("{}: {}", source.Name(), damage));
    return report.IsDamaged() ? StatusFound : StatusGood;
}

void CInfo::Take(const AccessUnit& unit)
{
    report.summary.Add(unit);
    if (!unit.hasSlice)
        return;
    history.Add(unit.size, unit.isKeyFrame);
    if (!options.listsUnits)
        return;
    if (json)
        json->PrintAccessUnit(unit);
    else
        PrintUnit(unit);
}

void CInfo::PrintUnit(const AccessUnit& unit) const
{
    const bool isAvc = source.Codec() == VideoCodecAVC;
    const std::string type =
        isAvc ? fmt::format("{} {}", unit.slice_type, SliceTypeName(unit.slice_type)) : "-";
    fmt::print("{:>8} {:>12} {:>9}  {:<4} {:<6} {}\n", unit.number, unit.offset, unit.size,
               unit.isKeyFrame ? "key" : "-",
               !isAvc         ? "-"
               : unit.isField ? "field"
                              : "frame",
               type);
}

void CInfo::WritePlot() const
{
    const std::string name = source.Name().substr(source.Name().find_last_of('/') + 1);
    COutputFile output(options.plotFile);
    output.Write(DrawSizes(history, {name, DescribeInALine(report)}, report.summary.Duration()));
    output.Commit();
}

}  // namespace

Status RunInfo(const InfoOptions& options)
{
    return CInfo(options).Run();
}

}  // namespace tool
