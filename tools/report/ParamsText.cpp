#include "report/Message.h"
#include "report/ParamsReport.h"

#include <fmt/format.h>

namespace tool {

namespace {

// The report stays short if the sets change all the time.
constexpr uint64_t MaxPrinted = 1000;
constexpr size_t BytesPerLine = 32;

class CParamsText : public CParamsReport
{
public:
    explicit CParamsText(const ReportStyle& given) : style(given) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const ParameterSetEvent& event) override;
    void End(const std::vector<ParameterSetSummary>& sets) override;

private:
    ReportStyle style;
    uint64_t eventCount = 0;
};

void CParamsText::Begin(const SourceFacts& facts)
{
    eventCount = 0;
    if (style.hasSeveralFiles)
        fmt::print("{}\n", facts.name);
}

void CParamsText::Add(const ParameterSetEvent& event)
{
    if (++eventCount > MaxPrinted)
        return;
    fmt::print("{} {}  unit {}  offset {}  {} bytes{}\n", event.kind, event.id, event.unit, event.offset,
               event.bytes.size(), event.isChange ? "  changed" : "");
    for (size_t i = 0; i < event.bytes.size(); ++i)
        fmt::print("{}{:02X}", i % BytesPerLine == 0 ? (i == 0 ? "  " : "\n  ") : " ", event.bytes[i]);
    fmt::print("\n");
}

void CParamsText::End(const std::vector<ParameterSetSummary>& sets)
{
    if (eventCount > MaxPrinted)
        fmt::print("... and {} more\n", eventCount - MaxPrinted);
    for (const ParameterSetSummary& set : sets) {
        const std::string change =
            set.changes == 0 ? "never changes"
                             : fmt::format("CHANGES {}: a handle of the library holds the first one",
                                           CountOf(set.changes, "time"));
        fmt::print("{} {}: {} in the stream, {}\n", set.kind, set.id, CountOf(set.count, "time"), change);
    }
}

}  // namespace

std::unique_ptr<CParamsReport> MakeParamsReport(const ReportStyle& style)
{
    if (style.isJson)
        return MakeParamsJson(style);
    return std::make_unique<CParamsText>(style);
}

}  // namespace tool
