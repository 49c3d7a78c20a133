// What handles hold of the heap over long streams: no more than the bound that VideoParams.h states.

#include "VideoParams.h"
#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/HevcStream.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace videoparams::test {

namespace {

constexpr uint32_t LargestUnit = 200000;

// The largest that a handle has met.
struct Met
{
    int64_t unit = 0;
    int64_t accessUnit = 0;
    int64_t unitsOfAFrame = 0;
    int64_t userData = 0;
};

int64_t ParseBound(uint32_t queueCount, uint32_t queueSize, const Met& met)
{
    return (queueCount + 2) * std::max<int64_t>(queueSize, met.accessUnit * 3 / 2) + 5 * met.unit * 3 / 2 +
           18 * met.unitsOfAFrame + 100000;
}

int64_t UserDataBound(const Met& met)
{
    return 3200000 + 11 * met.accessUnit + 5 * met.userData;
}

// A handle and the heap that it lives on.
class Host
{
public:
    Host(VideoCodecType codec, uint32_t queueCount, uint32_t queueSize)
        : isParser(true),
          made(heap.During([&] { return ParseCreate(&handle, codec, queueCount, queueSize); }))
    {}
    explicit Host(VideoCodecType codec)
        : isParser(false), made(heap.During([&] { return UserDataCreate(&handle, codec); }))
    {}
    ~Host()
    {
        heap.During([&] { return isParser ? ParseRelease(handle) : UserDataRelease(handle); });
        EXPECT_TRUE(made == 0 && heap.BytesLeft() == 0);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Bytes of a unit, or null and 0 to flush.
    void Analyse(const unsigned char* data, uint32_t size)
    {
        heap.During([&] { return ParseVideoParams(handle, data, size, &info); });
        met.unit = std::max<int64_t>(met.unit, size);
        if (info.accessUnitFound) {
            met.accessUnit = std::max<int64_t>(met.accessUnit, info.accessUnitSize);
            ++reports;
        }
    }

    void ExpectBound(const char* what, VideoCodecType codec, int64_t bound) const
    {
        std::printf("%s, %s: at most %lld bytes, %lld in the end; bound %lld; largest access unit %lld\n",
                    what, codec == VideoCodecAVC ? "H.264" : "H.265",
                    static_cast<long long>(heap.MostBytes()), static_cast<long long>(heap.BytesLeft()),
                    static_cast<long long>(bound), static_cast<long long>(met.accessUnit));
        EXPECT_LE(heap.MostBytes(), bound) << what;
    }

    FailingHeap heap;
    void* handle = nullptr;
    Met met;
    size_t reports = 0;

private:
    bool isParser;
    int64_t made;
    VideoInfo info{};
};

// Units of any length: what is cut off their end is slice data or payload.
struct Units
{
    explicit Units(VideoCodecType codec)
    {
        const Bytes data(LargestUnit + 100, 0x55);
        const bool isAvc = codec == VideoCodecAVC;
        sets = isAvc ? AvcSps{}.Write() + AvcPps{}.Write() : HevcSps{}.Write();
        sei = isAvc ? AvcSei(Bytes{5} + data) : HevcSei(Bytes{5} + data);
        for (uint32_t picture = 0; picture < 2; ++picture)
            slices[picture] = isAvc ? AvcSlice{.frame_num = picture, .sliceData = data}.Write()
                                    : HevcSlice{.sliceData = data}.Write();
    }

    Bytes sets;
    Bytes sei;
    Bytes slices[2];
};

// Short ones for the most part, and now and then the largest.
class Lengths
{
public:
    uint32_t Next()
    {
        const uint32_t limit = random() % 1000 == 0 ? LargestUnit : 1500;
        return 20 + static_cast<uint32_t>(random() % (limit - 20));
    }

private:
    std::minstd_rand random{1};
};

}  // namespace

TEST(HandleMemory, OfTheAnalysisIsBoundedByTheLargestAccessUnit)
{
    constexpr size_t PictureCount = 300000;
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        Lengths lengths;
        Host host(codec, 6, 1000);
        host.Analyse(units.sets.data(), Size(units.sets));
        for (size_t picture = 0; picture < PictureCount; ++picture) {
            host.Analyse(units.sei.data(), lengths.Next());
            host.Analyse(units.slices[picture % 2].data(), lengths.Next());
        }
        host.Analyse(nullptr, 0);
        EXPECT_EQ(host.reports, PictureCount);
        host.ExpectBound("analysis", codec, ParseBound(6, 1000, host.met));
    }
}

// Without a slice nothing ends an access unit; a flush does.
TEST(HandleMemory, OfAStreamWithoutSlicesIsThatOfOneAccessUnit)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        Host host(codec, 2, 1000);
        for (uint32_t unit = 0; unit < 300000; ++unit) {
            host.Analyse(units.sei.data(), 20 + unit % 30);
            if (unit % 100000 == 0)
                host.Analyse(nullptr, 0);
        }
        host.Analyse(nullptr, 0);
        EXPECT_EQ(host.reports, 4u);
        host.ExpectBound("no slices", codec, ParseBound(2, 1000, host.met));
    }
    // Slices whose parameter sets never come.
    const Units units(VideoCodecAVC);
    Host host(VideoCodecAVC, 2, 1000);
    for (uint32_t unit = 0; unit < 300000; ++unit)
        host.Analyse(units.slices[unit % 2].data(), 20 + unit % 1000);
    EXPECT_EQ(host.reports, 0u);
    host.ExpectBound("unknown parameter sets", VideoCodecAVC, ParseBound(2, 1000, {}));
}

TEST(HandleMemory, OfFramesThatAreSplitWalkedAndSearchedIsBoundedByTheLargest)
{
    const Units units(VideoCodecAVC);
    const Bytes someUnits = units.sets + Bytes(units.slices[0].begin(), units.slices[0].begin() + 20);
    Bytes stream = Repeat(someUnits, 1000);
    Host host(VideoCodecAVC, 2, 1000);
    std::minstd_rand random(1);
    for (size_t frame = 0; frame < 10000; ++frame) {
        const auto size = static_cast<uint32_t>(random() % (frame % 100 == 0 ? stream.size() : 2000));
        host.heap.During([&] {
            unsigned int count = 0;
            unsigned char** addresses = nullptr;
            unsigned int* sizes = nullptr;
            GetNalFromFrame(host.handle, stream.data(), size, &count, &addresses, &sizes);
            host.met.unitsOfAFrame = std::max<int64_t>(host.met.unitsOfAFrame, count);
            SetVideoData(host.handle, stream.data(), size);
            unsigned char* unit = nullptr;
            unsigned int unitSize = 0;
            bool isSlice = false;
            unsigned int headerLength = 0;
            while (GetNalUnit(host.handle, &unit, &unitSize, &isSlice, &headerLength) == 0)
                host.met.unit = std::max<int64_t>(host.met.unit, unitSize);
            ParameterSetData sets;
            GetParameterSetData(host.handle, stream.data(), size, &sets);
            VideoInfoEx test;
            return VideoSampleTest(host.handle, stream.data(), size, &test);
        });
    }
    host.ExpectBound("frames", VideoCodecAVC, ParseBound(2, 1000, host.met));
}

TEST(HandleMemory, OfUserDataIsBoundedByTheLargestAccessUnitAndUserData)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        const Bytes userData(5 * LargestUnit);  // zeros, of which escaping makes most
        Lengths lengths;
        Host host(codec);
        for (uint32_t unit = 0; unit < 10000; ++unit) {
            const uint32_t userDataSize = lengths.Next() * (unit % 6);
            const uint32_t sliceSize = lengths.Next() * (1 + unit / 1000) % LargestUnit + 20;
            host.heap.During([&] {
                const unsigned char* output = nullptr;
                unsigned int size = 0;
                unsigned int outputSize = 0;
                AddUserData(host.handle, units.slices[0].data(), sliceSize, userData.data(), userDataSize,
                            &output, &size);
                host.met.accessUnit = std::max<int64_t>(host.met.accessUnit, size);
                host.met.userData = std::max<int64_t>(host.met.userData, userDataSize);
                RemoveUserData(host.handle, output, size, &output, &outputSize);
                EXPECT_EQ(outputSize, sliceSize);
                RemoveUserData(host.handle, units.sei.data(), sliceSize, &output, &outputSize);
                AddUserData(host.handle, units.slices[0].data(), sliceSize, userData.data(), userDataSize,
                            &output, &size);
                return GetUserData(host.handle, output, size, &output, &size);
            });
        }
        host.ExpectBound("user data", codec, UserDataBound(host.met));
    }
}

}  // namespace videoparams::test
