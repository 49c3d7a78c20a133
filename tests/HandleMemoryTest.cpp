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

constexpr uint32_t LargestUnit = 4000000;

// The largest that a handle has met.
struct Met
{
    int64_t unit = 0;
    int64_t accessUnit = 0;
    int64_t unitsOfAFrame = 0;
    int64_t userData = 0;
};

int64_t ParseBound(uint32_t queueCount, const Met& met)
{
    return (queueCount + 2) * std::max<int64_t>(1000, met.accessUnit * 3 / 2) + 5 * met.unit * 3 / 2 +
           18 * met.unitsOfAFrame + 100000;
}

int64_t UserDataBound(const Met& met)
{
    return 3200000 + 11 * met.accessUnit + 5 * met.userData;
}

// A handle and the heap that it lives on, held against its bound.
class Host
{
public:
    Host(VideoCodecType codec, uint32_t count) : queueCount(count)
    {
        heap.During([&] { return ParseCreate(&handle, codec, queueCount, 1000); });
    }
    explicit Host(VideoCodecType codec) : queueCount(0)
    {
        heap.During([&] { return UserDataCreate(&handle, codec); });
    }
    ~Host()
    {
        heap.During([&] { return queueCount != 0 ? ParseRelease(handle) : UserDataRelease(handle); });
        EXPECT_EQ(heap.BytesLeft(), 0);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    template <typename Call>
    void Do(Call call)
    {
        heap.During([&] {
            call();
            return 0;
        });
        bound = queueCount != 0 ? ParseBound(queueCount, met) : UserDataBound(met);
        fullest = std::max(fullest, static_cast<double>(heap.BytesLeft()) / static_cast<double>(bound));
    }

    // Bytes of a unit, or null and 0 to flush.
    void Analyse(const unsigned char* data, uint32_t size)
    {
        met.unit = std::max<int64_t>(met.unit, size);
        Do([&] { ParseVideoParams(handle, data, size, &info); });
        reports += info.accessUnitFound;
    }

    // Says what it was, for the documentation.
    void ExpectBound(const char* what) const
    {
        std::printf(
            "%s: %lld bytes in the end, bound %lld; largest access unit %lld; at most %.0f %% of the bound\n",
            what, static_cast<long long>(heap.BytesLeft()), static_cast<long long>(bound),
            static_cast<long long>(met.accessUnit), 100 * fullest);
        EXPECT_LE(fullest, 1.0) << what;
    }

    void* handle = nullptr;
    Met met;
    size_t reports = 0;

private:
    FailingHeap heap;
    uint32_t queueCount;  // 0: for user data
    int64_t bound = 0;
    double fullest = 0;
    VideoInfo info{};
};

// Units of any length: what is cut off their end is slice data or payload.
struct Units
{
    explicit Units(VideoCodecType codec)
    {
        const Bytes data(LargestUnit, 0x55);
        const bool isAvc = codec == VideoCodecAVC;
        sets = isAvc ? AvcSps{}.Write() + AvcPps{}.Write() : HevcSps{}.Write();
        sei = (isAvc ? AvcSei() : HevcSei()) + data;
        for (uint32_t i = 0; i < 2; ++i) {
            first[i] = (isAvc ? AvcSlice{.frame_num = i}.Write() : HevcSlice{}.Write()) + data;
            next[i] = isAvc ? first[i] : HevcSlice{.first_slice_segment_in_pic_flag = 0}.Write() + data;
        }
    }

    Bytes sets;
    Bytes sei;
    Bytes first[2];  // slices of two pictures
    Bytes next[2];
};

// Sizes that grow by a little, so that blocks are seen just when they have grown.
std::vector<uint32_t> GrowingSizes(uint32_t from, uint32_t to, uint32_t steps = 40)
{
    std::vector<uint32_t> sizes;
    for (uint32_t size = from; size < to; size += size / steps)
        sizes.push_back(size);
    return sizes;
}

}  // namespace

TEST(HandleMemory, OfTheAnalysisIsBoundedByTheLargestAccessUnit)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        std::vector<uint32_t> sizes = GrowingSizes(40, 200000);
        std::minstd_rand random(1);
        while (sizes.size() < 100000)
            sizes.push_back(40 + static_cast<uint32_t>(random() % (random() % 1000 == 0 ? 200000 : 1000)));
        Host host(codec, 6);
        host.Analyse(units.sets.data(), Size(units.sets));
        for (size_t picture = 0; picture < sizes.size(); ++picture) {
            const uint32_t size = sizes[picture];
            host.met.accessUnit = std::max<int64_t>(host.met.accessUnit, 6 * size + Size(units.sets));
            for (unsigned i = 0; i < 3; ++i)
                host.Analyse(units.sei.data(), size);
            for (unsigned i = 0; i < 3; ++i)
                host.Analyse((i == 0 ? units.first : units.next)[picture % 2].data(), size);
        }
        host.Analyse(nullptr, 0);
        EXPECT_EQ(host.reports, sizes.size());
        host.ExpectBound("pictures");
    }
}

// Without a slice nothing ends an access unit; a flush does.
TEST(HandleMemory, OfAStreamWithoutSlicesIsThatOfOneAccessUnit)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        Host host(codec, 2);
        for (unsigned round = 0; round < 3; ++round) {
            int64_t accessUnit = 0;
            for (uint32_t unit = 0; unit < 100000; ++unit) {
                accessUnit += 20 + unit % 30;
                host.met.accessUnit = std::max(host.met.accessUnit, accessUnit);
                host.Analyse(units.sei.data(), 20 + unit % 30);
            }
            host.Analyse(nullptr, 0);
        }
        EXPECT_EQ(host.reports, 3u);
        host.ExpectBound("no slices");
    }
    // Slices whose parameter sets never come.
    const Units units(VideoCodecAVC);
    Host host(VideoCodecAVC, 2);
    for (uint32_t unit = 0; unit < 300000; ++unit) {
        host.Analyse(units.first[unit % 2].data(), 20 + unit % 1000);
        host.met.unit = 0;
    }
    EXPECT_EQ(host.reports, 0u);
    host.ExpectBound("unknown parameter sets");
}

TEST(HandleMemory, OfFramesThatAreSplitAndWalkedIsBoundedByTheLargest)
{
    const Units units(VideoCodecAVC);
    const Bytes picture = units.sets + Bytes(units.first[0].begin(), units.first[0].begin() + 20);
    Bytes stream = Repeat(picture, 30000);
    Host host(VideoCodecAVC, 2);
    host.met.unit = static_cast<int64_t>(picture.size());
    for (const uint32_t size : GrowingSizes(100, Size(stream))) {
        host.met.unitsOfAFrame = 3 * static_cast<int64_t>(size / picture.size() + 1);
        unsigned int count = 0;
        unsigned char** addresses = nullptr;
        unsigned int* sizes = nullptr;
        host.Do([&] { GetNalFromFrame(host.handle, stream.data(), size, &count, &addresses, &sizes); });
    }
    unsigned char* unit = nullptr;
    unsigned int unitSize = 0;
    bool isSlice = false;
    unsigned int headerLength = 0;
    SetVideoData(host.handle, stream.data(), Size(stream));
    for (size_t i = 0; i < 90000; ++i)
        host.Do([&] { GetNalUnit(host.handle, &unit, &unitSize, &isSlice, &headerLength); });
    EXPECT_EQ(unit + unitSize, stream.data() + stream.size());
    host.ExpectBound("frames");
}

TEST(HandleMemory, OfUserDataIsBoundedByTheLargestAccessUnitAndUserData)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const Units units(codec);
        Host host(codec);
        for (const uint32_t size : GrowingSizes(100, LargestUnit, 10)) {
            const unsigned char* output = nullptr;
            unsigned int outputSize = 0;
            host.met.userData = size;
            host.met.accessUnit = size + size / 255 + 100;
            for (unsigned round = 0; round < 10; ++round) {
                host.Do([&] {
                    AddUserData(host.handle, units.first[0].data(), 20, units.sei.data(), size / (round + 1),
                                &output, &outputSize);
                });
                host.Do([&] { GetUserData(host.handle, output, outputSize, &output, &outputSize); });
                host.Do([&] {
                    RemoveUserData(host.handle, (round % 2 == 0 ? units.sei : units.first[0]).data(), size,
                                   &output, &outputSize);
                });
            }
        }
        host.ExpectBound("user data");
    }
}

}  // namespace videoparams::test
