#include "commands/Commands.h"
#include "report/CheckReport.h"
#include "report/Message.h"
#include "stream/ContainerCheck.h"
#include "stream/FrameContinuity.h"
#include "stream/UnitOrder.h"

namespace tool {

namespace {

class CCheck
{
public:
    CCheck(const SourceFacts& source, CCheckReport& given)
        : facts(source), report(given), analysis(source.codec)
    {
        if (facts.container)
            container.emplace(facts);
    }

    void Take(const NalUnit& unit);
    void Finish(const SourceCounts& counts);

    const CheckSummary& Summary() const { return summary; }
    const Damage& Found() const { return analysis.Found(); }

private:
    void TestContinuity(const NalUnit& slice);
    void NoteSkipped(uint64_t bytes);
    void AddSamples(const std::vector<SampleFinding>& found);
    void Add(const Finding& finding);

    const SourceFacts& facts;
    CCheckReport& report;
    CStreamAnalysis analysis;
    CUnitOrder order;
    std::optional<CContainerCheck> container;
    CFrameContinuity continuity;
    CheckSummary summary;
};

void CCheck::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    if (container)
        AddSamples(container->Take(unit, role, analysis));
    for (const OrderFinding& finding : order.Take(unit, role))
        Add({FindingPlace::Unit, finding.unit, finding.offset, finding.text});
    if (role == UnitRole::Unreadable)
        Add({FindingPlace::Unit, unit.number, unit.offset,
             unit.ForbiddenZeroBit() ? "forbidden_zero_bit is 1" : "slice whose parameter sets are unknown"});
    if (role == UnitRole::FirstSlice) {
        ++summary.accessUnits;
        if (unit.codec == VideoCodecAVC)
            TestContinuity(unit);
    } else if ((role == UnitRole::Leading || unit.isOutOfBand) && unit.codec == VideoCodecAVC) {
        continuity.TakeParameterSet(unit);
    }
}

void CCheck::TestContinuity(const NalUnit& slice)
{
    const AccessUnit& unit = analysis.Current();
    const std::string text = continuity.TakePicture(slice);
    if (!text.empty())
        Add({FindingPlace::AccessUnit, unit.number, unit.offset, text});
}

void CCheck::Add(const Finding& finding)
{
    ++summary.findings;
    report.Add(finding);
}

void CCheck::AddSamples(const std::vector<SampleFinding>& found)
{
    for (const SampleFinding& finding : found) {
        Finding added{FindingPlace::Stream, 0, {}, finding.text};
        if (const std::shared_ptr<const Sample> sample = finding.sample) {
            added.place = FindingPlace::Sample;
            added.number = sample->number;
            added.offset = sample->offset;
            if (const std::optional<int64_t> time = sample->pts ? sample->pts : sample->dts)
                added.seconds = facts.timeBase.Seconds(*time);
        }
        Add(added);
    }
}

void CCheck::Finish(const SourceCounts& counts)
{
    for (const OrderFinding& finding : order.Finish())
        Add({FindingPlace::Unit, finding.unit, finding.offset, finding.text});
    analysis.Finish();
    if (container)
        AddSamples(container->Finish(counts, analysis));
    NoteSkipped(counts.skippedBytes);
}

void CCheck::NoteSkipped(uint64_t bytes)
{
    if (bytes != 0)
        Add({FindingPlace::Stream, 0, {}, CountOf(bytes, "byte") + " outside of units"});
}

Status CheckFile(const SourceOptions& options, CCheckReport& report)
{
    const auto source = OpenSource(options);
    CCheck check(source->Facts(), report);
    source->PrintsLines();
    report.Begin(source->Facts());
    source->ForEach([&](const NalUnit& unit) { check.Take(unit); });
    check.Finish(source->Counts());
    if (check.Summary().accessUnits == 0)
        throw CToolError(DescribeNoPicture(source->Name(), check.Found()));
    report.End(check.Summary());
    return check.Summary().findings == 0 ? StatusGood : StatusFound;
}

}  // namespace

Status RunCheck(const CheckOptions& options)
{
    const auto report =
        MakeCheckReport({.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()});
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return CheckFile(source, *report); });
}

}  // namespace tool
