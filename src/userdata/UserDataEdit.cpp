// Insertion, extraction and removal of user-data messages, for both codecs.

#include "memory/HeapBuffer.h"
#include "parser/ParserBase.h"
#include "userdata/SeiMessage.h"

#include <cstring>
#include <functional>

namespace videoparams {

namespace {

// What a unit of the library's own takes beside its messages.
uint32_t SeiUnitOverhead(const NalRules& rules)
{
    return static_cast<uint32_t>(sizeof LongStartCode) + rules.headerLength + 1;
}

void AppendSeiUnit(ByteSink& output, const NalRules& rules, const unsigned char* messages, uint32_t length)
{
    output.Append(LongStartCode, sizeof LongStartCode);
    output.Append(rules.seiHeader, rules.headerLength);
    output.Append(messages, length);
    output.Append(TrailingByte);
}

// The place of the last 80 behind the unit's header, or null.
const unsigned char* FindTrailingByte(const NalRules& rules, const unsigned char* unit, uint32_t unitSize)
{
    const uint32_t bodyOffset = StartCodeLength(unit) + rules.headerLength;
    for (uint32_t i = unitSize; i > bodyOffset; --i) {
        if (unit[i - 1] == TrailingByte)
            return unit + i - 1;
    }
    return nullptr;
}

bool LiesIn(const unsigned char* bytes, const unsigned char* block, uint32_t size)
{
    return bytes != nullptr && !std::less<>{}(bytes, block) && std::less<>{}(bytes, block + size);
}

}  // namespace

// The message goes into the first SEI unit, or into one of its own in front of the first slice.
Result CParserBase::InsertUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                                   const unsigned char* data, uint32_t dataLength,
                                   const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr || (data == nullptr && dataLength != 0) ||
        LiesIn(stream, userDataOutput, userDataOutputSize))
        return ResultFailed;
    if (ArrangeUserData(data, dataLength) != ResultOk)
        return ResultFailed;
    SetData(stream, streamLength);
    const uint64_t needed = uint64_t{scanRemaining} + userDataLength + SeiUnitOverhead(rules);
    if (!MakeRoom(userDataOutput, userDataOutputSize, needed, userDataOutputSize + needed)) {
        EndScan();
        return ResultFailed;
    }
    uint32_t editedLength = 0;
    ByteSink edited{userDataOutput, userDataOutputSize, editedLength};
    bool placed = false;
    const Result result = CopyWithMessage(rules, edited, placed);
    EndScan();
    if (result != ResultOk)
        return ResultFailed;
    *output = userDataOutput;
    *outputLength = editedLength;
    return placed ? ResultOk : ResultFailed;
}

// Fails at an SEI unit without a trailing byte.
Result CParserBase::CopyWithMessage(const NalRules& rules, ByteSink& edited, bool& placed)
{
    while (true) {
        BeginNextUnit(rules);  // a stream without units shows in `placed`
        if (openUnit.data == nullptr)
            return ResultOk;
        if (openUnit.header.nal_unit_type == rules.seiType) {
            EndUnit();
            const unsigned char* const trailingByte = FindTrailingByte(rules, openUnit.data, openUnit.size);
            if (trailingByte == nullptr)
                return ResultFailed;
            if (placed)
                userDataLength = 0;  // no later SEI unit gets the message again
            edited.Append(openUnit.data, static_cast<uint32_t>(trailingByte - openUnit.data));
            edited.Append(userDataBuffer, userDataLength);
            edited.Append(TrailingByte);
            placed = true;
            continue;
        }
        if (!placed && rules.TraitsOf(openUnit.header.nal_unit_type).takesSeiBefore) {
            AppendSeiUnit(edited, rules, userDataBuffer, userDataLength);
            placed = true;
        }
        if (!EndUnitInto(edited.data + edited.length, edited.size - edited.length))
            return ResultFailed;  // cannot be: there is room for all of the stream
        edited.length += openUnit.size;
    }
}

Result CParserBase::ExtractUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                                    const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr)
        return ResultFailed;
    *output = nullptr;
    *outputLength = 0;
    SetData(stream, streamLength);
    bool found = false;
    const Result result = CopyLastMessage(rules, found);
    EndScan();
    if (result == ResultOk && found) {
        *output = userDataOutput;
        *outputLength = userDataOutputLength;
    }
    return result;
}

// Every message is copied over the one before. The stream may be the result of an insertion, which lies in
// the same block: the bytes of a message never reach beyond the unit that carried them.
Result CParserBase::CopyLastMessage(const NalRules& rules, bool& found)
{
    while (true) {
        const Result result = BeginNextUnit(rules);
        if (openUnit.data == nullptr)
            return result;
        if (openUnit.header.nal_unit_type != rules.seiType)
            continue;
        if (OpenWhole(rules) != ResultOk)
            return ResultFailed;
        CSeiMessageWalk messages(openUnit.rbsp, openUnit.rbspSize, rules.headerLength);
        for (SeiMessage message; messages.Next(message);) {
            if (!message.HasIdentifier())
                continue;
            const uint32_t length = message.payloadSize - UserDataIdentifierLength;
            if (!MakeRoom(userDataOutput, userDataOutputSize, length, length))
                return ResultFailed;
            userDataOutputLength = 0;
            ByteSink{userDataOutput, userDataOutputSize, userDataOutputLength}.Append(
                message.payload + UserDataIdentifierLength, length);
            found = true;
        }
    }
}

Result CParserBase::StripUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                                  const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr || LiesIn(stream, removeOutput, removeOutputSize))
        return ResultFailed;
    *output = nullptr;
    *outputLength = 0;
    SetData(stream, streamLength);
    removeOutputLength = 0;
    bool copied = true;
    const Result result = CopyWithoutMessages(rules, copied);
    EndScan();
    if (copied) {
        *output = removeOutput;
        *outputLength = removeOutputLength;
    }
    return result;
}

// `copied` becomes false when memory runs out.
Result CParserBase::CopyWithoutMessages(const NalRules& rules, bool& copied)
{
    while (true) {
        const Result result = BeginNextUnit(rules);
        if (openUnit.data == nullptr)
            return result;
        if (openUnit.header.nal_unit_type == NoType)
            continue;
        copied = openUnit.header.nal_unit_type == rules.seiType ? RebuildSeiUnit(rules) : CopyUnit();
        if (!copied)
            return ResultFailed;
    }
}

bool CParserBase::MakeRoomInRemoveOutput(uint64_t length)
{
    const uint64_t needed = removeOutputLength + length;
    return MakeRoom(removeOutput, removeOutputSize, needed, 2 * needed);
}

bool CParserBase::CopyUnit()
{
    if (EndUnitInto(removeOutput + removeOutputLength, removeOutputSize - removeOutputLength)) {
        removeOutputLength += openUnit.size;
        return true;
    }
    if (!MakeRoomInRemoveOutput(openUnit.size))
        return false;
    ByteSink{removeOutput, removeOutputSize, removeOutputLength}.Append(openUnit.data, openUnit.size);
    return true;
}

// Writes the messages that stay into a unit of the library's own form; none stay, no unit.
bool CParserBase::RebuildSeiUnit(const NalRules& rules)
{
    if (OpenWhole(rules) != ResultOk || !KeepOtherMessages(rules))
        return false;
    if (removeLength == 0)
        return true;
    const uint64_t escapedSize = 2 * uint64_t{removeLength};
    if (!MakeRoom(removeSeiBuffer, removeSeiBufferSize, escapedSize, escapedSize))
        return false;
    removeSeiLength = 0;
    AddEscape(removeBuffer, removeLength, removeSeiBuffer, &removeSeiLength);

    if (!MakeRoomInRemoveOutput(uint64_t{removeSeiLength} + SeiUnitOverhead(rules)))
        return false;
    ByteSink output{removeOutput, removeOutputSize, removeOutputLength};
    AppendSeiUnit(output, rules, removeSeiBuffer, removeSeiLength);
    return true;
}

bool CParserBase::KeepOtherMessages(const NalRules& rules)
{
    removeLength = 0;
    ByteSink kept{removeBuffer, removeBufferSize, removeLength};
    CSeiMessageWalk messages(openUnit.rbsp, openUnit.rbspSize, rules.headerLength);
    for (SeiMessage message; messages.Next(message);) {
        if (message.IsUserData())
            continue;
        const uint64_t needed = uint64_t{removeLength} + message.length;
        uint64_t doubled = removeBufferSize;
        while (doubled < needed)
            doubled *= 2;
        if (!MakeRoom(removeBuffer, removeBufferSize, needed, doubled))
            return false;
        kept.Append(message.data, message.length);
    }
    return true;
}

}  // namespace videoparams
