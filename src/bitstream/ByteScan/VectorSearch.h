// The search of all vector kernels. A file that includes this defines VECTOR_TARGET first, the attribute of
// its instruction set, and then a Vector, which wraps a register:
//     Block, Width                     its type, and its bytes
//     Load, Store, Or, Min             of unsigned bytes; addresses need not be aligned
//     Equal, MaskBitsPerByte           a mask of the bytes that equal a value, the first byte in the lowest
//     bits
//
// All of it belongs to the including file alone: what was compiled for one instruction set must not stand in
// for the same of another.

#pragma once

#include "bitstream/ByteScan/Kernels.h"

#include <algorithm>
#include <cstdint>

namespace videoparams {

namespace {

// What a search does in a block of `Width` bytes at `at`, and with the bytes of it.
template <class Vector, ptrdiff_t MatchLength, bool Copying>
class CSearch
{
public:
    static constexpr ptrdiff_t Width = Vector::Width;
    static constexpr ptrdiff_t GroupWidth = 4 * Width;
    static constexpr ptrdiff_t Overlap = MatchLength - 1;  // bytes of a match beyond its first

    // A group of four blocks is tested for any zero pair. If there is one, its blocks are tested one by one,
    // and so are the next groups as long as they have pairs. Takes at least a block and the overlap. Loads
    // are aligned, or stores if there are some. The last group or block overlaps the previous one.
    VECTOR_TARGET static const unsigned char* Run(const unsigned char* begin, const unsigned char* end,
                                                  unsigned char* destination)
    {
        const uint64_t first = CopyAndMatch(begin, destination, 0).matches;
        if (first != 0)
            return begin + First(first);
        const ptrdiff_t last = end - begin - Width - Overlap;  // where the last block begins
        const auto address = reinterpret_cast<uintptr_t>(Copying ? destination : begin);
        const ptrdiff_t aligned = Width - static_cast<ptrdiff_t>(address % Width);
        const ptrdiff_t found = last + Width >= GroupWidth
                                    ? RunGroups(begin, destination, aligned, last + Width - GroupWidth)
                                    : RunBlocks(begin, destination, aligned, last);
        if (found != NotFound)
            return begin + found;
        if constexpr (Copying)
            Vector::Store(destination + last + Overlap, Vector::Load(begin + last + Overlap));
        return end;
    }

private:
    static constexpr ptrdiff_t NotFound = -1;

    struct BlockResult
    {
        uint64_t pairs;
        uint64_t matches;
    };

    VECTOR_TARGET static ptrdiff_t First(uint64_t matches)
    {
        return __builtin_ctzll(matches) / Vector::MaskBitsPerByte;
    }

    VECTOR_TARGET static ptrdiff_t RunGroups(const unsigned char* from, unsigned char* to, ptrdiff_t at,
                                             ptrdiff_t lastGroup)
    {
        while (true) {
            while (at < lastGroup && !CopyAndTestGroup(from, to, at))
                at += GroupWidth;
            if (at >= lastGroup) {
                at = lastGroup;
                if (!CopyAndTestGroup(from, to, at))
                    return NotFound;
            }
            for (uint64_t pairs = 1; pairs != 0; at = std::min(at + GroupWidth, lastGroup)) {
                pairs = 0;
                for (ptrdiff_t i = 0; i < GroupWidth; i += Width) {
                    const BlockResult block = CopyAndMatch(from, to, at + i);
                    if (block.matches != 0)
                        return at + i + First(block.matches);
                    pairs |= block.pairs;
                }
                if (at == lastGroup)
                    return NotFound;
            }
        }
    }

    // For what is shorter than a group.
    VECTOR_TARGET static ptrdiff_t RunBlocks(const unsigned char* from, unsigned char* to, ptrdiff_t at,
                                             ptrdiff_t last)
    {
        for (at = std::min(at, last);; at = std::min(at + Width, last)) {
            const uint64_t matches = CopyAndMatch(from, to, at).matches;
            if (matches != 0)
                return at + First(matches);
            if (at == last)
                return NotFound;
        }
    }

    // Where 00 00 begins, and where the match begins.
    VECTOR_TARGET static BlockResult CopyAndMatch(const unsigned char* from, unsigned char* to, ptrdiff_t at)
    {
        const uint64_t pairs = Vector::Equal(CopyAndPair(from, to, at), 0);
        if constexpr (MatchLength == 3)
            return {pairs, pairs & Vector::Equal(Vector::Load(from + at + 2), 1)};
        return {pairs, pairs};
    }

    // Whether two zero bytes begin anywhere in the group.
    VECTOR_TARGET static bool CopyAndTestGroup(const unsigned char* from, unsigned char* to, ptrdiff_t at)
    {
        const auto first = CopyAndPair(from, to, at);
        const auto second = CopyAndPair(from, to, at + Width);
        const auto third = CopyAndPair(from, to, at + 2 * Width);
        const auto fourth = CopyAndPair(from, to, at + 3 * Width);
        return Vector::Equal(Vector::Min(Vector::Min(first, second), Vector::Min(third, fourth)), 0) != 0;
    }

    // Zero where two zero bytes begin in the block. The store between the two loads keeps a compiler from
    // loading the block twice, and stores go in order.
    VECTOR_TARGET static typename Vector::Block CopyAndPair(const unsigned char* from, unsigned char* to,
                                                            ptrdiff_t at)
    {
        const typename Vector::Block block = Vector::Load(from + at);
        if constexpr (Copying)
            Vector::Store(to + at, block);
        return Vector::Or(block, Vector::Load(from + at + 1));
    }
};

// What is shorter than a block goes to another kernel.
template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Vector::Width + 2 ? Shorter.findStartCodePrefix(begin, end)
                                           : CSearch<Vector, 3, false>::Run(begin, end, nullptr);
}

template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Vector::Width + 1 ? Shorter.findZeroPair(begin, end)
                                           : CSearch<Vector, 2, false>::Run(begin, end, nullptr);
}

template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorCopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                                 unsigned char* destination)
{
    return end - begin < Vector::Width + 2 ? Shorter.copyToStartCodePrefix(begin, end, destination)
                                           : CSearch<Vector, 3, true>::Run(begin, end, destination);
}

}  // namespace

}  // namespace videoparams
