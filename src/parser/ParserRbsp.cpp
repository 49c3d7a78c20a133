// Emulation prevention: a 03 behind 00 00 is not part of the payload (H.264 7.4.1, H.265 7.4.2).

#include "bitstream/ByteScan/ByteScan.h"
#include "memory/HeapBuffer.h"
#include "parser/ParserBase.h"

#include <algorithm>
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

// Where there are zeros at all they often come in crowds: the first bytes are looked at here, since a search
// for each pair would cost more than the bytes.
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

// The place behind the next two zeros that a byte of 3 or less follows, or `end`.
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

Result CParserBase::GetRbspData(const unsigned char* source, uint32_t size, const unsigned char** output,
                                uint32_t* outputSize)
{
    return GetRbspHead(source, size, size, output, outputSize);
}

// The RBSP of the first `limit` bytes of a source, converted as they are in the whole of it.
Result CParserBase::GetRbspHead(const unsigned char* source, uint32_t size, uint32_t limit,
                                const unsigned char** output, uint32_t* outputSize)
{
    *output = nullptr;
    *outputSize = 0;
    const uint32_t wanted = std::min(size, limit);
    if (!ReplaceBuffer(rbspBuffer, rbspBufferSize, wanted))
        return ResultFailed;

    const unsigned char* const wantedEnd = source + wanted;
    const unsigned char* const end = source + size;
    unsigned char* destination = rbspBuffer;
    const unsigned char* run = source;
    const unsigned char* pair = NextZeroPair(source, wantedEnd);
    while (wantedEnd - pair > 2) {
        // A 00 00 03 at the very end of the unit is payload.
        if (pair[2] == EmulationPreventionByte && end - pair > 3) {
            AppendRun(run, pair + 2, destination);
            run = pair + 3;
        }
        pair = NextZeroPair(pair + (pair[2] == 0 ? 1 : 3), wantedEnd);
    }
    AppendRun(run, wantedEnd, destination);
    *output = rbspBuffer;
    *outputSize = static_cast<uint32_t>(destination - rbspBuffer);
    return ResultOk;
}

// Adds to `length`. The destination has room for half as much again as the source.
Result CParserBase::AddEscape(const unsigned char* source, uint32_t size, unsigned char* destination,
                              uint32_t* length)
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
    *length += static_cast<uint32_t>(destination - begin);
    return ResultOk;
}

// How many bytes AddEscape would insert.
uint32_t CParserBase::CountEscapes(const unsigned char* source, uint32_t size)
{
    const unsigned char* const end = source + size;
    uint32_t count = 0;
    for (const unsigned char* at = NextEscape(source, end); at != end; at = NextEscape(at, end))
        ++count;
    return count;
}

}  // namespace videoparams
