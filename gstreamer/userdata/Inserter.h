// Puts messages into the head of an access unit with the library's AddUserData.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/Handle.h"
#include "userdata/SeiMessages.h"

namespace gstvp {

class CInserter
{
public:
    // False: out of memory.
    [[nodiscard]] bool Begin(const CodecRules& rules);
    void End() { handle.Release(); }

    // The head with all messages in it, in order, after those that it has. False: the library found no place
    // for them, or out of memory.
    [[nodiscard]] bool Insert(const CAccessUnitHead& head, const std::vector<Payload>& messages,
                              std::vector<guint8>& edited);

private:
    CUserDataHandle handle;
    std::vector<guint8> input;  // of the next call: the library's result may not be its own input
};

}  // namespace gstvp
