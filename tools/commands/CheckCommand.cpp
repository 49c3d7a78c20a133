#include "commands/Commands.h"
#include "report/CheckReport.h"
#include "report/Message.h"
#include "stream/ContainerCheck.h"
#include "stream/UnitOrder.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr uint32_t SliceHeadSize = 256;

class CCheck
{
public:
    CCheck(const SourceFacts& source, CCheckReport& given)
        : facts(source), report(given), analysis(source.codec), tester(source.codec)
    {
        if (facts.container)
            container.emplace(facts);
    }

    void Take(const NalUnit& unit);
    void Finish(const SourceCounts& counts);

    const CheckSummary& Summary() const { return summary; }

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
    CParseHandle tester;  // reads no slice but the first of each picture
    bool isAfterFirstField = false;
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
    } else if ((role == UnitRole::Leading || unit.isOutOfBand) && (unit.IsSps() || unit.IsPps())) {
        VideoInfoEx none;
        VideoSampleTest(tester, unit.data, unit.size, &none);
    }
}

// The second field of a pair repeats the frame_num of the first, and the library cannot always tell it from a
// first field: it flags sound streams where both fields are intra and where a frame comes between. So second
// fields are left out.
void CCheck::TestContinuity(const NalUnit& slice)
{
    const AccessUnit& unit = analysis.Current();
    const bool isSecondField = unit.isField && isAfterFirstField && !slice.IsKeySlice();
    isAfterFirstField = unit.isField && !isSecondField;
    if (isSecondField)
        return;
    VideoInfoEx test;
    VideoSampleTest(tester, slice.data, std::min(slice.size, SliceHeadSize), &test);
    if (!test.sampleError)
        return;
    Add({FindingPlace::AccessUnit, unit.number, unit.offset,
         "frame_num does not follow: reference pictures are missing before it"});
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
        throw CToolError(fmt::format("{}: no picture could be read from it", source->Name()));
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
