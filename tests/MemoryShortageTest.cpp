// Whole sessions in which the first, the second, … the n-th allocation fails,
// alone or with all behind it.

#include "VideoParams.h"
#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/HevcStream.h"
#include "support/SeiMessages.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Create = std::function<int64_t(void** handle)>;

struct Step
{
    const char* name;
    std::function<int64_t()> call;  // the library alone
    std::function<bool(bool succeeded)> isAsPromised;
};

// Until nothing fails any more. A step that failed is repeated, and then
// succeeds.
void ExpectEveryShortageSurvived(const Create& create, int64_t (*release)(void*), void*& handle,
                                 const std::vector<Step>& steps, uint64_t fewestAllocations)
{
    using Failure = FailingHeap::Failure;
    for (const Failure failure : {Failure::Once, Failure::ForGood}) {
        uint64_t failAt = 0;
        for (bool hasFailed = true; hasFailed;) {
            FailingHeap heap(++failAt, failure);
            FailingHeap plentiful;
            handle = &failAt;
            if (heap.During([&] { return create(&handle); }) != 0) {
                EXPECT_TRUE(heap.HasFailed() && handle == nullptr && heap.BlocksLeft() == 0) << failAt;
                continue;
            }
            for (const Step& step : steps) {
                const bool hadFailed = heap.HasFailed();
                const int64_t result = heap.During(step.call);
                if (failure == Failure::ForGood && !hadFailed && heap.HasFailed()) {
                    EXPECT_EQ(result, -1) << step.name << " tells of allocation " << failAt;
                }
                if (result != 0) {
                    ASSERT_TRUE(heap.HasFailed()) << step.name << ", allocation " << failAt;
                    EXPECT_TRUE(step.isAsPromised(false)) << step.name << ", allocation " << failAt;
                    EXPECT_EQ(plentiful.During(step.call), 0) << step.name << ", allocation " << failAt;
                }
                EXPECT_TRUE(step.isAsPromised(true)) << step.name << ", allocation " << failAt;
            }
            EXPECT_EQ(heap.During([&] { return release(handle); }), 0);
            EXPECT_EQ(heap.BlocksLeft() + plentiful.BlocksLeft(), 0) << failAt;
            hasFailed = heap.HasFailed();
        }
        EXPECT_GT(failAt, fewestAllocations) << "the steps allocate";
    }
}

struct Result
{
    const unsigned char* data = nullptr;
    uint32_t size = 0;

    bool IsNone() const { return data == nullptr && size == 0; }
    bool Is(const Bytes& expected) const
    {
        return size == expected.size() && std::equal(expected.begin(), expected.end(), data);
    }
};

// Streams that outgrow every block of a small handle: parameter sets of more
// than 1024 bytes, a key frame that gets parameter sets put in, units that wait
// for the next picture.
std::vector<Bytes> AvcUnits()
{
    const AvcSps sps = {.pic_order_cnt_type = 1, .offset_for_ref_frame = std::vector<int32_t>(255, -70000)};
    const Bytes delimiter = AvcDelimiter();
    const auto slice = [&sps](uint32_t type, uint32_t picture) {
        return AvcSlice{.nal_unit_type = type,
                        .frame_num = type == 5 ? 0 : picture,
                        .idr_pic_id = picture,
                        .sliceData = Bytes(50 + picture * 100, 0x11)}
            .Write(sps);
    };
    return {delimiter,   sps.Write(), AvcPps{}.Write(), AvcSei(),  slice(5, 0), delimiter,  AvcSei(),
            slice(1, 1), delimiter,   slice(5, 2),      delimiter, AvcSei(),    slice(1, 3)};
}

std::vector<Bytes> HevcUnits()
{
    const HevcSps sps = {.refPicSets = std::vector<HevcRefPicSet>(64, {16, 2})};
    const Bytes delimiter = HevcDelimiter();
    const auto slice = [](uint32_t type, size_t picture) {
        return HevcSlice{.nal_unit_type = type, .sliceData = Bytes(50 + picture * 100, 0x11)}.Write();
    };
    return {delimiter, HevcVps{}.Write(), sps.Write(), HevcPps(),    HevcSei(), slice(19, 0), delimiter,
            HevcSei(), slice(1, 1),       delimiter,   slice(20, 2), delimiter, HevcSei(),    slice(1, 3)};
}

// What is missing is missing as a whole.
bool AreUnitsOf(const std::vector<Bytes>& units, const Bytes& stream)
{
    for (size_t at = 0; at < stream.size();) {
        const auto unit = std::find_if(units.begin(), units.end(), [&](const Bytes& candidate) {
            return std::equal(candidate.begin(), candidate.end(), stream.begin() + static_cast<ptrdiff_t>(at),
                              stream.begin() +
                                  static_cast<ptrdiff_t>(std::min(at + candidate.size(), stream.size())));
        });
        if (unit == units.end())
            return false;
        at += unit->size();
    }
    return true;
}

// All units and a flush are one step, the bytes that they report its outcome.
TEST(MemoryShortage, AnalysisSurvivesIt)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const std::vector<Bytes> units = codec == VideoCodecAVC ? AvcUnits() : HevcUnits();
        void* handle = nullptr;
        Bytes normal;
        Bytes reported;
        reported.reserve(10000);  // more than is reported, so that nothing is allocated here
        const auto analyse = [&]() -> int64_t {
            reported.clear();
            for (size_t i = 0; i <= units.size(); ++i) {
                VideoInfo info;
                if (i < units.size())
                    ParseVideoParams(handle, units[i].data(), Size(units[i]), &info);
                else
                    ParseVideoParams(handle, nullptr, 0, &info);
                if (info.accessUnitFound)
                    reported.insert(reported.end(), info.accessUnitData,
                                    info.accessUnitData + info.accessUnitSize);
            }
            return reported == normal ? 0 : -1;
        };
        const Create create = [codec](void** made) { return ParseCreate(made, codec, 2, 16); };
        ASSERT_EQ(create(&handle), 0);
        analyse();
        normal = reported;
        EXPECT_GT(normal.size(), Join(units).size() - 1);
        EXPECT_EQ(ParseRelease(handle), 0);
        const std::vector<Step> steps = {{"ParseVideoParams", analyse, [&](bool) {
                                              return reported.size() <= normal.size() &&
                                                     AreUnitsOf(units, reported);
                                          }}};
        ExpectEveryShortageSurvived(create, ParseRelease, handle, steps, 15);
    }
}

TEST(MemoryShortage, UserDataSurvivesIt)
{
    const Bytes few = {1, 2, 3};
    const Bytes many(3100000, 7);  // more than any buffer holds at first
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const bool isAvc = codec == VideoCodecAVC;
        const auto sei = [isAvc](const Bytes& messages) {
            return isAvc ? AvcSei(messages) : HevcSei(messages);
        };
        const Bytes data(200000, 7);
        const Bytes slice =
            isAvc ? AvcSlice{.sliceData = data}.Write() : HevcSlice{.sliceData = data}.Write();
        const Bytes other = SeiMessage(1, Bytes(130000, 7));
        const Bytes plain = sei(other) + slice;
        const Bytes withFew = sei(other + UserDataMessage(few)) + slice;
        const Bytes withMany = sei(other + UserDataMessage(many)) + slice;
        void* handle = nullptr;
        Result got, added, addedMany, removed;
        const std::vector<Step> steps = {
            {"RemoveUserData of few",
             [&] {
                 return RemoveUserData(handle, withFew.data(), Size(withFew), &removed.data, &removed.size);
             },
             [&](bool succeeded) { return succeeded ? removed.Is(plain) : removed.IsNone(); }},
            {"GetUserData",
             [&] { return GetUserData(handle, withMany.data(), Size(withMany), &got.data, &got.size); },
             [&](bool succeeded) { return succeeded ? got.Is(many) : got.IsNone(); }},
            {"AddUserData",
             [&] {
                 return AddUserData(handle, plain.data(), Size(plain), few.data(), 3, &added.data,
                                    &added.size);
             },
             [&](bool succeeded) { return succeeded ? added.Is(withFew) : added.IsNone() && got.Is(many); }},
            {"AddUserData of many",
             [&] {
                 return AddUserData(handle, plain.data(), Size(plain), many.data(), Size(many),
                                    &addedMany.data, &addedMany.size);
             },
             [&](bool succeeded) {
                 return succeeded ? addedMany.Is(withMany) : addedMany.IsNone() && added.Is(withFew);
             }},
            {"RemoveUserData",
             [&] {
                 return RemoveUserData(handle, withMany.data(), Size(withMany), &removed.data, &removed.size);
             },
             [&](bool succeeded) {
                 return addedMany.Is(withMany) && (succeeded ? removed.Is(plain) : removed.IsNone());
             }},
        };
        const Create create = [&](void** made) {
            got = added = addedMany = removed = Result{};
            return UserDataCreate(made, codec);
        };
        ExpectEveryShortageSurvived(create, UserDataRelease, handle, steps, 13);
    }
}

TEST(MemoryShortage, QueriesAndExchangeSurviveIt)
{
    Bytes sps = AvcSps{}.Write() + Bytes(1100, 7);
    Bytes pps = AvcPps{}.Write() + Bytes(2000, 7);
    Bytes sets = sps + pps;
    const Bytes longSps =
        AvcSps{.seq_parameter_set_id = 1, .log2_max_pic_order_cnt_lsb_minus4 = 20000}.Write();
    const Bytes longPps = AvcPps{.pic_parameter_set_id = 1, .seq_parameter_set_id = 1}.Write();
    const Bytes longSlice =
        AvcUnit(1, Bytes{0x99, 0x15} + Bytes(3000, 0x55));  // 1, 00110, 010: the second PPS
    Bytes stream = sets + longSps + longPps + longSlice + AvcSlice{.nal_unit_type = 5}.Write();
    const unsigned char* const firstSlice = &stream[sets.size() + longSps.size() + longPps.size()];
    void* handle = nullptr;
    VideoPicType type{};
    VideoInfoEx test{};
    ParameterSetData found{};
    uint32_t count = 0;
    unsigned char** units = nullptr;
    uint32_t* sizes = nullptr;
    unsigned char* unit = nullptr;
    uint32_t unitSize = 0;
    bool isSlice = false;
    uint32_t headerLength = 0;
    const auto takeUnits = [&](size_t number) {
        int64_t result = SetVideoData(handle, stream.data(), Size(stream));
        for (size_t i = 0; i < number && result == 0; ++i)
            result = GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength);
        return result;
    };
    // A parameter set whose record cannot be kept is handed out all the same.
    const auto isRightUnit = [&](bool succeeded, bool expectedSlice, uint32_t expectedLength) {
        if (succeeded)
            return isSlice == expectedSlice && headerLength == expectedLength;
        return !isSlice && headerLength == 0 && (unit == nullptr ? unitSize == 0 : unit < firstSlice);
    };
    std::vector<Step> steps = {
        {"QueryType", [&] { return QueryType(handle, stream.data(), Size(stream), type); },
         [&](bool succeeded) { return type == (succeeded ? VideoPicAllP : VideoPicUnknown); }},
        {"GetNalFromFrame",
         [&] { return GetNalFromFrame(handle, stream.data(), Size(stream), &count, &units, &sizes); },
         [&](bool succeeded) {
             return succeeded ? count == 6 && sizes[0] == Size(sps) && units[1] == &stream[sps.size()]
                              : count == 0 && units == nullptr && sizes == nullptr;
         }},
        {"GetParameterSetData", [&] { return GetParameterSetData(handle, sets.data(), Size(sets), &found); },
         [&](bool succeeded) {
             const Result foundSps = {found.sps, found.spsSize};
             const Result foundPps = {found.pps, found.ppsSize};
             return succeeded ? foundSps.Is(sps) && foundPps.Is(pps) : foundSps.IsNone() && foundPps.IsNone();
         }},
        {"GetNalUnit", [&] { return takeUnits(2); },
         [&](bool succeeded) { return isRightUnit(succeeded, false, 0); }},
        {"GetNalUnit of a long header", [&] { return takeUnits(5); },
         [&](bool succeeded) { return isRightUnit(succeeded, true, (1 + 5 + 3 + 4 + 20004) / 8 + 1); }},
        {"VideoSampleTest", [&] { return VideoSampleTest(handle, stream.data(), Size(stream), &test); },
         [&](bool succeeded) {
             return succeeded ? test.isFrame == 1 : test.isFrame + test.sampleError == 0;
         }},
        {"SetParameterSetData",
         [&] { return SetParameterSetData(handle, sps.data(), Size(sps), pps.data(), Size(pps)); },
         [](bool) { return true; }},
    };
    const Create create = [](void** made) { return ParseCreate(made, VideoCodecAVC, 2, 100); };
    // Each of them once the first, which has all the allocations before it.
    for (size_t i = 0; i < steps.size(); ++i) {
        ExpectEveryShortageSurvived(create, ParseRelease, handle, steps, 20);
        std::rotate(steps.begin(), steps.begin() + 1, steps.end());
    }
}

// The slice does not need it, but a later sample may.
TEST(MemoryShortage, SampleTestTellsOfAParameterSetThatItCouldNotKeep)
{
    const Bytes known = AvcSps{}.Write() + AvcPps{}.Write() + AvcSlice{.nal_unit_type = 5}.Write();
    const Bytes sample = AvcSps{.seq_parameter_set_id = 7}.Write() + AvcSlice{.frame_num = 1}.Write();
    void* handle = nullptr;
    ASSERT_EQ(ParseCreate(&handle, VideoCodecAVC, 0, 0), 0);
    VideoInfoEx test{};
    EXPECT_EQ(VideoSampleTest(handle, known.data(), Size(known), &test), 0);
    FailingHeap heap(1, FailingHeap::Failure::Once);
    const auto testSample = [&] { return VideoSampleTest(handle, sample.data(), Size(sample), &test); };
    EXPECT_EQ(heap.During(testSample), -1);
    EXPECT_TRUE(test.sampleError == 0 && test.isFrame == 0);
    EXPECT_EQ(heap.During(testSample), 0);
    EXPECT_TRUE(test.sampleError == 0 && test.isFrame == 1);
    EXPECT_EQ(heap.During([&] { return ParseRelease(handle); }), 0);
}

}  // namespace

}  // namespace videoparams::test
