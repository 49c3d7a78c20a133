#include "report/Message.h"
#include "report/UserDataReport.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t MostShown = 64;

class CUserDataText : public CUserDataReport
{
public:
    explicit CUserDataText(const ReportStyle& given) : style(given) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const UserDataMessage& message) override;
    void End(uint64_t) override {}

private:
    ReportStyle style;
};

// As text if it is text, otherwise as hex.
std::string Show(const std::string& bytes)
{
    const std::string start = bytes.substr(0, MostShown);
    const bool isText = std::all_of(start.begin(), start.end(),
                                    [](char character) { return character >= 0x20 && character < 0x7F; });
    std::string shown;
    if (isText) {
        shown = fmt::format("\"{}\"", start);
    } else {
        for (const char character : start)
            shown += fmt::format("{}{:02X}", shown.empty() ? "" : " ", static_cast<unsigned char>(character));
    }
    return bytes.size() > start.size() ? shown + " ..." : shown;
}

void CUserDataText::Begin(const SourceFacts& facts)
{
    if (style.hasSeveralFiles)
        fmt::print("{}\n", facts.name);
}

void CUserDataText::Add(const UserDataMessage& message)
{
    fmt::print("access unit {}  offset {}  {}  {}\n", message.accessUnit, message.offset,
               CountOf(message.bytes.size(), "byte"), Show(message.bytes));
}

}  // namespace

std::unique_ptr<CUserDataReport> MakeUserDataReport(const ReportStyle& style)
{
    return std::make_unique<CUserDataText>(style);
}

}  // namespace tool
