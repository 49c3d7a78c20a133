#include "report/EditReport.h"

#include "report/JsonReport.h"
#include "report/Message.h"

namespace tool {

namespace {

class CEditText : public CEditReport
{
public:
    explicit CEditText(const ReportStyle& given) : style(given) {}

    void Begin(const SourceFacts&) override {}
    void End(const EditSummary& summary) override { Announce(summary.text, style.isBesideResult); }

private:
    ReportStyle style;
};

class CEditJson : public CJsonReport<CEditReport>
{
public:
    using CJsonReport::CJsonReport;

    void End(const EditSummary& summary) override
    {
        Json members;
        for (const auto& [name, value] : summary.numbers)
            members[name] = value;
        writer.End(members);
    }
};

}  // namespace

std::unique_ptr<CEditReport> MakeEditReport(const std::string& command, const ReportStyle& style)
{
    if (style.isJson)
        return std::make_unique<CEditJson>(command, "", style);
    return std::make_unique<CEditText>(style);
}

}  // namespace tool
