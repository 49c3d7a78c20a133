// Text as the characters that a reader sees.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The length of the UTF-8 sequence at the start of `text`, or 0 if there is none.
size_t SequenceLength(std::string_view text);

// The characters of UTF-8 text. A byte that is not UTF-8 becomes U+FFFD, a control character a question mark.
std::vector<std::string> CharactersOf(std::string_view text);

// At most `columns` wide: the middle becomes an ellipsis, because names often differ at their ends. East
// Asian characters count as two columns.
std::string Shorten(std::string_view text, size_t columns);

}  // namespace tool
