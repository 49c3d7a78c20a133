// Takes an H.264 or H.265 byte stream (Annex B) in pieces of any size and passes on whole NAL units. C++11.
// The rules are those of nal_feeder.h.
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
// SPDX-License-Identifier: MIT

#ifndef VIDEOPARAMS_NAL_FEEDER_HPP
#define VIDEOPARAMS_NAL_FEEDER_HPP

#include "nal_feeder.h"

#include <new>

class CNalFeeder
{
public:
    // What becomes of units of 3 or 4 bytes, which the library ignores in a call of their own. Join: they
    // come as the last bytes of the previous unit, if both together are not above `largestUnit`. Separate:
    // they come alone.
    enum class ShortUnits
    {
        Join,
        Separate
    };

    // A unit of more than `largestUnit` bytes is skipped. This limits the memory that a stream can take.
    explicit CNalFeeder(ShortUnits shortUnits = ShortUnits::Join, uint32_t largestUnit = UINT32_MAX)
    {
        VideoParamsInitFeeder(&feeder);
        feeder.keepsShortUnits = shortUnits == ShortUnits::Separate;
        feeder.largestUnit = largestUnit;
    }

    ~CNalFeeder() { VideoParamsFreeFeeder(&feeder); }
    CNalFeeder(const CNalFeeder&) = delete;
    CNalFeeder& operator=(const CNalFeeder&) = delete;

    struct IgnoreBytes
    {
        void operator()(const unsigned char*, size_t) const {}
    };

    // Calls takeUnit(const unsigned char* unit, unsigned int unitSize) for each unit as soon as it is
    // complete, and takeSkipped(const unsigned char* bytes, size_t size) for bytes that belong to no unit:
    // those before the first start code and those of units that are too long. Together they get every byte,
    // in order. The bytes are valid during the call. Throws std::bad_alloc if out of memory.
    template <class UnitTaker, class SkippedTaker = IgnoreBytes>
    void Feed(const unsigned char* data, size_t size, UnitTaker&& takeUnit,
              SkippedTaker&& takeSkipped = SkippedTaker())
    {
        while (size > 0) {
            size_t step = LargestStep;
            if (step > size)
                step = size;
            if (VideoParamsFeed(&feeder, data, step) != 0)
                throw std::bad_alloc();
            data += step;
            size -= step;
            PassOn(takeUnit, takeSkipped);
        }
    }

    // Passes on the last unit. The next Feed begins a new stream.
    template <class UnitTaker, class SkippedTaker = IgnoreBytes>
    void Finish(UnitTaker&& takeUnit, SkippedTaker&& takeSkipped = SkippedTaker())
    {
        VideoParamsEndStream(&feeder);
        PassOn(takeUnit, takeSkipped);
    }

    // Where the bytes that were passed on last begin, counted from the first byte of the stream.
    uint64_t Offset() const { return piece.offset; }

private:
    static constexpr size_t LargestStep = 65536;  // so that a large piece is not copied as a whole

    template <class UnitTaker, class SkippedTaker>
    void PassOn(UnitTaker& takeUnit, SkippedTaker& takeSkipped)
    {
        while (VideoParamsNextPiece(&feeder, &piece)) {
            if (piece.isUnit)
                takeUnit(piece.data, static_cast<unsigned int>(piece.size));
            else
                takeSkipped(piece.data, piece.size);
        }
    }

    VideoParamsNalFeeder feeder;
    VideoParamsPiece piece{};
};

#endif
