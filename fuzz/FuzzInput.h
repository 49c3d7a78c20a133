#pragma once

#include "VideoParams.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

using Bytes = std::span<const unsigned char>;

// Stops the fuzzer and names the condition that does not hold.
#define REQUIRE(condition)                                                                                   \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            StopBecause(#condition, __FILE__, __LINE__);                                                     \
    } while (false)

[[noreturn]] void StopBecause(const char* condition, const char* file, int line);

// The first byte gives the number of choices, which follow it. The rest is the stream. It ends with the
// fuzzer's own block, so that a byte read after it is detected.
class CFuzzInput
{
public:
    CFuzzInput(const uint8_t* data, size_t size);

    Bytes Stream() const { return stream; }
    bool HasChoices() const { return !choices.empty(); }
    uint32_t Choose(uint32_t count);  // 0 to count - 1; 0 when the choices are used up
    VideoCodecType ChooseCodec();

private:
    Bytes choices;
    Bytes stream;
};

// A heap block that is used again and again. Bytes are copied to its end, so that a byte read after them is
// detected.
class CRoom
{
public:
    unsigned char* Put(Bytes bytes);

private:
    std::unique_ptr<unsigned char[]> block;
    size_t size = 0;
};

// A parse handle that is released at the end.
class CParseHandle
{
public:
    CParseHandle(VideoCodecType codec, uint32_t queueCount, uint32_t queueSize);
    ~CParseHandle() { REQUIRE(ParseRelease(handle) == 0); }
    CParseHandle(const CParseHandle&) = delete;
    CParseHandle& operator=(const CParseHandle&) = delete;

    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

bool Equal(Bytes a, Bytes b);

// A number computed from all bytes added to it.
class CDigest
{
public:
    CDigest& Add(Bytes bytes);

    template <typename Value>
    CDigest& AddValue(const Value& value)
    {
        return Add({reinterpret_cast<const unsigned char*>(&value), sizeof value});
    }

    bool operator==(const CDigest&) const = default;

private:
    uint64_t sum = 0;
};

// The units of a stream by the rule itself, byte by byte.
void SplitPlainly(Bytes stream, std::vector<Bytes>& units);

size_t HeaderOffset(Bytes unit);
uint32_t UnitType(Bytes unit, VideoCodecType codec);

// The units of a stream that mean the same whatever buffer they come in: 5 bytes or more, forbidden_zero_bit
// 0. None if the stream of them would be cut elsewhere.
class CCutIndependentUnits
{
public:
    explicit CCutIndependentUnits(Bytes stream);

    Bytes Joined() const { return joined; }
    const std::vector<Bytes>& Units() const { return units; }

private:
    std::vector<unsigned char> joined;
    std::vector<Bytes> units;
};
