#pragma once

#include <cstdint>

namespace videoparams {

constexpr unsigned char TrailingByte = 0x80;  // rbsp_trailing_bits() of an SEI unit

constexpr uint32_t UserDataUnregistered = 5;  // payloadType
constexpr uint32_t UserDataIdentifierLength = 16;
extern const unsigned char userDataIdentifier[UserDataIdentifierLength];

// One sei_message() of an RBSP, H.264 7.3.2.3.1 and H.265 7.3.5.
struct SeiMessage
{
    const unsigned char* data = nullptr;  // its first type byte
    uint32_t length = 0;                  // type, size and payload
    uint64_t payloadType = 0;
    const unsigned char* payload = nullptr;
    uint32_t payloadSize = 0;

    bool IsUserData() const { return payloadType == UserDataUnregistered; }
    bool HasIdentifier() const;  // a user-data message of this library
};

// Takes the messages of an SEI RBSP one by one. A message that runs off the end ends the walk.
class CSeiMessageWalk
{
public:
    // `rbsp` begins with a unit header of `headerLength` bytes.
    CSeiMessageWalk(const unsigned char* rbsp, uint32_t rbspSize, uint32_t headerLength);

    bool Next(SeiMessage& message);

private:
    bool ReadSum(uint64_t& sum);

    const unsigned char* position;
    const unsigned char* end;
};

}  // namespace videoparams
