#include "stream/UnitCutter.h"

#include <algorithm>
#include <utility>

namespace tool {

namespace {

// No real unit comes near to this. A damaged or foreign file must not fill the memory.
constexpr size_t LargestUnit = 256 << 20;

// The feeder, like the library, counts no start code with less than five bytes from its first zero on. A unit
// of a header byte alone, such as an end of sequence (00 00 01 0A), is then the end of the last unit.
uint32_t ShortUnitAtEnd(const unsigned char* data, uint32_t size)
{
    constexpr uint32_t ShortSize = 4;
    if (size < 2 * ShortSize)
        return 0;
    const unsigned char* const unit = data + size - ShortSize;
    return unit[0] == 0 && unit[1] == 0 && unit[2] == 1 ? ShortSize : 0;
}

}  // namespace

CUnitCutter::CUnitCutter(VideoCodecType givenCodec, TakeUnit givenTaker, TakeSkipped givenSkippedTaker)
    : codec(givenCodec), takeUnit(std::move(givenTaker)), takeSkipped(std::move(givenSkippedTaker)),
      feeder(CNalFeeder::ShortUnits::Separate, LargestUnit)
{}

void CUnitCutter::Take(const unsigned char* data, size_t size)
{
    feeder.Feed(
        data, size,
        [this](const unsigned char* unit, unsigned int unitSize) {
            TakeOne(unit, unitSize, feeder.Offset());
        },
        [this](const unsigned char* bytes, size_t count) { Skip(bytes, count); });
}

void CUnitCutter::Finish()
{
    feeder.Finish([this](const unsigned char* unit, unsigned int unitSize) { TakeLast(unit, unitSize); },
                  [this](const unsigned char* bytes, size_t count) { Skip(bytes, count); });
}

void CUnitCutter::TakeOne(const unsigned char* unit, uint32_t size, uint64_t offset)
{
    isLeading = false;
    takeUnit(NalUnit{.codec = codec, .data = unit, .size = size, .offset = offset, .number = unitCount++});
}

void CUnitCutter::TakeLast(const unsigned char* unit, uint32_t size)
{
    const uint32_t shortSize = ShortUnitAtEnd(unit, size);
    const uint32_t longSize = size - shortSize;
    TakeOne(unit, longSize, feeder.Offset());
    if (shortSize != 0)
        TakeOne(unit + longSize, shortSize, feeder.Offset() + longSize);
}

void CUnitCutter::Skip(const unsigned char* bytes, size_t size)
{
    const bool isZero = std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    isLeading = isLeading && isZero;
    if (!isLeading)
        skippedBytes += size;
    if (takeSkipped)
        takeSkipped(bytes, size);
}

}  // namespace tool
