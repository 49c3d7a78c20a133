#include "commands/Commands.h"
#include "inspect/StreamCheck.h"
#include "report/Message.h"
#include "stream/ContainerCheck.h"

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
    void TakeSkipped(const std::shared_ptr<const Sample>& sample, size_t size);
    void Finish(const SourceCounts& counts);

    const CheckSummary& Summary() const { return summary; }
    const Damage& Found() const { return analysis.Found(); }

private:
    void AddSamples(const std::vector<SampleFinding>& found);
    void Add(const Finding& finding);

    const SourceFacts& facts;
    CCheckReport& report;
    CStreamAnalysis analysis;
    CStreamCheck stream;
    std::optional<CContainerCheck> container;
    CheckSummary summary;
    uint64_t bytesInSamples = 0;  // that belong to no unit
};

void CCheck::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    if (container)
        AddSamples(container->Take(unit, role, analysis));
    for (const Finding& finding : stream.Take(unit, role, analysis))
        Add(finding);
    summary.accessUnits += role == UnitRole::FirstSlice;
}

void CCheck::Add(const Finding& finding)
{
    ++summary.findings;
    report.Add(finding);
}

void CCheck::AddSamples(const std::vector<SampleFinding>& found)
{
    for (const SampleFinding& finding : found) {
        Finding added{FindingPlace::Stream, 0, {}, finding.text, finding.expected};
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
    for (const Finding& finding : stream.Finish())
        Add(finding);
    analysis.Finish();
    if (container)
        AddSamples(container->Finish(counts, analysis));
    const uint64_t skipped = counts.skippedBytes - bytesInSamples;
    if (skipped != 0)
        Add({FindingPlace::Stream, 0, {}, CountOf(skipped, "byte") + " outside of units"});
}

void CCheck::TakeSkipped(const std::shared_ptr<const Sample>& sample, size_t size)
{
    if (!sample)
        return;
    AddSamples({{sample, CountOf(size, "byte") + " at its end in no unit", "units that fill the sample"}});
    bytesInSamples += size;
}

Status CheckFile(const SourceOptions& options, CCheckReport& report)
{
    const auto source = OpenSource(options);
    CCheck check(source->Facts(), report);
    source->PrintsLines();
    report.Begin(source->Facts());
    source->ForEach(
        [&](const NalUnit& unit) { check.Take(unit); },
        [&](const auto& sample, const unsigned char*, size_t size) { check.TakeSkipped(sample, size); });
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
