// The buffers of a user-data handle, and the message:
//     05   FF … FF nn   uuid_iso_iec_11578 (16 bytes)   the host's bytes, emulation prevention applied
// Its size counts the host's bytes before emulation prevention, as the standards count RBSP bytes.

#include "memory/HeapBuffer.h"
#include "parser/ParserBase.h"
#include "userdata/SeiMessage.h"

namespace videoparams {

const CParserBase::OwnedBlock CParserBase::userDataBlocks[6] = {
    {&CParserBase::rbspBuffer, &CParserBase::rbspBufferSize},
    {&CParserBase::userDataBuffer, &CParserBase::userDataBufferSize},
    {&CParserBase::userDataOutput, &CParserBase::userDataOutputSize},
    {&CParserBase::removeBuffer, &CParserBase::removeBufferSize},
    {&CParserBase::removeSeiBuffer, &CParserBase::removeSeiBufferSize},
    {&CParserBase::removeOutput, &CParserBase::removeOutputSize},
};

Result CParserBase::UserDataCreate()
{
    for (const OwnedBlock& block : userDataBlocks) {
        if (!AllocateBuffer(this->*block.data, this->*block.size))
            return ResultFailed;  // UserDataRelease frees what stands already
    }
    return ResultOk;
}

Result CParserBase::UserDataRelease()
{
    for (const OwnedBlock& block : userDataBlocks)
        FreeBuffer(this->*block.data);
    return ResultOk;
}

Result CParserBase::ArrangeUserData(const unsigned char* data, uint32_t length)
{
    constexpr uint32_t TypeLength = 1;
    const uint64_t payloadSize = uint64_t{length} + UserDataIdentifierLength;
    const auto continuationCount = static_cast<uint32_t>(payloadSize / 255);
    const uint64_t headLength = uint64_t{TypeLength} + continuationCount + 1 + UserDataIdentifierLength;

    uint64_t doubled = userDataBufferSize;
    while (doubled < headLength)
        doubled *= 2;
    const uint64_t needed = 2 * uint64_t{length};  // more than emulation prevention can make of it
    const uint64_t newSize = doubled - headLength < needed ? doubled + needed : doubled;
    if (!MakeRoom(userDataBuffer, userDataBufferSize, newSize, newSize))
        return ResultFailed;

    userDataLength = 0;
    ByteSink message{userDataBuffer, userDataBufferSize, userDataLength};
    message.Append(UserDataUnregistered);
    for (uint32_t i = 0; i < continuationCount; ++i)
        message.Append(0xFF);
    message.Append(static_cast<unsigned char>(payloadSize % 255));
    message.Append(userDataIdentifier, UserDataIdentifierLength);
    return AddEscape(data, length, userDataBuffer + userDataLength, &userDataLength);
}

}  // namespace videoparams
