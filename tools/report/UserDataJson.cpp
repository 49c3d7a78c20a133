#include "report/JsonReport.h"
#include "report/UserDataNames.h"

#include "videoparams/timestamp.h"

namespace tool {

namespace {

class CUserDataJson : public CJsonReport<CUserDataReport>
{
public:
    CUserDataJson(const ReportStyle& style, UserDataView view)
        : CJsonReport(view == UserDataView::Contents ? "userdata get" : "userdata list", "messages", style)
    {}

    void Add(const UserDataMessage& message) override;
    void End(uint64_t count) override { writer.End({{"messageCount", count}}); }
};

Json TimestampOf(std::span<const unsigned char> bytes)
{
    unsigned int clock = 0;
    int64_t nanoseconds = 0;
    if (!VideoParamsReadTimestamp(bytes.data(), bytes.size(), &clock, &nanoseconds))
        return nullptr;
    static constexpr const char* Names[] = {"utc", "monotonic", "pts", "running time", "reference"};
    const Json name = clock < std::size(Names) ? Json(Names[clock]) : Json(nullptr);
    return {{"clock", name}, {"nanoseconds", nanoseconds}};
}

Json OrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

void CUserDataJson::Add(const UserDataMessage& message)
{
    const std::span bytes(reinterpret_cast<const unsigned char*>(message.bytes.data()), message.bytes.size());
    const bool isText = EscapedText(message.bytes, message.bytes.size()).has_value();
    writer.Add({{"accessUnit", message.accessUnit},
                {"unit", message.unit},
                {"offset", message.offset},
                {"identifier", OrNull(IdentifierText(message.identifier))},
                {"writer", OrNull(WriterName(message.identifier))},
                {"size", message.bytes.size()},
                {"timestamp", TimestampOf(bytes)},
                {"text", isText ? Json(WithoutTerminator(message.bytes)) : Json(nullptr)},
                {"hex", Hex(bytes)}});
}

}  // namespace

std::unique_ptr<CUserDataReport> MakeUserDataJson(const ReportStyle& style, UserDataView view)
{
    return std::make_unique<CUserDataJson>(style, view);
}

}  // namespace tool
