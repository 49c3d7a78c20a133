#include "report/JsonReport.h"

#include <cmath>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr int SchemaVersion = 1;

}  // namespace

std::string Dump(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

CJsonWriter::CJsonWriter(std::string givenCommand, std::string givenList, const ReportStyle& style)
    : command(std::move(givenCommand)), listName(std::move(givenList)), isArray(style.hasSeveralFiles),
      stream(style.isBesideResult ? stderr : stdout)
{}

void CJsonWriter::BeginObject(const std::string& name)
{
    if (isArray)
        fmt::print(stream, "{}", objectCount == 0 ? "[\n" : ",\n");
    fmt::print(stream, "{{\n  \"schemaVersion\": {},\n  \"command\": {},\n  \"file\": {}", SchemaVersion,
               Dump(command), Dump(name));
    ++objectCount;
    isInObject = true;
}

void CJsonWriter::Begin(const SourceFacts& facts)
{
    BeginObject(facts.name);
    fmt::print(stream, ",\n  \"format\": {},\n  \"codec\": {}", Dump(facts.format),
               Dump(CodecName(facts.codec)));
    if (!listName.empty())
        fmt::print(stream, ",\n  \"{}\": [", listName);
    itemCount = 0;
}

void CJsonWriter::Add(const Json& item)
{
    fmt::print(stream, "{}\n    {}", itemCount++ == 0 ? "" : ",", Dump(item));
}

void CJsonWriter::End(const Json& members)
{
    if (!listName.empty())
        fmt::print(stream, "{}]", itemCount == 0 ? "" : "\n  ");
    EndObject(members);
}

void CJsonWriter::EndObject(const Json& members)
{
    for (const auto& [name, value] : members.items())
        fmt::print(stream, ",\n  \"{}\": {}", name, Dump(value));
    fmt::print(stream, "\n}}{}", isArray ? "" : "\n");
    isInObject = false;
}

// The object of a file that could not be read to its end is closed, so that what was read can be used.
void CJsonWriter::Fail(const std::string& name, const std::string& message)
{
    const Json members = {{"error", message}};
    if (isInObject) {
        End(members);
        return;
    }
    BeginObject(name);
    EndObject(members);
}

void CJsonWriter::Close() const
{
    if (isArray)
        fmt::print(stream, "{}\n]\n", objectCount == 0 ? "[" : "");
}

Json Rounded(double value)
{
    constexpr double Steps = 1e6;
    const double rounded = std::round(value * Steps) / Steps;
    return rounded == std::floor(rounded) ? Json(std::llround(rounded)) : Json(rounded);
}

Json RoundedOrNull(const std::optional<double>& value)
{
    return value ? Rounded(*value) : Json(nullptr);
}

std::string Hex(std::span<const unsigned char> bytes)
{
    std::string digits;
    for (const unsigned char byte : bytes)
        digits += fmt::format("{:02X}", byte);
    return digits;
}

}  // namespace tool
