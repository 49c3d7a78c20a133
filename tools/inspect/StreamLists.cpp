#include "inspect/StreamLists.h"

#include "report/UserDataNames.h"
#include "stream/ParameterSetId.h"
#include "stream/SeiUnit.h"

#include <algorithm>

namespace tool {

namespace {

constexpr size_t MostSets = 1000;
constexpr size_t MostMessages = 20000;
constexpr size_t MostFindings = 20000;
constexpr size_t MostPayload = 256;

// A time, text, or hex.
std::string Describe(std::span<const unsigned char> payload)
{
    const std::string bytes(payload.begin(), payload.end());
    if (const std::optional<std::string> time = TimestampText(bytes))
        return *time;
    if (const std::optional<std::string> text = EscapedText(bytes, MostPayload))
        return *text;
    return Hex(payload.first(std::min(payload.size(), MostPayload)));
}

}  // namespace

NalUnit UnitOf(VideoCodecType codec, const std::vector<unsigned char>& bytes)
{
    static constexpr unsigned char StartCode[] = {0, 0, 0, 1};
    if (bytes.empty())
        return {.codec = codec, .data = StartCode, .size = sizeof StartCode};
    return {.codec = codec, .data = bytes.data(), .size = static_cast<uint32_t>(bytes.size())};
}

void CStreamLists::Take(const NalUnit& unit)
{
    if (!unit.HasHeader() || unit.ForbiddenZeroBit())
        return;
    if (ParameterSetKind(unit) != nullptr)
        TakeParameterSet(unit);
    else if (unit.IsAnySei())
        TakeMessages(unit);
}

void CStreamLists::TakeParameterSet(const NalUnit& unit)
{
    const char* const kind = ParameterSetKind(unit);
    const uint32_t id = ReadParameterSetId(unit);
    const unsigned char* const end = unit.data + unit.size - TrailingZeros(unit);
    const auto known = lastSets.find({kind, id});
    if (known != lastSets.end() &&
        std::equal(unit.Header(), end, sets[known->second].bytes.begin(), sets[known->second].bytes.end())) {
        ++sets[known->second].count;
        return;
    }
    if (sets.size() == MostSets)
        return;
    lastSets[{kind, id}] = sets.size();
    sets.push_back({kind, id, unit.number, 1, {unit.Header(), end}});
}

void CStreamLists::TakeMessages(const NalUnit& unit)
{
    const CSeiUnit sei(unit);
    for (size_t i = 0; i < sei.MessageCount(); ++i) {
        const SeiMessageView message = sei.Message(i);
        if (!message.IsUserData() || message.Identifier().empty() || messageCount++ >= MostMessages)
            continue;
        const std::vector<unsigned char> identifier(message.Identifier().begin(), message.Identifier().end());
        messages.push_back({{"unit", unit.number},
                            {"writer", WriterName(identifier)},
                            {"identifier", IdentifierText(identifier)},
                            {"size", message.UserData().size()},
                            {"text", Describe(message.UserData())}});
    }
}

void CStreamLists::AddFinding(std::optional<uint64_t> unit, const std::string& text)
{
    if (findingCount++ < MostFindings)
        findings.push_back({{"unit", unit ? Json(*unit) : Json(nullptr)}, {"text", text}});
}

// Sets are in the order of the stream.
std::vector<unsigned char> CStreamLists::Find(const std::string& kind, uint32_t id, uint64_t unit) const
{
    std::vector<unsigned char> found;
    for (const ParameterSet& set : sets) {
        if (set.kind == kind && set.id == id && (set.firstUnit < unit || found.empty())) {
            found = {0, 0, 0, 1};
            found.insert(found.end(), set.bytes.begin(), set.bytes.end());
        }
    }
    return found;
}

Json CStreamLists::ToJson() const
{
    Json json = {{"parameterSets", Json::array()},
                 {"userData", messages},
                 {"userDataCount", messageCount},
                 {"findings", findings},
                 {"findingCount", findingCount}};
    for (const ParameterSet& set : sets) {
        json["parameterSets"].push_back({{"kind", set.kind},
                                         {"id", set.id},
                                         {"unit", set.firstUnit},
                                         {"count", set.count},
                                         {"bytes", Hex(set.bytes)}});
    }
    return json;
}

}  // namespace tool
