// The user-data message:
//     05   FF … FF nn   uuid_iso_iec_11578 (16 bytes)   the caller's bytes, with emulation prevention
// Its size counts the caller's bytes without emulation prevention, as the standards count RBSP bytes.

#pragma once

#include "memory/Buffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// Replaces the buffer's contents by the message for `length` bytes.
[[nodiscard]] Result WriteUserDataMessage(Buffer& message, const unsigned char* data, uint32_t length);

}  // namespace videoparams
