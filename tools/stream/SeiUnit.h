// SEI units, message by message, and their editing. Every byte that is not part of a removed message stays as
// it is.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/NalUnit.h"

#include <functional>
#include <span>
#include <vector>

namespace tool {

constexpr size_t IdentifierSize = 16;

struct SeiMessageView
{
    uint64_t payloadType = 0;
    std::span<const unsigned char> payload;

    // user_data_unregistered()
    bool IsUserData() const { return payloadType == 5; }

    // Of a user-data message: uuid_iso_iec_11578, and the bytes after it. A payload that is too short has no
    // identifier.
    std::span<const unsigned char> Identifier() const;
    std::span<const unsigned char> UserData() const;

    // With the identifier that AddUserData writes.
    bool IsOfLibrary() const;
};

// An SEI unit, prefix or suffix, of any layer.
class CSeiUnit
{
public:
    explicit CSeiUnit(const NalUnit& unit);

    size_t MessageCount() const { return messages.size(); }
    SeiMessageView Message(size_t index) const;
    bool Has(uint64_t payloadType) const;

    // AddUserData may put a message into it, and Without gives the same bytes back afterwards.
    bool TakesMessage() const;

    // Copies the unit without the messages that `isRemoved` selects. Empty if no message is left.
    std::vector<unsigned char> Without(const std::function<bool(const SeiMessageView&)>& isRemoved) const;

private:
    struct Place
    {
        uint64_t payloadType;
        size_t begin;  // of the message, in the RBSP
        size_t payload;
        size_t end;
    };

    bool IsComplete() const;

    const NalUnit& unit;
    uint32_t trailingZeros;
    std::vector<unsigned char> rbsp;  // with the unit header
    std::vector<Place> messages;
};

// Zeros at the end of a unit that belong to the byte stream (trailing_zero_8bits), not to the unit.
uint32_t TrailingZeros(const NalUnit& unit);

}  // namespace tool
