// Splitting and iteration give the units of the rule itself, and all search kernels find the same.

#include "FuzzInput.h"
#include "bitstream/ByteScan/Kernels.h"

#include <algorithm>

namespace {

void CheckKernels(Bytes stream)
{
    using videoparams::byteScanKernels;
    using videoparams::plainKernel;
    static CRoom room;
    const unsigned char* const begin = stream.data();
    const unsigned char* const end = begin + stream.size();
    const unsigned char* const prefix = plainKernel.findStartCodePrefix(begin, end);
    const unsigned char* const pair = plainKernel.findZeroPair(begin, end);
    for (auto kernel = byteScanKernels; *kernel != nullptr; ++kernel) {
        if (!(*kernel)->supported())
            continue;
        unsigned char* const destination = room.Put(stream);
        std::fill_n(destination, stream.size(), static_cast<unsigned char>(0xA5));
        REQUIRE((*kernel)->findStartCodePrefix(begin, end) == prefix);
        REQUIRE((*kernel)->findZeroPair(begin, end) == pair);
        REQUIRE((*kernel)->copyToStartCodePrefix(begin, end, destination) == prefix);
        REQUIRE(Equal({begin, prefix}, {destination, static_cast<size_t>(prefix - begin)}));
    }
}

// At the beginning, and where a search goes on after a match.
void CheckKernelsFromSomePlaces(Bytes stream, CFuzzInput& input)
{
    CheckKernels(stream);
    for (uint32_t places = input.Choose(4); places > 0; --places)
        CheckKernels(stream.subspan(std::min<size_t>(stream.size(), input.Choose(256))));
}

void CheckSplit(void* handle, unsigned char* data, uint32_t size, const std::vector<Bytes>& units)
{
    unsigned int count = 7;
    unsigned char** addresses = nullptr;
    unsigned int* sizes = nullptr;
    const int64_t result = GetNalFromFrame(handle, data, size, &count, &addresses, &sizes);
    REQUIRE(result == (units.empty() && size >= 5 ? -1 : 0));
    REQUIRE(count == units.size());
    REQUIRE((count == 0) == (addresses == nullptr) && (count == 0) == (sizes == nullptr));
    for (unsigned int i = 0; i < count; ++i)
        REQUIRE(addresses[i] == units[i].data() && sizes[i] == units[i].size());
}

bool IsSkipped(Bytes unit)
{
    return HeaderOffset(unit) == unit.size() || unit[HeaderOffset(unit)] >= 0x80;
}

void CheckIteration(void* handle, unsigned char* data, uint32_t size, const std::vector<Bytes>& units)
{
    REQUIRE(SetVideoData(handle, data, size) == 0);
    for (size_t i = 0; i <= units.size(); ++i) {
        unsigned char* unit = data;
        unsigned int unitSize = 7;
        bool isSlice = true;
        unsigned int headerLength = 7;
        const int64_t result = GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength);
        if (i == units.size() || IsSkipped(units[i])) {
            REQUIRE(result == -1 && unit == nullptr && unitSize == 0 && !isSlice && headerLength == 0);
            continue;
        }
        REQUIRE(result == 0 && unit == units[i].data() && unitSize == units[i].size());
        const uint32_t type = UnitType(units[i], VideoCodecAVC);
        REQUIRE(isSlice == (type == 1 || type == 2 || type == 5));
        REQUIRE(isSlice == (headerLength != 0));
        REQUIRE(headerLength <= unitSize + unitSize / 2);
    }
}

void CheckHevcWritesNothing(unsigned char* data, uint32_t size)
{
    static const CParseHandle handle(VideoCodecHEVC, 2, 1);
    unsigned char* unit = data;
    unsigned int unitSize = 7;
    bool isSlice = true;
    unsigned int headerLength = 9;
    unsigned char** units = &unit;
    unsigned int* sizes = &unitSize;
    REQUIRE(SetVideoData(handle, data, size) == 0);
    REQUIRE(GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength) == 0);
    REQUIRE(unit == data && unitSize == 7 && isSlice && headerLength == 9);
    REQUIRE(GetNalFromFrame(handle, data, size, &headerLength, &units, &sizes) == 0);
    REQUIRE(headerLength == 9 && units == &unit && sizes == &unitSize);
}

}  // namespace

// The choices say how often the handle does which of the two.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length)
{
    CFuzzInput input(bytes, length);
    const Bytes stream = input.Stream();
    auto* const data = const_cast<unsigned char*>(stream.data());  // is not written to
    const auto size = static_cast<uint32_t>(stream.size());
    static std::vector<Bytes> units;
    SplitPlainly(stream, units);
    CheckKernelsFromSomePlaces(stream, input);
    const CParseHandle handle(VideoCodecAVC, 2, 1);
    CheckIteration(handle, data, size, units);
    CheckSplit(handle, data, size, units);
    for (int round = 0; round < 3 && input.HasChoices(); ++round) {
        if (input.Choose(2) == 0)
            CheckIteration(handle, data, size, units);
        else
            CheckSplit(handle, data, size, units);
    }
    CheckHevcWritesNothing(data, size);
    return 0;
}
