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
    const Bytes rest{data + 1, size - 1};
    const size_t choiceCount = std::min<size_t>(data[0] % 64, rest.size());
    choices = rest.first(choiceCount);
    stream = rest.subspan(choiceCount);
}

uint32_t CFuzzInput::Choose(uint32_t count)
{
    if (choices.empty())
        return 0;
    const uint32_t choice = choices.front() % count;
    choices = choices.subspan(1);
    return choice;
}

VideoCodecType CFuzzInput::ChooseCodec()
{
    return Choose(2) == 0 ? VideoCodecAVC : VideoCodecHEVC;
}

unsigned char* CRoom::Put(Bytes bytes)
{
    if (block == nullptr || bytes.size() > size) {
        size = bytes.size();
        block = std::make_unique<unsigned char[]>(size);
    }
    unsigned char* const begin = block.get() + size - bytes.size();
    if (!bytes.empty())
        std::memcpy(begin, bytes.data(), bytes.size());
    return begin;
}

CParseHandle::CParseHandle(VideoCodecType codec, uint32_t queueCount, uint32_t queueSize)
{
    REQUIRE(ParseCreate(&handle, codec, queueCount, queueSize) == 0);
}

bool Equal(Bytes a, Bytes b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

CDigest& CDigest::Add(Bytes bytes)
{
    constexpr uint64_t Factor = 0x9E3779B97F4A7C15;
    sum = (sum ^ bytes.size()) * Factor;
    while (!bytes.empty()) {
        uint64_t word = 0;
        const Bytes piece = bytes.first(std::min(bytes.size(), sizeof word));
        std::memcpy(&word, piece.data(), piece.size());
        sum = (sum ^ word) * Factor;
        sum ^= sum >> 32;
        bytes = bytes.subspan(piece.size());
    }
    return *this;
}

namespace {

const unsigned char* FindStartCode(const unsigned char* at, const unsigned char* end)
{
    for (; end - at >= 5; ++at) {
        if (at[0] == 0 && at[1] == 0 && (at[2] == 1 || (at[2] == 0 && at[3] == 1)))
            return at;
    }
    return end;
}

bool IsCutIndependent(Bytes unit)
{
    return unit.size() >= 5 && HeaderOffset(unit) < unit.size() && unit[HeaderOffset(unit)] < 0x80;
}

}  // namespace

void SplitPlainly(Bytes stream, std::vector<Bytes>& units)
{
    units.clear();
    const unsigned char* const end = stream.data() + stream.size();
    const unsigned char* at = FindStartCode(stream.data(), end);
    while (at != end) {
        const unsigned char* const next = FindStartCode(at + (at[2] == 1 ? 3 : 4), end);
        units.emplace_back(at, next);
        at = next;
    }
}

size_t HeaderOffset(Bytes unit)
{
    return unit[2] == 1 ? 3 : 4;
}

uint32_t UnitType(Bytes unit, VideoCodecType codec)
{
    const unsigned char header = unit[HeaderOffset(unit)];
    return codec == VideoCodecAVC ? header & 0x1F : (header >> 1) & 0x3F;
}

CCutIndependentUnits::CCutIndependentUnits(Bytes stream)
{
    std::vector<Bytes> wanted;
    SplitPlainly(stream, wanted);
    std::erase_if(wanted, [](Bytes unit) { return !IsCutIndependent(unit); });
    for (const Bytes unit : wanted)
        joined.insert(joined.end(), unit.begin(), unit.end());
    SplitPlainly(joined, units);
    if (!std::equal(units.begin(), units.end(), wanted.begin(), wanted.end(), Equal)) {
        joined.clear();
        units.clear();
    }
}
