#include "report/Message.h"
#include "report/UserDataNames.h"

#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t MostShown = 64;

class CUserDataText : public CUserDataReport
{
public:
    CUserDataText(const ReportStyle& given, UserDataView wanted) : style(given), view(wanted) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const UserDataMessage& message) override;
    void End(uint64_t) override {}

private:
    ReportStyle style;
    UserDataView view;
};

std::string HexText(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes.substr(0, MostShown))
        text += fmt::format("{}{:02X}", text.empty() ? "" : " ", static_cast<unsigned char>(byte));
    return bytes.size() > MostShown ? text + " ..." : text;
}

std::string Show(const std::string& bytes)
{
    if (const std::optional<std::string> time = TimestampText(bytes))
        return *time;
    return EscapedText(bytes, MostShown).value_or(HexText(bytes));
}

std::string DescribeWriter(const UserDataMessage& message)
{
    if (message.identifier.empty())
        return "no identifier";
    const std::string name = WriterName(message.identifier);
    return fmt::format("{} {}", IdentifierText(message.identifier), name.empty() ? "(unknown)" : name);
}

void CUserDataText::Begin(const SourceFacts& facts)
{
    if (style.hasSeveralFiles)
        fmt::print("{}\n", facts.name);
}

void CUserDataText::Add(const UserDataMessage& message)
{
    const std::string size = CountOf(message.bytes.size(), "byte");
    if (view == UserDataView::Contents)
        fmt::print("access unit {}  offset {}  {}  {}\n", message.accessUnit, message.offset, size,
                   Show(message.bytes));
    else
        fmt::print("unit {}  access unit {}  offset {}  {}  {}  {}\n", message.unit, message.accessUnit,
                   message.offset, DescribeWriter(message), size, Show(message.bytes));
}

}  // namespace

std::unique_ptr<CUserDataReport> MakeUserDataReport(const ReportStyle& style, UserDataView view)
{
    if (style.isJson)
        return MakeUserDataJson(style, view);
    return std::make_unique<CUserDataText>(style, view);
}

}  // namespace tool
