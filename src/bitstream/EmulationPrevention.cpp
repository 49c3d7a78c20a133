#include "bitstream/EmulationPrevention.h"

#include "bitstream/ByteScan/ByteScan.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace videoparams {

namespace {

constexpr unsigned char EmulationPreventionByte = 3;

void AppendRun(const unsigned char* begin, const unsigned char* end, unsigned char*& destination)
{
    if (begin == end)
        return;
    std::memcpy(destination, begin, static_cast<size_t>(end - begin));
    destination += end - begin;
}

// Zeros often come in runs: the first bytes are compared here, since a search for each pair would cost more.
const unsigned char* NextZeroPair(const unsigned char* begin, const unsigned char* end)
{
    constexpr ptrdiff_t Near = 4;
    const unsigned char* at = begin;
    for (; end - at >= 2 && at - begin < Near; ++at) {
        if (at[0] == 0 && at[1] == 0)
            return at;
    }
    return FindZeroPair(at, end);
}

// The position after the next two zeros that a byte of 3 or less follows, or `end`.
const unsigned char* NextEscape(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* pair = NextZeroPair(begin, end);
    while (end - pair > 2) {
        if (pair[2] <= EmulationPreventionByte)
            return pair + 2;
        pair = NextZeroPair(pair + 3, end);  // a byte above 3 begins no pair
    }
    return end;
}

}  // namespace

uint32_t RemoveEmulationPrevention(const unsigned char* source, uint32_t size, uint32_t limit,
                                   unsigned char* destination)
{
    const unsigned char* const end = source + size;
    const unsigned char* const wantedEnd = source + std::min(size, limit);
    unsigned char* const begin = destination;
    const unsigned char* run = source;
    const unsigned char* pair = NextZeroPair(source, wantedEnd);
    while (wantedEnd - pair > 2) {
        if (pair[2] == EmulationPreventionByte && end - pair > 3) {
            AppendRun(run, pair + 2, destination);
            run = pair + 3;
        }
        pair = NextZeroPair(pair + (pair[2] == 0 ? 1 : 3), wantedEnd);
    }
    AppendRun(run, wantedEnd, destination);
    return static_cast<uint32_t>(destination - begin);
}

uint32_t AddEmulationPrevention(const unsigned char* source, uint32_t size, unsigned char* destination)
{
    const unsigned char* const end = source + size;
    unsigned char* const begin = destination;
    const unsigned char* run = source;
    while (run != end) {
        const unsigned char* const runEnd = NextEscape(run, end);
        AppendRun(run, runEnd, destination);
        if (runEnd != end)
            *destination++ = EmulationPreventionByte;
        run = runEnd;
    }
    return static_cast<uint32_t>(destination - begin);
}

uint32_t CountEmulationPrevention(const unsigned char* source, uint32_t size)
{
    const unsigned char* const end = source + size;
    uint32_t count = 0;
    for (const unsigned char* at = NextEscape(source, end); at != end; at = NextEscape(at, end))
        ++count;
    return count;
}

}  // namespace videoparams
