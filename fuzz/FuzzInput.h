#pragma once

#include "VideoParams.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

using Bytes = std::vector<unsigned char>;

// Stops with a word of what does not hold.
#define REQUIRE(condition)                                                                                   \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            StopBecause(#condition, __FILE__, __LINE__);                                                     \
    } while (false)

[[noreturn]] void StopBecause(const char* condition, const char* file, int line);

// Stream bytes in front, choices behind: the last byte tells how many bytes of choices there are.
class CFuzzInput
{
public:
    CFuzzInput(const uint8_t* data, size_t size);

    const Bytes& Stream() const { return stream; }
    uint32_t Choose(uint32_t count);  // 0 to count - 1; 0 when the choices are used up
    VideoCodecType ChooseCodec();

private:
    Bytes stream;
    Bytes choices;
    size_t taken = 0;
};

// A copy on the heap of exactly the size, so that one byte read too far shows.
class CHeapCopy
{
public:
    CHeapCopy(const unsigned char* bytes, size_t size);
    explicit CHeapCopy(const Bytes& bytes) : CHeapCopy(bytes.data(), bytes.size()) {}

    unsigned char* Data() const { return block.get(); }
    uint32_t Size() const { return size; }

private:
    std::unique_ptr<unsigned char[]> block;
    uint32_t size;
};

// Handles that are released at the end.
class CParseHandle
{
public:
    CParseHandle(VideoCodecType codec, uint32_t queueCount, uint32_t queueSize);
    ~CParseHandle() { REQUIRE(ParseRelease(handle) == 0); }
    CParseHandle(const CParseHandle&) = delete;
    CParseHandle& operator=(const CParseHandle&) = delete;

    void* handle = nullptr;
};

class CUserDataHandle
{
public:
    explicit CUserDataHandle(VideoCodecType codec) { REQUIRE(UserDataCreate(&handle, codec) == 0); }
    ~CUserDataHandle() { REQUIRE(UserDataRelease(handle) == 0); }
    CUserDataHandle(const CUserDataHandle&) = delete;
    CUserDataHandle& operator=(const CUserDataHandle&) = delete;

    void* handle = nullptr;
};

// The units of a stream by the rule itself, byte by byte.
std::vector<Bytes> SplitPlainly(const Bytes& stream);
Bytes Join(const std::vector<Bytes>& units);

// The units that mean the same whatever buffer they come in: 5 bytes or more, forbidden_zero_bit 0. Empty
// where the stream of them would be cut elsewhere.
std::vector<Bytes> CutIndependentUnits(const Bytes& stream);

size_t HeaderOffset(const Bytes& unit);
uint32_t UnitType(const Bytes& unit, VideoCodecType codec);
