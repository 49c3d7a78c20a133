#include "report/CheckReport.h"
#include "report/JsonReport.h"

namespace tool {

namespace {

class CCheckJson : public CJsonReport<CCheckReport>
{
public:
    explicit CCheckJson(const ReportStyle& style) : CJsonReport("check", "findings", style) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const Finding& finding) override;
    void End(const CheckSummary& summary) override;

private:
    bool isContinuityChecked = false;
};

void CCheckJson::Begin(const SourceFacts& facts)
{
    isContinuityChecked = facts.codec == VideoCodecAVC;
    CJsonReport::Begin(facts);
}

void CCheckJson::Add(const Finding& finding)
{
    Json json = Json::object();
    static constexpr const char* Places[] = {"unit", "accessUnit", "sample"};
    if (finding.place != FindingPlace::Stream)
        json[Places[static_cast<size_t>(finding.place)]] = finding.number;
    if (finding.seconds)
        json["seconds"] = Rounded(*finding.seconds);
    if (finding.offset)
        json["offset"] = *finding.offset;
    json["text"] = finding.text;
    if (!finding.expected.empty())
        json["expected"] = finding.expected;
    writer.Add(json);
}

void CCheckJson::End(const CheckSummary& summary)
{
    writer.End({{"accessUnitCount", summary.accessUnits},
                {"findingCount", summary.findings},
                {"continuityChecked", isContinuityChecked}});
}

}  // namespace

std::unique_ptr<CCheckReport> MakeCheckJson(const ReportStyle& style)
{
    return std::make_unique<CCheckJson>(style);
}

}  // namespace tool
