#include "report/JsonReport.h"
#include "report/ParamsReport.h"

namespace tool {

namespace {

class CParamsJson : public CJsonReport<CParamsReport>
{
public:
    explicit CParamsJson(const ReportStyle& style) : CJsonReport("params", "contents", style) {}

    void Add(const ParameterSetEvent& event) override;
    void End(const std::vector<ParameterSetSummary>& sets) override;
};

void CParamsJson::Add(const ParameterSetEvent& event)
{
    writer.Add({{"kind", event.kind},
                {"id", event.id},
                {"unit", event.unit},
                {"offset", event.offset},
                {"isChange", event.isChange},
                {"size", event.bytes.size()},
                {"hex", Hex(event.bytes)}});
}

void CParamsJson::End(const std::vector<ParameterSetSummary>& sets)
{
    Json json = Json::array();
    for (const ParameterSetSummary& set : sets)
        json.push_back({{"kind", set.kind}, {"id", set.id}, {"count", set.count}, {"changes", set.changes}});
    writer.End({{"parameterSets", json}});
}

}  // namespace

std::unique_ptr<CParamsReport> MakeParamsJson(const ReportStyle& style)
{
    return std::make_unique<CParamsJson>(style);
}

}  // namespace tool
