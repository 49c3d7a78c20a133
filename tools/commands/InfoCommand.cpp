#include "commands/Commands.h"
#include "io/OutputCheck.h"
#include "report/InfoReport.h"
#include "report/Message.h"
#include "report/SizeHistory.h"
#include "report/SizePlot.h"

#include <fmt/format.h>

namespace tool {

namespace {

bool LooksLikeSvg(std::string_view start)
{
    return start.starts_with('<') && start.substr(0, 1024).find("<svg") != std::string_view::npos;
}

OutputRequest PlotRequest(const InfoOptions& options)
{
    return {.path = options.plotFile,
            .kind = {"an SVG picture", LooksLikeSvg},
            .inputs = options.input.Inputs(),
            .force = options.force};
}

// Describes one file.
class CInfo
{
public:
    CInfo(const InfoOptions& given, const SourceOptions& sourceOptions, CInfoReport& infoReport)
        : options(given), source(OpenSource(sourceOptions)), report(infoReport), analysis(source->Codec())
    {}

    Status Run();

private:
    void ReadStream();
    void Take(const AccessUnit& unit);
    void WritePlot() const;

    const InfoOptions& options;
    std::unique_ptr<CUnitSource> source;
    CInfoReport& report;
    CStreamAnalysis analysis;
    InfoResult result;
    CSizeHistory history;
};

Status CInfo::Run()
{
    if (options.listsUnits)
        source->PrintsLines();
    report.Begin(source->Facts());
    ReadStream();
    result.facts = source->Facts();
    result.counts = source->Counts();
    result.damage = analysis.Found();
    result.unusedSets = analysis.UnusedSets();
    result.furtherLayers = analysis.FurtherLayers();
    const std::string damage = result.IsDamaged() ? result.DescribeDamage() : "";
    const Status status = ReportMissing(*source, result.IsDamaged() ? StatusFound : StatusGood);
    if (result.summary.Sizes().count == 0)
        throw CToolError(DescribeNoPicture(source->Name(), result.damage));
    report.End(result);
    if (!options.plotFile.empty())
        WritePlot();
    if (!damage.empty())
        Complain(fmt::format("{}: {}", source->Name(), damage));
    return status;
}

void CInfo::ReadStream()
{
    const auto takeCompleted = [&] {
        if (const AccessUnit* const unit = analysis.Completed())
            Take(*unit);
    };
    source->ForEach([&](const NalUnit& unit) {
        analysis.Take(unit);
        takeCompleted();
    });
    analysis.Finish();
    takeCompleted();
}

void CInfo::Take(const AccessUnit& unit)
{
    result.summary.Add(unit);
    if (!unit.hasSlice)
        return;
    history.Add(unit.size, unit.isKeyFrame, result.summary.SecondsOf(unit));
    if (options.listsUnits)
        report.Add(unit);
}

void CInfo::WritePlot() const
{
    const std::string name = source->Name().substr(source->Name().find_last_of('/') + 1);
    COutputFile output(PlotRequest(options));
    output.Write(
        DrawSizes(history, {name, DescribeInALine(result)}, result.summary.Duration().value_or(0) > 0));
    output.Commit();
}

}  // namespace

Status RunInfo(const InfoOptions& options)
{
    if (options.plotFile == "-")
        throw CToolError(
            "--plot -: the standard output already gets the description; name a file for the plot");
    if (!options.plotFile.empty()) {
        RefuseSeveral(options.input, "--plot");
        CheckOutput(PlotRequest(options));
    }
    const auto report = MakeInfoReport(
        {.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()}, options.listsUnits);
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return CInfo(options, source, *report).Run(); });
}

}  // namespace tool
