#pragma once

namespace videoparams {

// The two searches that the speed of the library rests on. Both return the address of the first match that
// lies wholly in [begin, end), or `end`. No byte outside is read.

const unsigned char* FindStartCodePrefix(const unsigned char* begin, const unsigned char* end);  // 00 00 01
const unsigned char* FindZeroPair(const unsigned char* begin, const unsigned char* end);         // 00 00

// The first one, copying what it passes over: the bytes in front of the match go to `destination`. There is
// room for all of [begin, end), and what lies behind the match may be written as well.
const unsigned char* CopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                           unsigned char* destination);

}  // namespace videoparams
