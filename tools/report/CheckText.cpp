#include "report/CheckReport.h"
#include "report/Message.h"

#include <fmt/format.h>

namespace tool {

namespace {

class CCheckText : public CCheckReport
{
public:
    explicit CCheckText(const ReportStyle& given) : style(given) {}

    void Begin(const SourceFacts& given) override { facts = given; }
    void Add(const Finding& finding) override;
    void End(const CheckSummary& summary) override;

private:
    ReportStyle style;
    SourceFacts facts;
};

void CCheckText::Add(const Finding& finding)
{
    if (style.hasSeveralFiles)
        fmt::print("{}: ", facts.name);
    if (finding.place == FindingPlace::Unit)
        fmt::print("unit {}, ", finding.number);
    else if (finding.place == FindingPlace::AccessUnit)
        fmt::print("access unit {}, ", finding.number);
    else if (finding.place == FindingPlace::Sample)
        fmt::print("sample {}, ", finding.number);
    if (finding.seconds)
        fmt::print("{:.3f} s, ", *finding.seconds);
    if (finding.offset)
        fmt::print("byte {}: ", *finding.offset);
    fmt::print("{}{}{}\n", finding.text, finding.expected.empty() ? "" : "; expected: ", finding.expected);
}

void CCheckText::End(const CheckSummary& summary)
{
    fmt::print("{}: {}, {}{}\n", facts.name, CountOf(summary.accessUnits, "access unit"),
               summary.findings == 0 ? "nothing found" : CountOf(summary.findings, "finding"),
               facts.codec == VideoCodecHEVC ? " (H.265: the order of units is checked, continuity is not)"
                                             : "");
}

}  // namespace

std::unique_ptr<CCheckReport> MakeCheckReport(const ReportStyle& style)
{
    if (style.isJson)
        return MakeCheckJson(style);
    return std::make_unique<CCheckText>(style);
}

}  // namespace tool
