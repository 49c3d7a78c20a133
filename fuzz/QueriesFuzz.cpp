// Queries and the exchange of parameter sets, in any order with everything else on the same handle.

#include "FuzzInput.h"

#include <cstring>

namespace {

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

void CheckGet(void* handle, const CHeapCopy& piece, const std::vector<Bytes>& units)
{
    ParameterSetData sets;
    std::memset(&sets, 0xAA, sizeof sets);
    const int64_t result = GetParameterSetData(handle, piece.Data(), piece.Size(), &sets);
    if (piece.Size() == 0) {
        REQUIRE(result == -1);
        return;
    }
    REQUIRE(result == (units.empty() && piece.Size() >= 5 ? -1 : 0));
    REQUIRE(sets.vps == nullptr && sets.vpsSize == 0);
    REQUIRE(Equals(LastOfType(units, 7), sets.sps, sets.spsSize));
    REQUIRE(Equals(LastOfType(units, 8), sets.pps, sets.ppsSize));
}

// Stateless: what a used handle says, a fresh one says too.
void CheckQuery(void* handle, const CHeapCopy& piece)
{
    const CParseHandle fresh(VideoCodecAVC, 1, 1);
    VideoPicType type = VideoPicB;
    VideoPicType freshType = VideoPicSI;
    const int64_t result = QueryType(handle, piece.Data(), piece.Size(), type);
    REQUIRE(QueryType(fresh.handle, piece.Data(), piece.Size(), freshType) == result);
    REQUIRE(type == freshType && (result == 0 || type == VideoPicUnknown));
}

void CheckSampleTest(void* handle, const CHeapCopy& piece)
{
    VideoInfoEx test{7, 7, 7};
    const int64_t result = VideoSampleTest(handle, piece.Data(), piece.Size(), &test);
    REQUIRE(result == 0 || result == -1);
    REQUIRE(test.sampleError <= 1 && test.isFrame <= 1 && test.isIntra <= 1);
    REQUIRE(result == 0 || (test.isFrame == 0 && test.isIntra == 0));
}

void CheckSet(void* handle, const CHeapCopy& piece)
{
    const uint32_t half = piece.Size() / 2;
    const CHeapCopy sps(piece.Data(), half);
    const CHeapCopy pps(piece.Data() + half, piece.Size() - half);
    const int64_t result = SetParameterSetData(handle, sps.Data(), sps.Size(), pps.Data(), pps.Size());
    REQUIRE(result == 0 || result == -1);
    REQUIRE(half != 0 || result == -1);
}

void Analyse(void* handle, const CHeapCopy& piece)
{
    VideoInfo info;
    const int64_t result = ParseVideoParams(handle, piece.Data(), piece.Size(), &info);
    REQUIRE(result == 0 || result == -1);
}

void Iterate(void* handle, const CHeapCopy& piece)
{
    SetVideoData(handle, piece.Data(), piece.Size());
    for (uint32_t i = 0; i < piece.Size() / 3 + 1; ++i) {
        unsigned char* unit = nullptr;
        unsigned int unitSize = 0;
        bool isSlice = false;
        unsigned int headerLength = 0;
        GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength);
    }
    SetVideoData(handle, nullptr, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const Bytes& stream = input.Stream();
    const CParseHandle handle(VideoCodecAVC, 2, 50);
    size_t begin = 0;
    for (int step = 0; step < 20 && begin <= stream.size(); ++step) {
        const uint32_t operation = input.Choose(6);
        const size_t wanted = input.Choose(16) * 8;
        const size_t end = wanted == 0 ? stream.size() : std::min(stream.size(), begin + wanted);
        const CHeapCopy piece(stream.data() + begin, end - begin);
        switch (operation) {
        case 0:
            CheckSampleTest(handle.handle, piece);
            break;
        case 1:
            CheckQuery(handle.handle, piece);
            break;
        case 2:
            CheckGet(handle.handle, piece, SplitPlainly(Bytes(piece.Data(), piece.Data() + piece.Size())));
            break;
        case 3:
            CheckSet(handle.handle, piece);
            break;
        case 4:
            Analyse(handle.handle, piece);
            break;
        default:
            Iterate(handle.handle, piece);
            break;
        }
        begin = end == stream.size() ? input.Choose(256) : end;
    }
    return 0;
}
