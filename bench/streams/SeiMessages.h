#pragma once

#include "streams/Bytes.h"

namespace videoparams::streams {

// The uuid_iso_iec_11578 of the library's messages.
inline const Bytes userDataIdentifier = {0x99, 0xAE, 0xD3, 0x1B, 0xB8, 0x94, 0x4B, 0x97,
                                         0xAD, 0x39, 0xFB, 0x4E, 0xD5, 0x90, 0x2B, 0xA1};

// A type or size of an SEI message.
inline Bytes SeiSum(uint64_t value)
{
    return Bytes(static_cast<size_t>(value / 255), 0xFF) + Bytes{static_cast<unsigned char>(value % 255)};
}

// sei_message()
inline Bytes SeiMessage(uint64_t payloadType, const Bytes& payload)
{
    return SeiSum(payloadType) + SeiSum(payload.size()) + payload;
}

inline Bytes UserDataMessage(const Bytes& userData)
{
    return SeiMessage(5, userDataIdentifier + userData);
}

}  // namespace videoparams::streams
