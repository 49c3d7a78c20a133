// Writes a container again with the marks of key samples that its stream asks for.

#include "commands/Commands.h"
#include "report/FixReport.h"
#include "report/Message.h"
#include "stream/SampleContents.h"

#include <fmt/format.h>

namespace tool {

namespace {

class CMarkFixer
{
public:
    CMarkFixer(const SourceFacts& source, CFixReport& given, CUnitSink& sink)
        : facts(source), report(given), output(sink), analysis(source.codec)
    {}

    void Take(const NalUnit& unit);
    void TakeSkipped(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes, size_t size);
    void Finish();

    uint64_t Changes() const { return changes; }

private:
    void FinishSample();

    const SourceFacts& facts;
    CFixReport& report;
    CUnitSink& output;
    CStreamAnalysis analysis;
    CSampleContents contents;
    bool hasPicture = false;
    uint64_t changes = 0;
};

void CMarkFixer::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    hasPicture = hasPicture || role == UnitRole::FirstSlice;
    if (unit.sample && unit.sample != contents.Of()) {
        FinishSample();
        contents = CSampleContents(unit.sample);
    }
    contents.Take(unit, role, analysis.Current());
    output.Write(unit.sample, unit.data, unit.size);
}

void CMarkFixer::TakeSkipped(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes,
                             size_t size)
{
    output.WriteOther(sample, bytes, size);
}

void CMarkFixer::Finish()
{
    FinishSample();
    if (!hasPicture)
        throw CToolError(DescribeNoPicture(facts.name, analysis.Found()));
}

void CMarkFixer::FinishSample()
{
    const std::optional<bool> required = contents.RequiredMark();
    if (!contents.Of() || !required || *required == contents.Of()->isKey)
        return;
    output.MarkKey(contents.Of(), *required);
    report.Add({.sample = contents.Of(), .timeBase = facts.timeBase, .isKey = *required});
    ++changes;
}

Status FixFile(const FixOptions& options, CFixReport& report)
{
    const auto source = OpenSource(options.source);
    if (!source->Facts().container || !source->Facts().container->marksKeySamples)
        throw CToolError(
            fmt::format("{}: {} has no marks of key samples to fix; MP4, MOV, MKV and FLV have them",
                        source->Name(), source->Facts().format));
    const auto output = source->OpenSink(
        {.path = options.outputFile, .inputs = {options.source.setsFile}, .force = options.force});
    CMarkFixer fixer(source->Facts(), report, *output);
    report.Begin(source->Facts());
    source->ForEach([&](const NalUnit& unit) { fixer.Take(unit); },
                    [&](const auto& sample, const unsigned char* bytes, size_t size) {
                        fixer.TakeSkipped(sample, bytes, size);
                    });
    fixer.Finish();
    source->RefuseIfIncomplete();
    output->Commit();
    report.End(fixer.Changes());
    return StatusGood;
}

}  // namespace

Status RunFix(const FixOptions& options)
{
    const auto report = MakeFixReport({.isJson = options.isJson});
    return ForEachFile({{options.source.file}, options.source}, *report,
                       [&](const SourceOptions&) { return FixFile(options, *report); });
}

}  // namespace tool
