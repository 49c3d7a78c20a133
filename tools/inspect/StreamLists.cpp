#include "inspect/StreamLists.h"

#include "bitstream/EmulationPrevention.h"
#include "stream/ParameterSetId.h"
#include "stream/SeiUnit.h"
#include "userdata/SeiMessage.h"

#include <algorithm>

namespace tool {

namespace {

constexpr size_t MostSets = 1000;
constexpr size_t MostMessages = 20000;
constexpr size_t MostPayload = 256;

const char* KindOf(const NalUnit& unit)
{
    if (unit.IsVps())
        return "VPS";
    if (unit.IsSps())
        return "SPS";
    return unit.IsPps() ? "PPS" : nullptr;
}

}  // namespace

NalUnit UnitOf(VideoCodecType codec, const std::vector<unsigned char>& bytes)
{
    static constexpr unsigned char StartCode[] = {0, 0, 0, 1};
    if (bytes.empty())
        return {.codec = codec, .data = StartCode, .size = sizeof StartCode};
    return {.codec = codec, .data = bytes.data(), .size = static_cast<uint32_t>(bytes.size())};
}

std::vector<unsigned char> RbspOf(const NalUnit& unit)
{
    const uint32_t size = unit.size - unit.StartCodeLength();
    std::vector<unsigned char> rbsp(size);
    rbsp.resize(videoparams::RemoveEmulationPrevention(unit.Header(), size, size, rbsp.data()));
    return rbsp;
}

void CStreamLists::Take(const NalUnit& unit)
{
    if (!unit.HasHeader() || unit.ForbiddenZeroBit())
        return;
    if (KindOf(unit) != nullptr)
        TakeParameterSet(unit);
    else if (unit.IsSei())
        TakeMessages(unit);
}

void CStreamLists::TakeParameterSet(const NalUnit& unit)
{
    const char* const kind = KindOf(unit);
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
    using namespace videoparams;
    const std::vector<unsigned char> rbsp = RbspOf(unit);
    CSeiMessageWalk walk(rbsp.data(), static_cast<uint32_t>(rbsp.size()), unit.HeaderLength());
    SeiMessage message;
    while (walk.Next(message)) {
        if (!message.IsUserData() || message.payloadSize < UserDataIdentifierLength)
            continue;
        if (messageCount++ >= MostMessages)
            continue;
        const std::span payload(message.payload, message.payloadSize);
        const auto own = payload.subspan(UserDataIdentifierLength);
        messages.push_back({unit.number, Hex(payload.first(UserDataIdentifierLength)),
                            message.HasIdentifier(), own.size(),
                            Hex(own.first(std::min(own.size(), MostPayload)))});
    }
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
                 {"userData", Json::array()},
                 {"userDataCount", messageCount},
                 {"findings", Json::array()},
                 {"findingCount", 0}};
    for (const ParameterSet& set : sets) {
        json["parameterSets"].push_back({{"kind", set.kind},
                                         {"id", set.id},
                                         {"unit", set.firstUnit},
                                         {"count", set.count},
                                         {"bytes", Hex(set.bytes)}});
    }
    for (const Message& message : messages) {
        json["userData"].push_back({{"unit", message.unit},
                                    {"identifier", message.identifier},
                                    {"own", message.isOwn},
                                    {"size", message.size},
                                    {"payload", message.payload}});
    }
    return json;
}

}  // namespace tool
