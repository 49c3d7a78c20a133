// The library's messages as metas of a buffer, where elements such as h264parse put those that they find.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "userdata/SeiMessages.h"

namespace gstvp {

// The payloads of the metas with the library's identifier.
std::vector<Payload> ReadMetas(GstBuffer* buffer);

// Needs a writable buffer. A meta cannot hold a message without bytes: such a message is left out.
void AttachMeta(GstBuffer* buffer, const Payload& payload);

// What is in `payloads` and not in `known`. What is twice in one and once in the other is returned once.
std::vector<Payload> Without(const std::vector<Payload>& payloads, const std::vector<Payload>& known);

}  // namespace gstvp
