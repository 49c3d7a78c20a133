// Takes an H.264 or H.265 byte stream (Annex B) in pieces of any size and passes on whole NAL units, one per
// call. C++11.
//
//     CNalFeeder feeder;
//     const auto takeUnit = [&](const unsigned char* unit, unsigned int unitSize) {
//         ParseVideoParams(parser, unit, unitSize, &info);
//         if (info.accessUnitFound)
//             Use(info);
//     };
//     while ((size = fread(piece, 1, sizeof piece, file)) > 0)
//         feeder.Feed(piece, size, takeUnit);
//     feeder.Finish(takeUnit);
//
// Every byte is searched once, and kept only until its unit is complete.
//
// SPDX-License-Identifier: MIT

#ifndef NAL_FEEDER_HPP
#define NAL_FEEDER_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

class CNalFeeder
{
public:
    // A unit goes from its start code (00 00 01 or 00 00 00 01) to the next start code or to the end of the
    // stream. A start code counts only if at least five bytes are left, counted from its first zero. Further
    // zeros before it belong to the previous unit.
    //
    // A unit of three or four bytes (such as an end of sequence, 00 00 01 0A) is too short for a call of its
    // own: the library ignores such a buffer. Join passes it on as the last bytes of the previous unit,
    // Separate passes it on alone.
    enum class ShortUnits
    {
        Join,
        Separate
    };

    // A unit of more than `largestUnit` bytes is skipped. The library takes sizes of 32 bits.
    explicit CNalFeeder(ShortUnits shortUnits = ShortUnits::Join, size_t largestUnit = 0xFFFFFFFF)
        : shortestUnit(shortUnits == ShortUnits::Join ? 5 : 0), unitLimit(largestUnit)
    {}

    struct IgnoreBytes
    {
        void operator()(const unsigned char*, size_t) const {}
    };

    // takeUnit(const unsigned char* unit, unsigned int unitSize) gets each unit as soon as it is complete.
    // The bytes stay valid during the call. takeSkipped(const unsigned char* bytes, size_t size) gets the
    // bytes of no unit: those before the first start code, and those of units that are too large. Together
    // they get every byte, in order.
    template <class UnitTaker, class SkippedTaker = IgnoreBytes>
    void Feed(const unsigned char* data, size_t size, UnitTaker&& takeUnit,
              SkippedTaker&& takeSkipped = SkippedTaker())
    {
        while (size > 0) {
            const size_t step = std::min(size, size_t{PieceSize});
            bytes.insert(bytes.end(), data, data + step);
            data += step;
            size -= step;
            Search(takeUnit, takeSkipped);
            Tidy();
        }
    }

    // Passes on the last unit. The next Feed begins a new stream.
    template <class UnitTaker, class SkippedTaker = IgnoreBytes>
    void Finish(UnitTaker&& takeUnit, SkippedTaker&& takeSkipped = SkippedTaker())
    {
        if (cut != NoCut)
            PassOn(cut, takeUnit);
        if (inUnit && bytes.size() - begin <= unitLimit)
            PassOn(bytes.size(), takeUnit);
        else
            Skip(bytes.size(), takeSkipped);
        *this = CNalFeeder(shortestUnit, unitLimit);
    }

    // The first byte of the unit, or of the skipped bytes, that was passed on last; counted from the first
    // byte of the stream.
    uint64_t Offset() const { return passedOffset; }

private:
    static constexpr size_t PieceSize = 65536;
    static constexpr size_t CodeZeros = 3;  // at most, before the 01 of a start code
    static constexpr size_t CodeLook = 5;   // a start code counts if so many bytes are left
    static constexpr size_t NoCut = static_cast<size_t>(-1);

    CNalFeeder(size_t shortest, size_t limit) : shortestUnit(shortest), unitLimit(limit) {}

    template <class UnitTaker, class SkippedTaker>
    void Search(UnitTaker& takeUnit, SkippedTaker& takeSkipped)
    {
        while (searched < bytes.size()) {
            const void* const found = std::memchr(&bytes[searched], 1, bytes.size() - searched);
            if (found == nullptr) {
                searched = bytes.size();
                break;
            }
            const size_t one = static_cast<size_t>(static_cast<const unsigned char*>(found) - &bytes[0]);
            const size_t zeros = CountZerosBefore(one);
            const bool isStartCode = zeros >= 2;
            if (isStartCode && one - zeros + CodeLook > bytes.size()) {
                searched = one;
                break;
            }
            // The next 01 after two zeros is at least three bytes away.
            searched = std::min(one + 3, bytes.size());
            if (isStartCode)
                TakeStartCode(one - zeros, takeUnit, takeSkipped);
        }
        // No start code can follow within so few bytes after the cut: the unit there is long enough.
        if (cut != NoCut && searched >= cut + shortestUnit + CodeZeros)
            PassOn(cut, takeUnit);
        const size_t sure = searched - std::min(searched, size_t{CodeZeros});
        if (cut == NoCut && (!inUnit || sure - begin > unitLimit)) {
            Skip(sure, takeSkipped);
            inUnit = false;
        }
    }

    size_t CountZerosBefore(size_t one) const
    {
        size_t zeros = 0;
        while (zeros < CodeZeros && zeros < one - begin && bytes[one - zeros - 1] == 0)
            ++zeros;
        return zeros;
    }

    template <class UnitTaker, class SkippedTaker>
    void TakeStartCode(size_t start, UnitTaker& takeUnit, SkippedTaker& takeSkipped)
    {
        if (cut != NoCut) {
            const bool joins = start - cut < shortestUnit && start - begin <= unitLimit;
            if (joins) {
                cut = start;
                return;
            }
            PassOn(cut, takeUnit);
        }
        if (inUnit && start - begin <= unitLimit) {
            cut = start;
            return;
        }
        Skip(start, takeSkipped);
        inUnit = true;
    }

    template <class UnitTaker>
    void PassOn(size_t end, UnitTaker& takeUnit)
    {
        const size_t start = begin;
        begin = end;
        cut = NoCut;
        passedOffset = offset + start;
        takeUnit(&bytes[start], static_cast<unsigned int>(end - start));
    }

    template <class SkippedTaker>
    void Skip(size_t end, SkippedTaker& takeSkipped)
    {
        const size_t start = begin;
        begin = end;
        if (end == start)
            return;
        passedOffset = offset + start;
        takeSkipped(&bytes[start], end - start);
    }

    void Tidy()
    {
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(begin));
        offset += begin;
        searched -= begin;
        if (cut != NoCut)
            cut -= begin;
        begin = 0;
    }

    size_t shortestUnit;
    size_t unitLimit;

    std::vector<unsigned char> bytes;  // not passed on yet
    uint64_t offset = 0;               // of bytes[0] in the stream
    uint64_t passedOffset = 0;

    // Positions in `bytes`.
    size_t begin = 0;     // the current unit, or zeros that may belong to the first start code
    size_t searched = 0;  // every 01 before this has been examined
    size_t cut = NoCut;   // the start code that ends the current unit, unless the next unit is too short

    bool inUnit = false;
};

#endif
