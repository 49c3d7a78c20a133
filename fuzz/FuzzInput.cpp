#include "FuzzInput.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void StopBecause(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

CFuzzInput::CFuzzInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return;
    const size_t choiceCount = std::min<size_t>(data[size - 1] % 64, size - 1);
    stream.assign(data, data + size - 1 - choiceCount);
    choices.assign(data + size - 1 - choiceCount, data + size - 1);
}

uint32_t CFuzzInput::Choose(uint32_t count)
{
    return taken < choices.size() ? choices[taken++] % count : 0;
}

VideoCodecType CFuzzInput::ChooseCodec()
{
    return Choose(2) == 0 ? VideoCodecAVC : VideoCodecHEVC;
}

CHeapCopy::CHeapCopy(const unsigned char* bytes, size_t count)
    : block(new unsigned char[count]), size(static_cast<uint32_t>(count))
{
    if (count != 0)
        std::memcpy(block.get(), bytes, count);
}

CParseHandle::CParseHandle(VideoCodecType codec, uint32_t queueCount, uint32_t queueSize)
{
    REQUIRE(ParseCreate(&handle, codec, queueCount, queueSize) == 0);
}

namespace {

bool IsStartCode(const Bytes& stream, size_t at)
{
    if (stream.size() - at < 5 || stream[at] != 0 || stream[at + 1] != 0)
        return false;
    return stream[at + 2] == 1 || (stream[at + 2] == 0 && stream[at + 3] == 1);
}

size_t FindStartCode(const Bytes& stream, size_t at)
{
    while (at < stream.size() && !IsStartCode(stream, at))
        ++at;
    return std::min(at, stream.size());
}

bool IsCutIndependent(const Bytes& unit)
{
    return unit.size() >= 5 && HeaderOffset(unit) < unit.size() && unit[HeaderOffset(unit)] < 0x80;
}

}  // namespace

std::vector<Bytes> SplitPlainly(const Bytes& stream)
{
    std::vector<Bytes> units;
    size_t at = FindStartCode(stream, 0);
    while (at < stream.size()) {
        const size_t next = FindStartCode(stream, at + (stream[at + 2] == 1 ? 3 : 4));
        units.emplace_back(stream.begin() + static_cast<ptrdiff_t>(at),
                           stream.begin() + static_cast<ptrdiff_t>(next));
        at = next;
    }
    return units;
}

Bytes Join(const std::vector<Bytes>& units)
{
    Bytes joined;
    for (const Bytes& unit : units)
        joined.insert(joined.end(), unit.begin(), unit.end());
    return joined;
}

std::vector<Bytes> CutIndependentUnits(const Bytes& stream)
{
    std::vector<Bytes> units = SplitPlainly(stream);
    units.erase(
        std::remove_if(units.begin(), units.end(), [](const Bytes& unit) { return !IsCutIndependent(unit); }),
        units.end());
    return SplitPlainly(Join(units)) == units ? units : std::vector<Bytes>();
}

size_t HeaderOffset(const Bytes& unit)
{
    return unit[2] == 1 ? 3 : 4;
}

uint32_t UnitType(const Bytes& unit, VideoCodecType codec)
{
    const unsigned char header = unit[HeaderOffset(unit)];
    return codec == VideoCodecAVC ? header & 0x1F : (header >> 1) & 0x3F;
}
