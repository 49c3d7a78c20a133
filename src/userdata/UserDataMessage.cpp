#include "userdata/UserDataMessage.h"

#include "bitstream/EmulationPrevention.h"
#include "userdata/SeiMessage.h"

namespace videoparams {

Result WriteUserDataMessage(Buffer& message, const unsigned char* data, uint32_t length)
{
    constexpr uint32_t TypeLength = 1;
    const uint64_t payloadSize = uint64_t{length} + UserDataIdentifierLength;
    const auto continuationCount = static_cast<uint32_t>(payloadSize / 255);
    const uint64_t headLength = uint64_t{TypeLength} + continuationCount + 1 + UserDataIdentifierLength;

    uint64_t doubled = message.size;
    while (doubled < headLength)
        doubled *= 2;
    const uint64_t needed = 2 * uint64_t{length};  // more than emulation prevention can make of it
    const uint64_t newSize = doubled - headLength < needed ? doubled + needed : doubled;
    if (!message.MakeRoom(newSize, newSize))
        return ResultFailed;

    message.length = 0;
    message.Append(UserDataUnregistered);
    for (uint32_t i = 0; i < continuationCount; ++i)
        message.Append(0xFF);
    message.Append(static_cast<unsigned char>(payloadSize % 255));
    message.Append(userDataIdentifier, UserDataIdentifierLength);
    message.length += AddEmulationPrevention(data, length, message.End());
    return ResultOk;
}

}  // namespace videoparams
