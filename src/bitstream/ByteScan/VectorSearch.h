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
        const unsigned char* const last = end - Width - Overlap;
        const uint64_t first = CopyAndMatch(begin, destination).matches;
        if (first != 0)
            return Position(begin, first);
        const auto address = reinterpret_cast<uintptr_t>(Copying ? destination : begin);
        const unsigned char* at = begin + (Width - static_cast<ptrdiff_t>(address % Width));
        const unsigned char* const lastGroup = last + Width - GroupWidth;
        if (lastGroup >= begin) {
            const unsigned char* const found =
                RunGroups(begin, std::min(at, lastGroup), lastGroup, destination);
            if (found != nullptr)
                return found;
        } else {
            for (at = std::min(at, last);; at = std::min(at + Width, last)) {
                const uint64_t matches = CopyAndMatch(at, Destination(destination, at - begin)).matches;
                if (matches != 0)
                    return Position(at, matches);
                if (at == last)
                    break;
            }
        }
        if constexpr (Copying)
            Vector::Store(destination + (last - begin) + Overlap, Vector::Load(last + Overlap));
        return end;
    }

private:
    struct BlockResult
    {
        uint64_t pairs;
        uint64_t matches;
    };

    VECTOR_TARGET static const unsigned char* Position(const unsigned char* at, uint64_t matches)
    {
        return at + __builtin_ctzll(matches) / Vector::MaskBitsPerByte;
    }

    // Null: no match up to the end of the last group.
    VECTOR_TARGET static const unsigned char* RunGroups(const unsigned char* begin, const unsigned char* at,
                                                        const unsigned char* lastGroup,
                                                        unsigned char* destination)
    {
        while (true) {
            while (at < lastGroup && !CopyAndTestGroup(at, Destination(destination, at - begin)))
                at += GroupWidth;
            if (at >= lastGroup) {
                at = lastGroup;
                if (!CopyAndTestGroup(at, Destination(destination, at - begin)))
                    return nullptr;
            }
            for (uint64_t pairs = 1; pairs != 0; at = std::min(at + GroupWidth, lastGroup)) {
                pairs = 0;
                for (ptrdiff_t offset = 0; offset < GroupWidth; offset += Width) {
                    const BlockResult block =
                        CopyAndMatch(at + offset, Destination(destination, at + offset - begin));
                    if (block.matches != 0)
                        return Position(at + offset, block.matches);
                    pairs |= block.pairs;
                }
                if (at == lastGroup)
                    return nullptr;
            }
        }
    }

    // A search that does not copy has none.
    VECTOR_TARGET static unsigned char* Destination(unsigned char* destination, ptrdiff_t offset)
    {
        return Copying ? destination + offset : nullptr;
    }

    // Where 00 00 begins, and where the match begins.
    VECTOR_TARGET static BlockResult CopyAndMatch(const unsigned char* at, unsigned char* to)
    {
        const uint64_t pairs = Vector::Equal(CopyAndPair(at, to), 0);
        if constexpr (MatchLength == 3)
            return {pairs, pairs & Vector::Equal(Vector::Load(at + 2), 1)};
        return {pairs, pairs};
    }

    // Whether two zero bytes begin anywhere in the group.
    VECTOR_TARGET static bool CopyAndTestGroup(const unsigned char* at, unsigned char* to)
    {
        const auto first = CopyAndPair(at, to);
        const auto second = CopyAndPair(at + Width, Destination(to, Width));
        const auto third = CopyAndPair(at + 2 * Width, Destination(to, 2 * Width));
        const auto fourth = CopyAndPair(at + 3 * Width, Destination(to, 3 * Width));
        return Vector::Equal(Vector::Min(Vector::Min(first, second), Vector::Min(third, fourth)), 0) != 0;
    }

    // Zero where two zero bytes begin in the block.
    VECTOR_TARGET static typename Vector::Block CopyAndPair(const unsigned char* at, unsigned char* to)
    {
        const typename Vector::Block block = Vector::Load(at);
        if constexpr (Copying)
            Vector::Store(to, block);
        return Vector::Or(block, Vector::Load(at + 1));
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
