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

// Where 00 00 begins, or 00 00 01.
template <class Vector, ptrdiff_t MatchLength>
VECTOR_TARGET inline uint64_t Matches(const unsigned char* at)
{
    const uint64_t pairs = Vector::Equal(Vector::Or(Vector::Load(at), Vector::Load(at + 1)), 0);
    return MatchLength == 3 ? pairs & Vector::Equal(Vector::Load(at + 2), 1) : pairs;
}

// Zero where two zero bytes begin in `block`, which lies at `at`.
template <class Vector>
VECTOR_TARGET inline typename Vector::Block Pairs(typename Vector::Block block, const unsigned char* at)
{
    return Vector::Or(block, Vector::Load(at + 1));
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on; they are copied all the same.
template <class Vector, bool Copying>
VECTOR_TARGET inline bool AnyPair(const unsigned char* at, unsigned char* to)
{
    constexpr ptrdiff_t Width = Vector::Width;
    const typename Vector::Block first = Vector::Load(at);
    const typename Vector::Block second = Vector::Load(at + Width);
    const typename Vector::Block third = Vector::Load(at + 2 * Width);
    const typename Vector::Block fourth = Vector::Load(at + 3 * Width);
    const auto left = Vector::Min(Pairs<Vector>(first, at), Pairs<Vector>(second, at + Width));
    const auto right =
        Vector::Min(Pairs<Vector>(third, at + 2 * Width), Pairs<Vector>(fourth, at + 3 * Width));
    if constexpr (Copying) {
        Vector::Store(to, first);
        Vector::Store(to + Width, second);
        Vector::Store(to + 2 * Width, third);
        Vector::Store(to + 3 * Width, fourth);
    }
    return Vector::Equal(Vector::Min(left, right), 0) != 0;
}

// Takes at least a block and what a match reaches beyond it. Loads are aligned, or stores where there are
// some. The last block overlaps the one in front of it.
template <class Vector, ptrdiff_t MatchLength, bool Copying>
VECTOR_TARGET const unsigned char* Search(const unsigned char* begin, const unsigned char* end,
                                          unsigned char* destination)
{
    constexpr ptrdiff_t Width = Vector::Width;
    constexpr ptrdiff_t Overlap = MatchLength - 1;
    const unsigned char* const last = end - Width - Overlap;
    const unsigned char* at = begin;
    const auto address = reinterpret_cast<uintptr_t>(Copying ? destination : begin);
    ptrdiff_t step = Width - static_cast<ptrdiff_t>(address % Width);
    while (true) {
        if constexpr (Copying)
            Vector::Store(destination + (at - begin), Vector::Load(at));
        const uint64_t found = Matches<Vector, MatchLength>(at);
        if (found != 0)
            return at + __builtin_ctzll(found) / Vector::MaskBitsPerByte;
        if (at == last)
            break;
        at += std::min(step, last - at);
        while (last - at >= 4 * Width &&
               !AnyPair<Vector, Copying>(at, destination + (Copying ? at - begin : 0)))
            at += 4 * Width;
        step = Width;
    }
    if constexpr (Copying)
        Vector::Store(destination + (last - begin) + Overlap, Vector::Load(last + Overlap));
    return end;
}

// What is shorter than a block goes to another kernel.
template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Vector::Width + 2 ? Shorter.findStartCodePrefix(begin, end)
                                           : Search<Vector, 3, false>(begin, end, nullptr);
}

template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Vector::Width + 1 ? Shorter.findZeroPair(begin, end)
                                           : Search<Vector, 2, false>(begin, end, nullptr);
}

template <class Vector, const ByteScanKernel& Shorter>
const unsigned char* VectorCopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                                 unsigned char* destination)
{
    return end - begin < Vector::Width + 2 ? Shorter.copyToStartCodePrefix(begin, end, destination)
                                           : Search<Vector, 3, true>(begin, end, destination);
}

}  // namespace

}  // namespace videoparams
