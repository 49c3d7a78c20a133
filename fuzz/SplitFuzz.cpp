// Splitting and iteration: the units of the rule itself; and all search kernels find the same.

#include "FuzzInput.h"
#include "bitstream/ByteScan/Kernels.h"

#include <algorithm>

namespace {

void CheckKernels(const CHeapCopy& stream)
{
    using videoparams::byteScanKernels;
    using videoparams::plainKernel;
    const unsigned char* const end = stream.Data() + stream.Size();
    for (auto kernel = byteScanKernels; *kernel != nullptr; ++kernel) {
        if (!(*kernel)->supported())
            continue;
        for (const unsigned char* at = stream.Data(); at < end; at += 1 + stream.Size() / 64) {
            REQUIRE((*kernel)->findStartCodePrefix(at, end) == plainKernel.findStartCodePrefix(at, end));
            REQUIRE((*kernel)->findZeroPair(at, end) == plainKernel.findZeroPair(at, end));
            const CHeapCopy room(at, static_cast<size_t>(end - at));
            std::fill_n(room.Data(), room.Size(), static_cast<unsigned char>(0xA5));
            const unsigned char* const copied = (*kernel)->copyToStartCodePrefix(at, end, room.Data());
            REQUIRE(copied == plainKernel.findStartCodePrefix(at, end));
            REQUIRE(std::equal(at, copied, static_cast<const unsigned char*>(room.Data())));
        }
    }
}

void CheckSplit(void* handle, const CHeapCopy& stream, const std::vector<Bytes>& units)
{
    unsigned int count = 7;
    unsigned char** addresses = nullptr;
    unsigned int* sizes = nullptr;
    const int64_t result = GetNalFromFrame(handle, stream.Data(), stream.Size(), &count, &addresses, &sizes);
    REQUIRE(result == (units.empty() && stream.Size() >= 5 ? -1 : 0));
    REQUIRE(count == units.size());
    REQUIRE((count == 0) == (addresses == nullptr) && (count == 0) == (sizes == nullptr));
    for (unsigned int i = 0; i < count; ++i)
        REQUIRE(Bytes(addresses[i], addresses[i] + sizes[i]) == units[i]);
}

bool IsSkipped(const Bytes& unit)
{
    return HeaderOffset(unit) == unit.size() || unit[HeaderOffset(unit)] >= 0x80;
}

void CheckIteration(void* handle, const CHeapCopy& stream, const std::vector<Bytes>& units)
{
    REQUIRE(SetVideoData(handle, stream.Data(), stream.Size()) == 0);
    for (size_t i = 0; i <= units.size(); ++i) {
        unsigned char* unit = stream.Data();
        unsigned int unitSize = 7;
        bool isSlice = true;
        unsigned int headerLength = 7;
        const int64_t result = GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength);
        if (i == units.size() || IsSkipped(units[i])) {
            REQUIRE(result == -1 && unit == nullptr && unitSize == 0 && !isSlice && headerLength == 0);
            continue;
        }
        REQUIRE(result == 0 && Bytes(unit, unit + unitSize) == units[i]);
        const uint32_t type = UnitType(units[i], VideoCodecAVC);
        REQUIRE(isSlice == (type == 1 || type == 2 || type == 5));
        REQUIRE(isSlice == (headerLength != 0));
        REQUIRE(headerLength <= unitSize + unitSize / 2);
    }
}

void CheckHevcAnswersNothing(const CHeapCopy& stream)
{
    const CParseHandle handle(VideoCodecHEVC, 1, 1);
    unsigned char* unit = stream.Data();
    unsigned int unitSize = 7;
    bool isSlice = true;
    unsigned int headerLength = 9;
    unsigned char** units = &unit;
    unsigned int* sizes = &unitSize;
    REQUIRE(SetVideoData(handle.handle, stream.Data(), stream.Size()) == 0);
    REQUIRE(GetNalUnit(handle.handle, &unit, &unitSize, &isSlice, &headerLength) == 0);
    REQUIRE(unit == stream.Data() && unitSize == 7 && isSlice && headerLength == 9);
    REQUIRE(GetNalFromFrame(handle.handle, stream.Data(), stream.Size(), &headerLength, &units, &sizes) == 0);
    REQUIRE(headerLength == 9 && units == &unit && sizes == &unitSize);
}

}  // namespace

// The tail decides how often the handle does which of the two.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const CHeapCopy stream(input.Stream());
    const std::vector<Bytes> units = SplitPlainly(input.Stream());
    CheckKernels(stream);
    const CParseHandle handle(VideoCodecAVC, 1, 1);
    CheckIteration(handle.handle, stream, units);
    CheckSplit(handle.handle, stream, units);
    for (int round = 0; round < 3; ++round) {
        if (input.Choose(2) == 0)
            CheckIteration(handle.handle, stream, units);
        else
            CheckSplit(handle.handle, stream, units);
    }
    CheckHevcAnswersNothing(stream);
    return 0;
}
