#include "userdata/SeiMessage.h"

#include <algorithm>
#include <cstring>

namespace videoparams {

namespace {

constexpr unsigned char ContinuationByte = 0xFF;

// Zeros after the final 80 belong to the byte stream (trailing_zero_8bits), not to the RBSP.
const unsigned char* WithoutTrailingZeros(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* last = end;
    while (last != begin && last[-1] == 0)
        --last;
    return last != begin && last[-1] == TrailingByte ? last : end;
}

}  // namespace

const unsigned char userDataIdentifier[UserDataIdentifierLength] = {
    0x99, 0xAE, 0xD3, 0x1B, 0xB8, 0x94, 0x4B, 0x97, 0xAD, 0x39, 0xFB, 0x4E, 0xD5, 0x90, 0x2B, 0xA1,
};

bool SeiMessage::HasIdentifier() const
{
    return IsUserData() && payloadSize >= UserDataIdentifierLength &&
           std::memcmp(payload, userDataIdentifier, UserDataIdentifierLength) == 0;
}

CSeiMessageWalk::CSeiMessageWalk(const unsigned char* rbsp, uint32_t rbspSize, uint32_t headerLength)
    : position(rbsp + std::min(rbspSize, headerLength)), end(WithoutTrailingZeros(position, rbsp + rbspSize))
{}

bool CSeiMessageWalk::Next(SeiMessage& message)
{
    if (end - position < 2)  // the trailing byte at most
        return false;
    message.data = position;
    uint64_t payloadSize = 0;
    if (!ReadSum(message.payloadType) || !ReadSum(payloadSize) ||
        payloadSize > static_cast<uint64_t>(end - position))
        return false;
    message.payload = position;
    message.payloadSize = static_cast<uint32_t>(payloadSize);
    position += message.payloadSize;
    message.length = static_cast<uint32_t>(position - message.data);
    return true;
}

// ff_byte, as many as there are, and the last byte of a type or size.
bool CSeiMessageWalk::ReadSum(uint64_t& sum)
{
    sum = 0;
    while (position != end && *position == ContinuationByte) {
        sum += ContinuationByte;
        ++position;
    }
    if (position == end)
        return false;
    sum += *position++;
    return true;
}

}  // namespace videoparams
