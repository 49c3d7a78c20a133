#include "inspect/PageWriter.h"

#include "inspect/Base64.h"
#include "io/ToolError.h"
#include "report/JsonReport.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr std::string_view Generator = R"(<meta name="generator" content="VideoParams Inspector">)";
constexpr std::string_view Place = R"(<script type="application/json" id="embedded">null</script>)";

// Divisible by 3, so that only the last block is padded, and by the sizes of the records.
constexpr size_t BlockSize = 96 << 13;
static_assert(BlockSize % 3 == 0 && BlockSize % sizeof(UnitRecord) == 0 &&
              BlockSize % sizeof(AccessUnitRecord) == 0);

constexpr size_t LongestStream = 32 << 20;

size_t FindPlace(const std::string& page)
{
    const size_t place = page.find(Place);
    if (!LooksLikeInspectorPage(page) || place == std::string::npos)
        throw CToolError(
            "the page is not the inspector page, or of another version: build it again with web/build");
    return place;
}

// Nothing in it ends the element.
std::string TextOf(const Json& json)
{
    std::string text = Dump(json);
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at))
        text.replace(at, 1, "\\u003c");
    return text;
}

template <class Record>
std::span<const unsigned char> BytesOf(std::span<const Record> records)
{
    return {reinterpret_cast<const unsigned char*>(records.data()), records.size_bytes()};
}

}  // namespace

bool LooksLikeInspectorPage(std::string_view start)
{
    return start.substr(0, 1024).find(Generator) != std::string_view::npos;
}

CPageWriter::CPageWriter(const std::string& page, const OutputRequest& request) : output(request)
{
    const size_t place = FindPlace(page);
    end = page.substr(place + Place.size());
    output.Write(std::string_view(page).substr(0, place));
}

void CPageWriter::Add(std::span<const UnitRecord> records)
{
    Add(units, BytesOf(records));
}

void CPageWriter::Add(std::span<const AccessUnitRecord> records)
{
    Add(accessUnits, BytesOf(records));
}

void CPageWriter::AddStream(std::span<const unsigned char> bytes)
{
    hasStream = hasStream && bytes.size() <= LongestStream - stream.size();
    if (hasStream)
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    else
        stream = {};
}

void CPageWriter::Commit(const Json& header)
{
    WriteBlock(units);
    WriteBlock(accessUnits);
    Part streamPart{"stream"};
    if (hasStream)
        Add(streamPart, stream);
    WriteBlock(streamPart);
    output.Write(
        fmt::format("<script type=\"application/json\" id=\"embedded\">{}</script>", TextOf(header)));
    output.Write(end);
    output.Commit();
}

void CPageWriter::Add(Part& part, std::span<const unsigned char> bytes)
{
    while (!bytes.empty()) {
        const std::span<const unsigned char> step =
            bytes.first(std::min(bytes.size(), BlockSize - part.bytes.size()));
        part.bytes.insert(part.bytes.end(), step.begin(), step.end());
        bytes = bytes.subspan(step.size());
        if (part.bytes.size() == BlockSize)
            WriteBlock(part);
    }
}

void CPageWriter::WriteBlock(Part& part)
{
    if (part.bytes.empty())
        return;
    output.Write(fmt::format("<script type=\"text/plain\" data-part=\"{}\">{}</script>\n", part.name,
                             Base64(part.bytes)));
    part.bytes.clear();
}

}  // namespace tool
