#include "commands/Commands.h"
#include "io/OutputCheck.h"
#include "report/Message.h"
#include "report/ParamsReport.h"
#include "stream/Detection.h"
#include "stream/ParameterSetId.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>

namespace tool {

namespace {

// pic_parameter_set_id has the widest range. A unit with a larger one is damaged.
constexpr uint32_t MaxId = 255;

// Zeros before the next start code are not part of the set.
std::vector<unsigned char> BytesOf(const NalUnit& unit)
{
    const unsigned char* end = unit.data + unit.size;
    while (end > unit.Header() + unit.HeaderLength() && end[-1] == 0)
        --end;
    return {unit.data, end};
}

// Compares what follows the start codes, which may differ in length.
bool IsSameSet(const std::vector<unsigned char>& one, const std::vector<unsigned char>& other)
{
    const auto header = [](const std::vector<unsigned char>& bytes) {
        return bytes.begin() + (bytes[2] == 1 ? 3 : 4);
    };
    return std::equal(header(one), one.end(), header(other), other.end());
}

// The sets of a stream by kind and identifier, in the order of first appearance.
class CParameterSets
{
public:
    explicit CParameterSets(CParamsReport* given) : report(given) {}

    void Take(const NalUnit& unit);
    void Write(const OutputRequest& request) const;

    const std::vector<ParameterSetSummary>& Summaries() const { return summaries; }
    uint64_t Changes() const { return changes; }

private:
    struct Contents
    {
        std::vector<unsigned char> first;
        std::vector<unsigned char> last;
    };

    CParamsReport* report;  // null if nothing is printed
    std::vector<ParameterSetSummary> summaries;
    std::vector<Contents> contents;  // of each of the summaries
    std::map<std::pair<std::string, uint32_t>, size_t> places;
    uint64_t changes = 0;
};

void CParameterSets::Take(const NalUnit& unit)
{
    const char* const kind = ParameterSetKind(unit);
    const uint32_t id = kind == nullptr ? 0 : ReadParameterSetId(unit);
    if (kind == nullptr || id > MaxId)
        return;
    const auto [place, isNew] = places.try_emplace({kind, id}, summaries.size());
    if (isNew) {
        summaries.push_back({.kind = kind, .id = id});
        contents.emplace_back();
    }
    ParameterSetSummary& summary = summaries[place->second];
    Contents& known = contents[place->second];
    ++summary.count;
    std::vector<unsigned char> bytes = BytesOf(unit);
    const bool isChange = !isNew && !IsSameSet(known.last, bytes);
    summary.changes += isChange;
    changes += isChange;
    if (isNew)
        known.first = bytes;
    if (!isNew && !isChange)
        return;
    if (report != nullptr)
        report->Add({kind, id, unit.number, unit.offset, bytes, isChange});
    known.last = std::move(bytes);
}

void CParameterSets::Write(const OutputRequest& request) const
{
    COutputFile output(request);
    for (const Contents& set : contents)
        output.Write(set.first.data(), set.first.size());
    output.Commit();
}

CParameterSets ReadSets(CUnitSource& source, CParamsReport* report)
{
    CParameterSets sets(report);
    source.ForEach([&](const NalUnit& unit) {
        if (!unit.ForbiddenZeroBit())
            sets.Take(unit);
    });
    if (sets.Summaries().empty())
        throw CToolError(fmt::format("{}: there is no parameter set in it", source.Name()));
    return sets;
}

Status PrintSets(const SourceOptions& options, CParamsReport& report)
{
    const auto source = OpenSource(options);
    source->PrintsLines();
    report.Begin(source->Facts());
    report.End(ReadSets(*source, &report).Summaries());
    return ReportMissing(*source, StatusGood);
}

Status WriteSets(const ParamsOptions& options)
{
    SourceOptions sourceOptions = options.input.source;
    sourceOptions.file = options.input.files[0];
    const auto source = OpenSource(sourceOptions);
    const OutputRequest request{.path = options.outputFile,
                                .kind = {"a byte stream of parameter sets", LooksLikeParameterSets},
                                .inputs = options.input.Inputs(),
                                .force = options.force};
    CheckOutput(request);
    const CParameterSets sets = ReadSets(*source, nullptr);
    sets.Write(request);
    if (sets.Changes() != 0)
        Complain(fmt::format("{}: the parameter sets change {}; the first ones were written", source->Name(),
                             CountOf(sets.Changes(), "time")));
    return ReportMissing(*source, StatusGood);
}

}  // namespace

Status RunParams(const ParamsOptions& options)
{
    if (!options.outputFile.empty()) {
        RefuseSeveral(options.input, "--output");
        return WriteSets(options);
    }
    const auto report =
        MakeParamsReport({.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()});
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return PrintSets(source, *report); });
}

}  // namespace tool
