// Queries and the exchange of parameter sets, in any order with everything else on the same handle: each
// answers by its rules, and the same on another handle of the same past whose queue has another size.

#include "FuzzInput.h"

#include <algorithm>
#include <cstring>
#include <deque>

namespace {

template <typename Record>
Record Marked()
{
    Record record;
    std::memset(static_cast<void*>(&record), 0xAA, sizeof record);
    return record;
}

template <typename Record>
bool IsUntouched(const Record& record)
{
    const Record marked = Marked<Record>();
    return std::memcmp(&record, &marked, sizeof record) == 0;
}

// A handle, the bytes of a call, and a digest of all that the call returned.
struct Call
{
    void* handle;
    VideoCodecType codec;
    unsigned char* data;
    uint32_t size;
    CDigest& answer;
};

void GetSets(const Call& call)
{
    static std::vector<Bytes> units;
    auto sets = Marked<ParameterSetData>();
    const int64_t result = GetParameterSetData(call.handle, call.data, call.size, &sets);
    call.answer.AddValue(result);
    if (call.size == 0 || call.codec == VideoCodecHEVC) {
        REQUIRE(result == (call.size == 0 ? -1 : 0) && IsUntouched(sets));
        return;
    }
    SplitPlainly({call.data, call.size}, units);
    Bytes last[2];  // the last SPS, the last PPS
    for (const Bytes unit : units) {
        const uint32_t type = HeaderOffset(unit) < unit.size() ? UnitType(unit, VideoCodecAVC) : 0;
        if (type == 7 || type == 8)
            last[type - 7] = unit;
    }
    REQUIRE(result == (units.empty() && call.size >= 5 ? -1 : 0));
    REQUIRE(sets.vps == nullptr && sets.vpsSize == 0);
    REQUIRE(Equal({sets.sps, sets.spsSize}, last[0]) && (sets.sps == nullptr) == last[0].empty());
    REQUIRE(Equal({sets.pps, sets.ppsSize}, last[1]) && (sets.pps == nullptr) == last[1].empty());
}

void SetSets(const Call& call)
{
    static CRoom spsRoom;
    const uint32_t half = call.size / 2;
    unsigned char* const sps = spsRoom.Put({call.data, half});
    const int64_t result = SetParameterSetData(call.handle, sps, half, call.data + half, call.size - half);
    REQUIRE(half == 0 ? result == -1 : call.codec == VideoCodecAVC || result == 0);
    call.answer.AddValue(result);
}

// Without state: what a used handle answers, one that answers nothing else answers too.
void Query(const Call& call)
{
    static const CParseHandle others[] = {{VideoCodecAVC, 2, 1}, {VideoCodecHEVC, 2, 1}};
    VideoPicType type = VideoPicB;
    VideoPicType otherType = VideoPicSI;
    const int64_t result = QueryType(call.handle, call.data, call.size, type);
    REQUIRE(QueryType(others[call.codec], call.data, call.size, otherType) == result && type == otherType);
    REQUIRE(result == 0 ? call.codec == VideoCodecAVC : type == VideoPicUnknown);
    call.answer.AddValue(type);
}

void TestSample(const Call& call)
{
    auto test = Marked<VideoInfoEx>();
    const int64_t result = VideoSampleTest(call.handle, call.data, call.size, &test);
    if (call.codec == VideoCodecHEVC)
        REQUIRE(result == 0 && IsUntouched(test));
    else
        REQUIRE(test.sampleError <= 1 && test.isFrame <= 1 && test.isIntra <= 1 &&
                (result == 0 || (test.isFrame == 0 && test.isIntra == 0)));
    call.answer.AddValue(result).AddValue(test);
}

// An empty piece flushes.
void Analyse(const Call& call)
{
    auto info = Marked<VideoInfo>();
    call.answer.AddValue(ParseVideoParams(call.handle, call.data, call.size, &info));
    call.answer.Add({info.accessUnitData, info.accessUnitSize});
    info.accessUnitData = nullptr;
    call.answer.AddValue(info);
}

void Split(const Call& call)
{
    auto count = Marked<unsigned int>();
    auto units = Marked<unsigned char**>();
    auto sizes = Marked<unsigned int*>();
    call.answer.AddValue(GetNalFromFrame(call.handle, call.data, call.size, &count, &units, &sizes));
    if (call.codec == VideoCodecHEVC) {
        REQUIRE(IsUntouched(count) && IsUntouched(units) && IsUntouched(sizes));
        return;
    }
    call.answer.AddValue(count);
    for (unsigned int i = 0; i < count; ++i)
        call.answer.Add({units[i], sizes[i]});
}

void BeginIteration(const Call& call)
{
    call.answer.AddValue(SetVideoData(call.handle, call.data, call.size));
}

void TakeUnit(const Call& call)
{
    auto unit = Marked<unsigned char*>();
    auto unitSize = Marked<unsigned int>();
    bool isSlice = true;
    auto headerLength = Marked<unsigned int>();
    call.answer.AddValue(GetNalUnit(call.handle, &unit, &unitSize, &isSlice, &headerLength));
    if (call.codec == VideoCodecHEVC)
        REQUIRE(IsUntouched(unit) && IsUntouched(unitSize) && isSlice && IsUntouched(headerLength));
    else
        call.answer.Add({unit, unitSize}).AddValue(isSlice).AddValue(headerLength);
}

constexpr void (*operations[])(const Call&) = {
    TestSample, Query, GetSets, SetSets, Analyse, BeginIteration, TakeUnit, TakeUnit, Split,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length)
{
    CFuzzInput input(bytes, length);
    const VideoCodecType codec = input.ChooseCodec();
    const CParseHandle one(codec, 2 + input.Choose(5), 1 + input.Choose(200));
    const CParseHandle other(codec, 3, 40);
    const Bytes stream = input.Stream();
    std::deque<CRoom> rooms;  // an iteration needs its bytes to stay
    size_t begin = 0;
    for (int step = 0; begin <= stream.size() && (step == 0 || input.HasChoices()); ++step) {
        const auto operation = operations[input.Choose(std::size(operations))];
        const size_t wanted = input.Choose(16) * 8;
        const Bytes piece = stream.subspan(begin, wanted == 0 ? std::dynamic_extent
                                                              : std::min(wanted, stream.size() - begin));
        unsigned char* const data = rooms.emplace_back().Put(piece);
        const auto size = static_cast<uint32_t>(piece.size());
        CDigest answer;
        CDigest otherAnswer;
        operation({one, codec, data, size, answer});
        operation({other, codec, data, size, otherAnswer});
        REQUIRE(answer == otherAnswer);
        begin += piece.size();
        if (begin == stream.size())
            begin = input.Choose(256);
    }
    return 0;
}
