#include "Stream.h"

#include "Pictures.h"
#include "streams/SeiMessages.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <random>

namespace bench {

namespace {

constexpr size_t PageSize = 4096;
constexpr size_t Padding = 64;

constexpr size_t CacheStreamSize = size_t{128} << 10;
constexpr size_t MemoryStreamSize = size_t{200} << 20;

// Longer than what a third-level cache or a branch predictor can remember.
constexpr size_t PeriodSize = size_t{40} << 20;
constexpr uint32_t GroupLength = 60;

constexpr size_t SmallestPayload = 100;

using Random = std::mt19937_64;

Bytes RandomPayload(size_t size, Random& random)
{
    Bytes payload(size);
    for (size_t i = 0; i < size; i += sizeof(uint64_t)) {
        const uint64_t bits = random();
        std::memcpy(&payload[i], &bits, std::min(sizeof bits, size - i));
    }
    std::replace(payload.begin(), payload.end(), AbsentByte, static_cast<unsigned char>(AbsentByte - 1));
    return payload;
}

Bytes AccessUnitBytes(const PictureWriter& writer, uint32_t index, size_t size, Random& random)
{
    using namespace videoparams::streams;
    Bytes bytes = writer.delimiter;
    if (index == 0)
        bytes += writer.parameterSets;
    bytes += writer.sei(UserDataMessage(Bytes(16, 'u')));
    const size_t payloadSize = std::max(SmallestPayload, size - std::min(size, bytes.size()));
    return bytes += writer.picture(index, RandomPayload(payloadSize, random));
}

// Whole groups of pictures, so that the stream is correct when it is repeated.
struct Period
{
    Bytes bytes;
    std::vector<size_t> sizes;  // of its access units

    void Add(const PictureWriter& writer, uint32_t index, size_t accessUnitSize, Random& random)
    {
        const Bytes added = AccessUnitBytes(writer, index, accessUnitSize, random);
        bytes.insert(bytes.end(), added.begin(), added.end());
        sizes.push_back(added.size());
    }
};

Stream Repeat(const Period& period, size_t size)
{
    const size_t repetitions = std::max<size_t>(1, (size + period.bytes.size() - 1) / period.bytes.size());
    Stream stream;
    stream.size = repetitions * period.bytes.size();
    stream.bytes = AllocatePages(stream.size);
    unsigned char* position = stream.bytes.get();
    for (size_t i = 0; i < repetitions; ++i) {
        std::memcpy(position, period.bytes.data(), period.bytes.size());
        for (const size_t unitSize : period.sizes) {
            stream.accessUnits.push_back({position, static_cast<unsigned int>(unitSize)});
            position += unitSize;
        }
    }
    return stream;
}

// With only one picture, the repetitions would be slices of the same picture.
Stream MakeCacheFillingStream(VideoCodecType codec)
{
    Random random(1);
    Period period;
    period.Add(PicturesOf(codec), 0, CacheStreamSize - 1500, random);
    period.Add(PicturesOf(codec), 1, 0, random);
    return Repeat(period, 0);
}

constexpr size_t AccessUnitSizes[] = {1500, 60000, 1 << 20};

}  // namespace

std::string StreamKey::Name() const
{
    static const char* const unitSizes[] = {"small", "medium", "large"};
    return std::string(codec == VideoCodecAVC ? "H264/" : "H265/") + unitSizes[static_cast<int>(unitSize)] +
           (residence == Residence::Cache ? "/cache" : "/memory");
}

PageBytes AllocatePages(size_t size)
{
    const size_t rounded = (size + Padding + PageSize - 1) / PageSize * PageSize;
    void* const memory = std::aligned_alloc(PageSize, rounded);
    if (memory == nullptr)
        throw std::bad_alloc();
    std::memset(memory, 0, rounded);
    return PageBytes(static_cast<unsigned char*>(memory));
}

Stream MakeStream(VideoCodecType codec, size_t accessUnitSize, size_t size)
{
    Random random(1);
    Period period;
    const size_t periodSize = std::min(size, PeriodSize);
    const size_t groupLength = std::clamp<size_t>(periodSize / accessUnitSize, 2, GroupLength);
    do {
        for (uint32_t index = 0; index < groupLength; ++index)
            period.Add(PicturesOf(codec), index, accessUnitSize, random);
    } while (period.bytes.size() + groupLength * accessUnitSize <= periodSize);
    return Repeat(period, size - std::min(size, period.bytes.size() / 2));
}

const Stream& GetStream(const StreamKey& key)
{
    static std::map<StreamKey, Stream> streams;
    const auto [entry, isNew] = streams.try_emplace(key);
    if (isNew) {
        const bool isCached = key.residence == Residence::Cache;
        if (isCached && key.unitSize == UnitSize::Large)
            entry->second = MakeCacheFillingStream(key.codec);
        else
            entry->second = MakeStream(key.codec, AccessUnitSizes[static_cast<int>(key.unitSize)],
                                       isCached ? CacheStreamSize : MemoryStreamSize);
    }
    return entry->second;
}

}  // namespace bench
