// Queries and the exchange of parameter sets, in any order with everything else on the same handle: each
// answers by its rules, and the same on another handle of the same past.

#include "FuzzInput.h"

#include <cstring>
#include <deque>

namespace {

// All that a call said, to compare.
class CAnswer
{
public:
    template <typename Value>
    void Add(const Value& value)
    {
        Add(reinterpret_cast<const unsigned char*>(&value), sizeof value);
    }
    void Add(const unsigned char* data, size_t size)
    {
        if (size != 0)
            bytes.insert(bytes.end(), data, data + size);
    }
    bool operator==(const CAnswer& other) const { return bytes == other.bytes; }

private:
    Bytes bytes;
};

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

struct Handle
{
    void* handle;
    VideoCodecType codec;
};

Bytes LastOfType(const std::vector<Bytes>& units, uint32_t type)
{
    Bytes last;
    for (const Bytes& unit : units) {
        if (HeaderOffset(unit) < unit.size() && UnitType(unit, VideoCodecAVC) == type)
            last = unit;
    }
    return last;
}

bool Equals(const Bytes& wanted, const unsigned char* bytes, uint32_t size)
{
    return wanted.empty() ? bytes == nullptr && size == 0
                          : bytes != nullptr && wanted == Bytes(bytes, bytes + size);
}

void GetSets(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    auto sets = Marked<ParameterSetData>();
    const int64_t result = GetParameterSetData(h.handle, piece.Data(), piece.Size(), &sets);
    answer.Add(result);
    if (piece.Size() == 0 || h.codec == VideoCodecHEVC) {
        REQUIRE(result == (piece.Size() == 0 ? -1 : 0) && IsUntouched(sets));
        return;
    }
    const std::vector<Bytes> units = SplitPlainly(Bytes(piece.Data(), piece.Data() + piece.Size()));
    REQUIRE(result == (units.empty() && piece.Size() >= 5 ? -1 : 0));
    REQUIRE(sets.vps == nullptr && sets.vpsSize == 0);
    REQUIRE(Equals(LastOfType(units, 7), sets.sps, sets.spsSize));
    REQUIRE(Equals(LastOfType(units, 8), sets.pps, sets.ppsSize));
}

void SetSets(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    const uint32_t half = piece.Size() / 2;
    const CHeapCopy sps(piece.Data(), half);
    const CHeapCopy pps(piece.Data() + half, piece.Size() - half);
    const int64_t result = SetParameterSetData(h.handle, sps.Data(), sps.Size(), pps.Data(), pps.Size());
    REQUIRE(half == 0 ? result == -1 : h.codec == VideoCodecAVC || result == 0);
    answer.Add(result);
}

// Without state: what a used handle says, a fresh one says too.
void Query(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    const CParseHandle fresh(h.codec, 1, 1);
    VideoPicType type = VideoPicB;
    VideoPicType freshType = VideoPicSI;
    const int64_t result = QueryType(h.handle, piece.Data(), piece.Size(), type);
    REQUIRE(QueryType(fresh.handle, piece.Data(), piece.Size(), freshType) == result && type == freshType);
    REQUIRE(result == 0 ? h.codec == VideoCodecAVC : type == VideoPicUnknown);
    answer.Add(type);
}

void TestSample(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    auto test = Marked<VideoInfoEx>();
    const int64_t result = VideoSampleTest(h.handle, piece.Data(), piece.Size(), &test);
    if (h.codec == VideoCodecHEVC)
        REQUIRE(result == 0 && IsUntouched(test));
    else
        REQUIRE(test.sampleError <= 1 && test.isFrame <= 1 && test.isIntra <= 1 &&
                (result == 0 || (test.isFrame == 0 && test.isIntra == 0)));
    answer.Add(result);
    answer.Add(test);
}

// An empty piece flushes.
void Analyse(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    auto info = Marked<VideoInfo>();
    answer.Add(ParseVideoParams(h.handle, piece.Data(), piece.Size(), &info));
    answer.Add(info.accessUnitData, info.accessUnitSize);
    info.accessUnitData = nullptr;
    answer.Add(info);
}

void Split(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    auto count = Marked<unsigned int>();
    auto units = Marked<unsigned char**>();
    auto sizes = Marked<unsigned int*>();
    answer.Add(GetNalFromFrame(h.handle, piece.Data(), piece.Size(), &count, &units, &sizes));
    answer.Add(count);
    if (h.codec == VideoCodecHEVC) {
        REQUIRE(IsUntouched(count) && IsUntouched(units) && IsUntouched(sizes));
        return;
    }
    for (unsigned int i = 0; i < count; ++i)
        answer.Add(units[i], sizes[i]);
}

void BeginIteration(Handle h, const CHeapCopy& piece, CAnswer& answer)
{
    answer.Add(SetVideoData(h.handle, piece.Data(), piece.Size()));
}

void TakeUnit(Handle h, const CHeapCopy& /*piece*/, CAnswer& answer)
{
    auto unit = Marked<unsigned char*>();
    auto unitSize = Marked<unsigned int>();
    bool isSlice = true;
    auto headerLength = Marked<unsigned int>();
    answer.Add(GetNalUnit(h.handle, &unit, &unitSize, &isSlice, &headerLength));
    answer.Add(unitSize);
    answer.Add(isSlice);
    answer.Add(headerLength);
    if (h.codec == VideoCodecHEVC)
        REQUIRE(IsUntouched(unit) && IsUntouched(unitSize) && isSlice && IsUntouched(headerLength));
    else
        answer.Add(unit, unitSize);
}

constexpr void (*operations[])(Handle, const CHeapCopy&, CAnswer&) = {
    TestSample, Query, GetSets, SetSets, Analyse, BeginIteration, TakeUnit, TakeUnit, Split,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const uint32_t queueCount = 2 + input.Choose(5);
    const uint32_t queueSize = 1 + input.Choose(200);
    const CParseHandle one(codec, queueCount, queueSize);
    const CParseHandle two(codec, queueCount, queueSize);

    const Bytes& stream = input.Stream();
    std::deque<CHeapCopy> pieces;  // an iteration needs its own to stay
    size_t begin = 0;
    for (int step = 0; step < 30 && begin <= stream.size(); ++step) {
        const auto operation = operations[input.Choose(std::size(operations))];
        const size_t wanted = input.Choose(16) * 8;
        const size_t end = wanted == 0 ? stream.size() : std::min(stream.size(), begin + wanted);
        pieces.emplace_back(stream.data() + begin, end - begin);
        CAnswer answer;
        CAnswer otherAnswer;
        operation({one.handle, codec}, pieces.back(), answer);
        operation({two.handle, codec}, pieces.back(), otherAnswer);
        REQUIRE(answer == otherAnswer);
        begin = end == stream.size() ? input.Choose(256) : end;
    }
    return 0;
}
