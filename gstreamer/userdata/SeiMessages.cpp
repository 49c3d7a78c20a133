#include "userdata/SeiMessages.h"

#include <algorithm>

namespace gstvp {

const std::array<guint8, 16> UserDataIdentifier = {0x99, 0xAE, 0xD3, 0x1B, 0xB8, 0x94, 0x4B, 0x97,
                                                   0xAD, 0x39, 0xFB, 0x4E, 0xD5, 0x90, 0x2B, 0xA1};

namespace {

constexpr size_t UserDataPayloadType = 5;
constexpr guint8 ContinuationByte = 0xFF;
constexpr guint8 TrailingByte = 0x80;
constexpr guint8 EmulationPreventionByte = 0x03;

struct SeiMessage
{
    Bytes bytes;    // from payloadType to the last payload byte
    Bytes payload;  // without emulation prevention
    size_t payloadType;

    bool HasIdentifier() const
    {
        return payloadType == UserDataPayloadType && payload.size() >= UserDataIdentifier.size() &&
               std::equal(UserDataIdentifier.begin(), UserDataIdentifier.end(), payload.begin());
    }
};

std::vector<guint8> RemoveEmulationPrevention(Bytes escaped)
{
    std::vector<guint8> bytes;
    bytes.reserve(escaped.size());
    size_t zeroCount = 0;
    for (const guint8 byte : escaped) {
        const bool isPrevention = zeroCount >= 2 && byte == EmulationPreventionByte;
        zeroCount = byte == 0 ? zeroCount + 1 : 0;
        if (!isPrevention)
            bytes.push_back(byte);
    }
    return bytes;
}

void AppendWithEmulationPrevention(std::vector<guint8>& output, Bytes bytes)
{
    size_t zeroCount = 0;
    for (const guint8 byte : bytes) {
        if (zeroCount >= 2 && byte <= EmulationPreventionByte) {
            output.push_back(EmulationPreventionByte);
            zeroCount = 0;
        }
        output.push_back(byte);
        zeroCount = byte == 0 ? zeroCount + 1 : 0;
    }
}

void Append(std::vector<guint8>& output, Bytes bytes)
{
    output.insert(output.end(), bytes.begin(), bytes.end());
}

// Walks the messages of a unit without its header. What is after the last whole message is the rest.
class CSeiWalk
{
public:
    explicit CSeiWalk(Bytes unitBody) : body(RemoveEmulationPrevention(unitBody)), rest(body) {}

    bool Next(SeiMessage& message)
    {
        if (rest.size() < 2 || HasOnlyTrailingBits())
            return false;
        Bytes after = rest;
        size_t payloadSize = 0;
        if (!ReadSum(after, message.payloadType) || !ReadSum(after, payloadSize) ||
            payloadSize > after.size())
            return false;
        message.payload = after.first(payloadSize);
        after = after.subspan(payloadSize);
        message.bytes = rest.first(rest.size() - after.size());
        rest = after;
        return true;
    }

    Bytes Rest() const { return rest; }

    // rbsp_trailing_bits() and zeros after them, which belong to the byte stream
    bool HasOnlyTrailingBits() const
    {
        return !rest.empty() && rest[0] == TrailingByte &&
               std::all_of(rest.begin() + 1, rest.end(), [](guint8 byte) { return byte == 0; });
    }

private:
    static bool ReadSum(Bytes& from, size_t& sum)
    {
        sum = 0;
        while (!from.empty() && from[0] == ContinuationByte) {
            sum += ContinuationByte;
            from = from.subspan(1);
        }
        if (from.empty())
            return false;
        sum += from[0];
        from = from.subspan(1);
        return true;
    }

    std::vector<guint8> body;
    Bytes rest;
};

Bytes BodyOf(const NalUnit& unit, const CodecRules& rules)
{
    return unit.bytes.subspan(std::min(unit.bytes.size(), unit.headerStart + rules.headerLength));
}

void AppendWithoutMessages(std::vector<guint8>& output, const NalUnit& unit, const CodecRules& rules)
{
    const Bytes body = BodyOf(unit, rules);
    CSeiWalk walk(body);
    std::vector<guint8> kept;
    bool isChanged = false;
    for (SeiMessage message; walk.Next(message);) {
        if (message.HasIdentifier())
            isChanged = true;
        else
            Append(kept, message.bytes);
    }
    if (!isChanged) {
        Append(output, unit.bytes);
        return;
    }
    if (kept.empty() && walk.HasOnlyTrailingBits())
        return;
    Append(output, unit.bytes.first(unit.bytes.size() - body.size()));
    Append(kept, walk.Rest());
    AppendWithEmulationPrevention(output, kept);
}

}  // namespace

std::vector<Payload> ReadMessages(const CAccessUnitHead& head)
{
    std::vector<Payload> payloads;
    for (const NalUnit& unit : head.LeadingUnits()) {
        if (unit.type != head.Rules().seiType)
            continue;
        CSeiWalk walk(BodyOf(unit, head.Rules()));
        for (SeiMessage message; walk.Next(message);) {
            if (message.HasIdentifier())
                payloads.emplace_back(message.payload.begin() + UserDataIdentifier.size(),
                                      message.payload.end());
        }
    }
    return payloads;
}

std::vector<guint8> WithoutMessages(const CAccessUnitHead& head)
{
    std::vector<guint8> output;
    output.reserve(head.All().size());
    const guint8* next = head.All().data();
    const auto appendUpTo = [&](const guint8* end) {
        output.insert(output.end(), next, end);
        next = end;
    };
    for (const NalUnit& unit : head.LeadingUnits()) {
        if (unit.type != head.Rules().seiType)
            continue;
        appendUpTo(unit.bytes.data());
        AppendWithoutMessages(output, unit, head.Rules());
        next = unit.bytes.data() + unit.bytes.size();
    }
    appendUpTo(head.All().data() + head.All().size());
    return output;
}

}  // namespace gstvp
