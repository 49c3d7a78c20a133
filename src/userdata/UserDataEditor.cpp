#include "userdata/UserDataEditor.h"

#include "bitstream/EmulationPrevention.h"
#include "bitstream/StartCode.h"
#include "userdata/SeiMessage.h"
#include "userdata/UserDataMessage.h"

#include <functional>

namespace videoparams {

namespace {

// The last 80 after the unit's header, or null.
const unsigned char* FindTrailingByte(const NalRules& rules, const NalUnit& unit)
{
    const uint32_t bodyOffset = StartCodeLength(unit.data) + rules.headerLength;
    for (uint32_t i = unit.size; i > bodyOffset; --i) {
        if (unit.data[i - 1] == TrailingByte)
            return unit.data + i - 1;
    }
    return nullptr;
}

bool IsIn(const unsigned char* bytes, const Buffer& block)
{
    return bytes != nullptr && !std::less<>{}(bytes, block.data) &&
           std::less<>{}(bytes, block.data + block.size);
}

}  // namespace

Result CUserDataEditor::Create()
{
    const bool isMade = message.Allocate(1024) && inserted.Allocate(3000000) && keptRbsp.Allocate(1024) &&
                        keptEscaped.Allocate(1024) && removed.Allocate(100000);
    return isMade ? ResultOk : ResultFailed;
}

// Bytes of an SEI unit of the library in addition to its messages.
uint32_t CUserDataEditor::SeiUnitOverhead() const
{
    return static_cast<uint32_t>(sizeof LongStartCode) + rules.headerLength + 1;
}

void CUserDataEditor::AppendSeiUnit(Buffer& output, const Buffer& messages) const
{
    output.Append(LongStartCode, sizeof LongStartCode);
    output.Append(rules.seiHeader, rules.headerLength);
    output.Append(messages.data, messages.length);
    output.Append(TrailingByte);
}

Result CUserDataEditor::Insert(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                               uint32_t dataLength, const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr || (data == nullptr && dataLength != 0) ||
        IsIn(stream, inserted))
        return ResultFailed;
    if (WriteUserDataMessage(message, data, dataLength) != ResultOk)
        return ResultFailed;
    const uint64_t scannedLength = stream != nullptr ? streamLength : 0;
    const uint64_t needed = scannedLength + message.length + SeiUnitOverhead();
    if (!inserted.MakeRoom(needed, inserted.size + needed))
        return ResultFailed;
    inserted.length = 0;
    scanner.SetData(stream, streamLength);
    const EditOutcome outcome = CopyWithMessage();
    scanner.EndScan();
    if (outcome == EditOutcome::Failed)
        return ResultFailed;
    *output = inserted.data;
    *outputLength = inserted.length;
    return outcome == EditOutcome::Placed ? ResultOk : ResultFailed;
}

// Fails at an SEI unit without a trailing byte.
CUserDataEditor::EditOutcome CUserDataEditor::CopyWithMessage()
{
    bool isPlaced = false;
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (outcome == ScanOutcome::End || outcome == ScanOutcome::NoStartCode)
            return isPlaced ? EditOutcome::Placed : EditOutcome::NoPlace;
        const uint32_t nal_unit_type = scanner.Unit().header.nal_unit_type;
        if (nal_unit_type == rules.seiType) {
            if (isPlaced)
                message.length = 0;  // no later SEI unit gets the message again
            if (!CopyWithMessageAtEnd())
                return EditOutcome::Failed;
            isPlaced = true;
            continue;
        }
        if (!isPlaced && rules.TraitsOf(nal_unit_type).takesSeiBefore) {
            AppendSeiUnit(inserted, message);
            isPlaced = true;
        }
        if (!scanner.EndUnitInto(inserted.End(), inserted.Room()))
            return EditOutcome::Failed;  // cannot happen: there is room for all of the stream
        inserted.length += scanner.Unit().size;
    }
}

// Copies an SEI unit with the message as its last. False: it has no trailing byte.
bool CUserDataEditor::CopyWithMessageAtEnd()
{
    scanner.EndUnit();
    const NalUnit& unit = scanner.Unit();
    const unsigned char* const trailingByte = FindTrailingByte(rules, unit);
    if (trailingByte == nullptr)
        return false;
    inserted.Append(unit.data, static_cast<uint32_t>(trailingByte - unit.data));
    inserted.Append(message.data, message.length);
    inserted.Append(TrailingByte);
    return true;
}

Result CUserDataEditor::Extract(const unsigned char* stream, uint32_t streamLength,
                                const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr)
        return ResultFailed;
    *output = nullptr;
    *outputLength = 0;
    scanner.SetData(stream, streamLength);
    bool isFound = false;
    const Result result = CopyLastMessage(isFound);
    scanner.EndScan();
    if (result == ResultOk && isFound) {
        *output = inserted.data;
        *outputLength = inserted.length;
    }
    return result;
}

Result CUserDataEditor::CopyLastMessage(bool& isFound)
{
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (outcome == ScanOutcome::End || outcome == ScanOutcome::NoStartCode)
            return ResultOf(outcome);
        if (scanner.Unit().header.nal_unit_type != rules.seiType)
            continue;
        Rbsp rbsp;
        if (!scanner.OpenWhole(rbsp) || !CopyMessagesOf(rbsp, isFound))
            return ResultFailed;
    }
}

// Every message is copied over the previous one. The stream may be the result of an insertion, which is in
// the same block: the bytes of a message never reach beyond the unit that carried them.
bool CUserDataEditor::CopyMessagesOf(const Rbsp& rbsp, bool& isFound)
{
    CSeiMessageWalk messages(rbsp.data, rbsp.size, rules.headerLength);
    for (SeiMessage found; messages.Next(found);) {
        if (!found.HasIdentifier())
            continue;
        const uint32_t length = found.payloadSize - UserDataIdentifierLength;
        if (!inserted.MakeRoom(length, length))
            return false;
        inserted.length = 0;
        inserted.Append(found.payload + UserDataIdentifierLength, length);
        isFound = true;
    }
    return true;
}

Result CUserDataEditor::Remove(const unsigned char* stream, uint32_t streamLength,
                               const unsigned char** output, uint32_t* outputLength)
{
    if (output == nullptr || outputLength == nullptr || IsIn(stream, removed))
        return ResultFailed;
    *output = nullptr;
    *outputLength = 0;
    removed.length = 0;
    scanner.SetData(stream, streamLength);
    const RemovalOutcome outcome = CopyWithoutMessages();
    scanner.EndScan();
    if (outcome == RemovalOutcome::OutOfMemory)
        return ResultFailed;
    *output = removed.data;
    *outputLength = removed.length;
    return outcome == RemovalOutcome::Copied ? ResultOk : ResultFailed;
}

CUserDataEditor::RemovalOutcome CUserDataEditor::CopyWithoutMessages()
{
    while (true) {
        switch (scanner.NextUnit()) {
        case ScanOutcome::Unit:
            break;
        case ScanOutcome::BareStartCode:
            continue;
        case ScanOutcome::End:
            return RemovalOutcome::Copied;
        case ScanOutcome::NoStartCode:
            return RemovalOutcome::NoStartCode;
        }
        const bool isSei = scanner.Unit().header.nal_unit_type == rules.seiType;
        if (!(isSei ? RebuildSeiUnit() : CopyUnit()))
            return RemovalOutcome::OutOfMemory;
    }
}

bool CUserDataEditor::MakeRoomInRemoved(uint64_t length)
{
    const uint64_t needed = removed.length + length;
    return removed.MakeRoom(needed, 2 * needed);
}

bool CUserDataEditor::CopyUnit()
{
    if (scanner.EndUnitInto(removed.End(), removed.Room())) {
        removed.length += scanner.Unit().size;
        return true;
    }
    if (!MakeRoomInRemoved(scanner.Unit().size))
        return false;
    removed.Append(scanner.Unit().data, scanner.Unit().size);
    return true;
}

// Writes the messages that stay into a unit of the library's own form. If none stay, there is no unit.
bool CUserDataEditor::RebuildSeiUnit()
{
    Rbsp rbsp;
    if (!scanner.OpenWhole(rbsp) || !KeepOtherMessages(rbsp))
        return false;
    if (keptRbsp.length == 0)
        return true;
    const uint64_t escapedSize = 2 * uint64_t{keptRbsp.length};
    if (!keptEscaped.MakeRoom(escapedSize, escapedSize))
        return false;
    keptEscaped.length = AddEmulationPrevention(keptRbsp.data, keptRbsp.length, keptEscaped.data);

    if (!MakeRoomInRemoved(uint64_t{keptEscaped.length} + SeiUnitOverhead()))
        return false;
    AppendSeiUnit(removed, keptEscaped);
    return true;
}

bool CUserDataEditor::KeepOtherMessages(const Rbsp& rbsp)
{
    keptRbsp.length = 0;
    CSeiMessageWalk messages(rbsp.data, rbsp.size, rules.headerLength);
    for (SeiMessage found; messages.Next(found);) {
        if (found.IsUserData())
            continue;
        const uint64_t needed = uint64_t{keptRbsp.length} + found.length;
        uint64_t doubled = keptRbsp.size;
        while (doubled < needed)
            doubled *= 2;
        if (!keptRbsp.MakeRoom(needed, doubled))
            return false;
        keptRbsp.Append(found.data, found.length);
    }
    return true;
}

}  // namespace videoparams
