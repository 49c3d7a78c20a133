#pragma once

namespace videoparams {

// The two searches that the speed of the library rests on. Both return the address of the first match that
// is completely in [begin, end), or `end`. No byte outside is read.

const unsigned char* FindStartCodePrefix(const unsigned char* begin, const unsigned char* end);  // 00 00 01
const unsigned char* FindZeroPair(const unsigned char* begin, const unsigned char* end);         // 00 00

// Like FindStartCodePrefix, but copies: the bytes before the match go to `destination`. It has room for all
// of [begin, end), and bytes after the match may be written, too.
const unsigned char* CopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                           unsigned char* destination);

}  // namespace videoparams
