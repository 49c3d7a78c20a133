#include "report/FixReport.h"

#include "report/JsonReport.h"
#include "report/Message.h"

#include <fmt/format.h>

namespace tool {

namespace {

std::optional<double> SecondsOf(const MarkChange& change)
{
    const std::optional<int64_t> time = change.sample->pts ? change.sample->pts : change.sample->dts;
    return time ? std::optional(change.timeBase.Seconds(*time)) : std::nullopt;
}

class CFixText : public CFixReport
{
public:
    void Begin(const SourceFacts& facts) override { name = facts.name; }

    void Add(const MarkChange& change) override
    {
        const std::optional<double> seconds = SecondsOf(change);
        fmt::print("sample {}{}: {}\n", change.sample->number,
                   seconds ? fmt::format(", {:.3f} s", *seconds) : "",
                   change.isKey ? "marked as a key sample" : "no longer marked as a key sample");
    }

    void End(uint64_t changes) override
    {
        fmt::print("{}: {}\n", name,
                   changes == 0 ? "no mark was wrong" : CountOf(changes, "mark") + " changed");
    }

private:
    std::string name;
};

class CFixJson : public CJsonReport<CFixReport>
{
public:
    explicit CFixJson(const ReportStyle& style) : CJsonReport("fix", "changes", style) {}

    void Add(const MarkChange& change) override
    {
        const std::optional<double> seconds = SecondsOf(change);
        writer.Add({{"sample", change.sample->number},
                    {"seconds", seconds ? Rounded(*seconds) : Json(nullptr)},
                    {"keySample", change.isKey}});
    }

    void End(uint64_t changes) override { writer.End({{"changeCount", changes}}); }
};

}  // namespace

std::unique_ptr<CFixReport> MakeFixReport(const ReportStyle& style)
{
    if (style.isJson)
        return std::make_unique<CFixJson>(style);
    return std::make_unique<CFixText>();
}

}  // namespace tool
