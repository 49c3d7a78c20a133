#pragma once

#include "bitstream/NalScanner.h"
#include "memory/Buffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// Puts user-data messages into a stream, finds them and removes them. Results belong to the editor.
class CUserDataEditor
{
public:
    explicit CUserDataEditor(CNalScanner& unitScanner) noexcept
        : scanner(unitScanner), rules(unitScanner.Rules())
    {}

    [[nodiscard]] Result Create();

    // The message goes into the first SEI unit, or into an SEI unit of its own before the first slice.
    Result Insert(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                  uint32_t dataLength, const unsigned char** output, uint32_t* outputLength);

    // The caller's bytes of the last message.
    Result Extract(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                   uint32_t* outputLength);

    // All user-data messages are removed, with or without the library's identifier.
    Result Remove(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                  uint32_t* outputLength);

private:
    enum class EditOutcome
    {
        Placed,
        NoPlace,
        Failed,
    };

    enum class RemovalOutcome
    {
        Copied,
        NoStartCode,  // an empty copy
        OutOfMemory,
    };

    EditOutcome CopyWithMessage();
    [[nodiscard]] bool CopyWithMessageAtEnd();
    [[nodiscard]] Result CopyLastMessage(bool& isFound);
    [[nodiscard]] bool CopyMessagesOf(const Rbsp& rbsp, bool& isFound);
    RemovalOutcome CopyWithoutMessages();
    [[nodiscard]] bool CopyUnit();
    [[nodiscard]] bool RebuildSeiUnit();
    [[nodiscard]] bool KeepOtherMessages(const Rbsp& rbsp);
    [[nodiscard]] bool MakeRoomInRemoved(uint64_t length);

    uint32_t SeiUnitOverhead() const;
    void AppendSeiUnit(Buffer& output, const Buffer& messages) const;

    CNalScanner& scanner;
    const NalRules& rules;

    Buffer message;      // the message to insert
    Buffer inserted;     // the result of insertion or extraction
    Buffer keptRbsp;     // removal: the messages of one SEI unit that stay
    Buffer keptEscaped;  // the same with emulation prevention
    Buffer removed;      // the result of removal
};

}  // namespace videoparams
