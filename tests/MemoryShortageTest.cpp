// Sessions in which the first, the second, … the n-th allocation fails, alone or with all after it.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/FailingHeap.h"

#include <algorithm>
#include <functional>

namespace videoparams::test {

namespace {

using Failure = FailingHeap::Failure;

struct Session
{
    struct Step
    {
        const char* name;
        std::function<int64_t()> call;  // the library alone
        std::function<bool(bool succeeded)> isAsDocumented;
    };

    std::function<int64_t(void** handle)> create;
    int64_t (*release)(void*);
    void*& handle;
    std::vector<Step> steps;
};

// Until nothing fails any more. A step that failed is repeated, and then succeeds.
void ExpectEveryShortageSurvived(const Session& session, uint64_t fewestAllocations)
{
    for (const Failure failure : {Failure::Once, Failure::ForGood}) {
        uint64_t failAt = 0;
        for (bool hasFailed = true; hasFailed;) {
            FailingHeap heap(++failAt, failure);
            FailingHeap plentiful;
            session.handle = &failAt;
            if (heap.During([&] { return session.create(&session.handle); }) != 0) {
                EXPECT_TRUE(heap.HasFailed() && session.handle == nullptr && heap.BlocksLeft() == 0)
                    << failAt;
                continue;
            }
            for (const Session::Step& step : session.steps) {
                const testing::ScopedTrace trace(__FILE__, __LINE__, step.name + std::to_string(failAt));
                const bool hadFailed = heap.HasFailed();
                const int64_t result = heap.During(step.call);
                if (failure == Failure::ForGood && !hadFailed && heap.HasFailed()) {
                    EXPECT_EQ(result, -1);
                }
                if (result != 0) {
                    ASSERT_TRUE(heap.HasFailed());
                    EXPECT_TRUE(step.isAsDocumented(false));
                    EXPECT_EQ(plentiful.During(step.call), 0);
                }
                EXPECT_TRUE(step.isAsDocumented(true));
            }
            EXPECT_EQ(heap.During([&] { return session.release(session.handle); }), 0);
            EXPECT_EQ(heap.BlocksLeft() + plentiful.BlocksLeft(), 0) << failAt;
            hasFailed = heap.HasFailed();
        }
        EXPECT_GT(failAt, fewestAllocations) << "the steps allocate";
    }
}

struct Result
{
    const unsigned char* data = nullptr;
    unsigned int size = 0;

    bool IsNone() const { return data == nullptr && size == 0; }
    bool Is(const Bytes& expected) const
    {
        return size == expected.size() && std::equal(expected.begin(), expected.end(), data);
    }
};

// What is missing is missing as a whole.
bool AreUnitsOf(const std::vector<Bytes>& units, const Bytes& stream)
{
    for (auto at = stream.begin(); at != stream.end();) {
        const auto unit = std::find_if(units.begin(), units.end(), [&](const Bytes& candidate) {
            return stream.end() - at >= ptrdiff_t(candidate.size()) &&
                   std::equal(candidate.begin(), candidate.end(), at);
        });
        if (unit == units.end())
            return false;
        at += ptrdiff_t(unit->size());
    }
    return true;
}

class MemoryShortage : public CodecTest
{};

INSTANTIATE_TEST_SUITE_P(, MemoryShortage, bothCodecs, nameOfCodec);

}  // namespace

// All units and a flush are one step. They outgrow every block of a small handle: an SPS of more than 1024
// bytes, a key frame that gets parameter sets inserted, units that wait for the next picture.
TEST_P(MemoryShortage, AnalysisSurvivesIt)
{
    const AvcSps avcSps = {.pic_order_cnt_type = 1,
                           .offset_for_ref_frame = std::vector<int32_t>(255, -70000)};
    const HevcSps hevcSps = {.refPicSets = std::vector<HevcRefPicSet>(64, {16, 2})};
    const auto slice = [&](bool isKey, uint32_t picture) {
        const Bytes data(50 + picture * 100, 0x11);
        return codec.IsAvc() ? AvcSlice{.nal_unit_type = isKey ? 5u : 1u,
                                        .frame_num = isKey ? 0 : picture,
                                        .idr_pic_id = picture,
                                        .sliceData = data}
                                   .Write(avcSps)
                             : HevcSlice{.nal_unit_type = isKey ? 20u : 1u, .sliceData = data}.Write();
    };
    const Bytes& delimiter = codec.delimiter;
    std::vector<Bytes> units = {delimiter, avcSps.Write(), AvcPps{}.Write()};
    if (!codec.IsAvc())
        units = {delimiter, HevcVps{}.Write(), hevcSps.Write(), HevcPps()};
    for (const Bytes& unit : {Sei(), slice(true, 0), delimiter, Sei(), slice(false, 1), delimiter,
                              slice(true, 2), delimiter, Sei(), slice(false, 3)})
        units.push_back(unit);
    void* handle = nullptr;
    Bytes normal;
    Bytes reported;
    reported.reserve(10000);  // more than is reported, so that nothing is allocated here
    const auto analyse = [&]() -> int64_t {
        reported.clear();
        for (size_t i = 0; i <= units.size(); ++i) {
            VideoInfo info;
            ParseVideoParams(handle, i < units.size() ? units[i].data() : nullptr,
                             i < units.size() ? Size(units[i]) : 0, &info);
            if (info.accessUnitFound)
                reported.insert(reported.end(), info.accessUnitData,
                                info.accessUnitData + info.accessUnitSize);
        }
        return reported == normal ? 0 : -1;
    };
    const auto create = [this](void** made) { return ParseCreate(made, codec.type, 2, 16); };
    ASSERT_EQ(create(&handle), 0);
    analyse();
    normal = reported;
    EXPECT_GE(normal.size(), Join(units).size());
    EXPECT_EQ(ParseRelease(handle), 0);
    const auto areUnits = [&](bool) {
        return reported.size() <= normal.size() && AreUnitsOf(units, reported);
    };
    ExpectEveryShortageSurvived({create, ParseRelease, handle, {{"ParseVideoParams ", analyse, areUnits}}},
                                12);
}

TEST_P(MemoryShortage, UserDataSurvivesIt)
{
    const Bytes few = {1, 2, 3};
    const Bytes many(3100000, 7);  // more than any block holds at first
    const Bytes slice = Key() + Bytes(200000, 7);
    const Bytes other = SeiMessage(1, Bytes(130000, 7));
    const Bytes plain = Sei(other) + slice;
    const Bytes withFew = Sei(other + UserDataMessage(few)) + slice;
    const Bytes withMany = Sei(other + UserDataMessage(many)) + slice;
    void* handle = nullptr;
    Result got, added, addedMany, removed;
    const auto remove = [&](const Bytes& stream) {
        return RemoveUserData(handle, stream.data(), Size(stream), &removed.data, &removed.size);
    };
    const auto add = [&](const Bytes& userData, Result& result) {
        return AddUserData(handle, plain.data(), Size(plain), userData.data(), Size(userData), &result.data,
                           &result.size);
    };
    const std::vector<Session::Step> steps = {
        {"RemoveUserData of few ", [&] { return remove(withFew); },
         [&](bool succeeded) { return succeeded ? removed.Is(plain) : removed.IsNone(); }},
        {"GetUserData ",
         [&] { return GetUserData(handle, withMany.data(), Size(withMany), &got.data, &got.size); },
         [&](bool succeeded) { return succeeded ? got.Is(many) : got.IsNone(); }},
        {"AddUserData ", [&] { return add(few, added); },
         [&](bool succeeded) { return succeeded ? added.Is(withFew) : added.IsNone() && got.Is(many); }},
        {"AddUserData of many ", [&] { return add(many, addedMany); },
         [&](bool succeeded) {
             return succeeded ? addedMany.Is(withMany) : addedMany.IsNone() && added.Is(withFew);
         }},
        {"RemoveUserData ", [&] { return remove(withMany); },
         [&](bool succeeded) {
             return addedMany.Is(withMany) && (succeeded ? removed.Is(plain) : removed.IsNone());
         }},
    };
    const auto create = [&](void** made) {
        got = added = addedMany = removed = Result{};
        return UserDataCreate(made, codec.type);
    };
    ExpectEveryShortageSurvived({create, UserDataRelease, handle, steps}, 13);
}

TEST(AvcMemoryShortage, QueriesAndExchangeSurviveIt)
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
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    unsigned char* unit = nullptr;
    unsigned int unitSize = 0;
    bool isSlice = false;
    unsigned int headerLength = 0;
    const auto takeUnits = [&](size_t number) {
        int64_t result = SetVideoData(handle, stream.data(), Size(stream));
        for (size_t i = 0; i < number && result == 0; ++i)
            result = GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength);
        return result;
    };
    // A parameter set whose record cannot be kept is returned anyway.
    const auto isRightUnit = [&](bool succeeded, bool expectedSlice, uint32_t expectedLength) {
        if (succeeded)
            return isSlice == expectedSlice && headerLength == expectedLength;
        return !isSlice && headerLength == 0 && (unit == nullptr ? unitSize == 0 : unit < firstSlice);
    };
    std::vector<Session::Step> steps = {
        {"QueryType ", [&] { return QueryType(handle, stream.data(), Size(stream), type); },
         [&](bool succeeded) { return type == (succeeded ? VideoPicAllP : VideoPicUnknown); }},
        {"GetNalFromFrame ",
         [&] { return GetNalFromFrame(handle, stream.data(), Size(stream), &count, &units, &sizes); },
         [&](bool succeeded) {
             return succeeded ? count == 6 && sizes[0] == Size(sps) && units[1] == &stream[sps.size()]
                              : count == 0 && units == nullptr && sizes == nullptr;
         }},
        {"GetParameterSetData ", [&] { return GetParameterSetData(handle, sets.data(), Size(sets), &found); },
         [&](bool succeeded) {
             const Result foundSps = {found.sps, found.spsSize};
             const Result foundPps = {found.pps, found.ppsSize};
             return succeeded ? foundSps.Is(sps) && foundPps.Is(pps) : foundSps.IsNone() && foundPps.IsNone();
         }},
        {"GetNalUnit ", [&] { return takeUnits(2); },
         [&](bool succeeded) { return isRightUnit(succeeded, false, 0); }},
        {"GetNalUnit of a long header ", [&] { return takeUnits(5); },
         [&](bool succeeded) { return isRightUnit(succeeded, true, (1 + 5 + 3 + 4 + 20004) / 8 + 1); }},
        {"VideoSampleTest ", [&] { return VideoSampleTest(handle, stream.data(), Size(stream), &test); },
         [&](bool succeeded) {
             return succeeded ? test.isFrame == 1 : test.isFrame + test.sampleError == 0;
         }},
        {"SetParameterSetData ",
         [&] { return SetParameterSetData(handle, sps.data(), Size(sps), pps.data(), Size(pps)); },
         [](bool) { return true; }},
    };
    const auto create = [](void** made) { return ParseCreate(made, VideoCodecAVC, 2, 100); };
    // Each of them once the first, which has all the allocations before it.
    for (size_t i = 0; i < steps.size(); ++i) {
        ExpectEveryShortageSurvived({create, ParseRelease, handle, steps}, 20);
        std::rotate(steps.begin(), steps.begin() + 1, steps.end());
    }
}

}  // namespace videoparams::test
