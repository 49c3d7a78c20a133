// What the bytes of user data mean, as far as that is known.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/UserDataReport.h"

#include <optional>

namespace tool {

// "dc45e9bd-e6d9-48b7-962c-d820d923eeef"; empty without an identifier.
std::string IdentifierText(const std::vector<unsigned char>& identifier);

// The program that writes messages with this identifier, or "".
std::string WriterName(const std::vector<unsigned char>& identifier);

// "2026-11-23 06:15:00.123456789 UTC", if the bytes are a timestamp.
std::optional<std::string> TimestampText(const std::string& bytes);

// Without the zero that some programs put after a text.
std::string_view WithoutTerminator(const std::string& bytes);

// The bytes as UTF-8 with escapes, at most `most` characters of it; nothing if they are not text.
std::optional<std::string> EscapedText(const std::string& bytes, size_t most);

}  // namespace tool
