// The library's messages in the SEI units of an access unit.
//
// GetUserData returns the last message of an access unit and RemoveUserData takes out every message of
// payloadType 5, the encoder's own included. A pipeline needs all messages of a picture, and must leave the
// other ones: decoders choose workarounds by the encoder's message. So the SEI units are walked here
// (sei_message(), ITU-T H.264 7.3.2.3.1 and H.265 7.3.5):
//
//     FF … FF tt   FF … FF nn   payload of nn bytes    payloadType 5: 16 bytes of identifier come first
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AccessUnitHead.h"

#include <array>
#include <vector>

namespace gstvp {

// The user's bytes in a message, without the identifier.
using Payload = std::vector<guint8>;

// uuid_iso_iec_11578 of the messages that AddUserData writes
extern const std::array<guint8, 16> UserDataIdentifier;

// All messages of the picture with the library's identifier, in order.
std::vector<Payload> ReadMessages(const CAccessUnitHead& head);

// The head's bytes without these messages. Other messages, and units without such a message, stay as they
// are; a unit that had no other message goes.
std::vector<guint8> WithoutMessages(const CAccessUnitHead& head);

}  // namespace gstvp
