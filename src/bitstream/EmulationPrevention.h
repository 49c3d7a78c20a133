// Emulation prevention: a 03 after 00 00 is not part of the payload (H.264 7.4.1, H.265 7.4.2).
//     RBSP   00 00 01      00 00 03      00 00
//     unit   00 00 03 01   00 00 03 03   00 00

#pragma once

#include <cstdint>

namespace videoparams {

// Removes it from the first `limit` bytes of a unit's `size` bytes, as they are converted in the whole unit:
// a 00 00 03 at the very end is payload. Returns the bytes written; there is room for as many as are read.
uint32_t RemoveEmulationPrevention(const unsigned char* source, uint32_t size, uint32_t limit,
                                   unsigned char* destination);

// Adds it. Returns the bytes written; there is room for half as many again as are read.
uint32_t AddEmulationPrevention(const unsigned char* source, uint32_t size, unsigned char* destination);

// How many bytes AddEmulationPrevention adds.
uint32_t CountEmulationPrevention(const unsigned char* source, uint32_t size);

}  // namespace videoparams
