#include "stream/container/SampleForm.h"

#include "videoparams/nal_feeder.hpp"

#include <cstring>

namespace tool {

namespace {

constexpr unsigned char StartCode[] = {0, 0, 0, 1};

// Reads big-endian numbers; after the end, zeros.
class CByteReader
{
public:
    CByteReader(const unsigned char* data, size_t size) : position(data), end(data + size) {}

    uint32_t Number(uint32_t byteCount)
    {
        uint32_t number = 0;
        for (uint32_t i = 0; i < byteCount; ++i)
            number = number << 8 | (position < end ? *position++ : 0u);
        return number;
    }

    void Skip(size_t count) { position += std::min(count, Left()); }
    size_t Left() const { return static_cast<size_t>(end - position); }
    const unsigned char* Position() const { return position; }

private:
    const unsigned char* position;
    const unsigned char* end;
};

void AddSet(SampleForm& form, const unsigned char* unit, size_t size)
{
    std::vector<unsigned char>& set =
        form.parameterSets.emplace_back(std::begin(StartCode), std::end(StartCode));
    set.insert(set.end(), unit, unit + size);
}

// False if the record ends here.
bool ReadSets(CByteReader& bytes, uint32_t count, bool isWanted, SampleForm& form)
{
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t size = bytes.Number(2);
        if (size == 0 || size > bytes.Left())
            return false;
        if (isWanted)
            AddSet(form, bytes.Position(), size);
        bytes.Skip(size);
    }
    return true;
}

// AVCDecoderConfigurationRecord, ISO/IEC 14496-15 5.3.3.1
SampleForm ReadAvcDescription(CByteReader bytes)
{
    SampleForm form;
    bytes.Skip(4);  // configurationVersion, AVCProfileIndication, profile_compatibility, AVCLevelIndication
    form.lengthSize = (bytes.Number(1) & 3) + 1;
    if (ReadSets(bytes, bytes.Number(1) & 31, true, form))
        ReadSets(bytes, bytes.Number(1), true, form);
    return form;
}

// HEVCDecoderConfigurationRecord, ISO/IEC 14496-15 8.3.3.1. The arrays may hold SEI units, too.
SampleForm ReadHevcDescription(CByteReader bytes)
{
    constexpr uint32_t FirstType = 32;  // VPS_NUT
    constexpr uint32_t LastType = 34;   // PPS_NUT
    SampleForm form;
    bytes.Skip(21);  // from configurationVersion to avgFrameRate
    form.lengthSize = (bytes.Number(1) & 3) + 1;
    const uint32_t numOfArrays = bytes.Number(1);
    for (uint32_t i = 0; i < numOfArrays; ++i) {
        const uint32_t type = bytes.Number(1) & 63;
        const uint32_t numNalus = bytes.Number(2);
        if (!ReadSets(bytes, numNalus, type >= FirstType && type <= LastType, form))
            break;
    }
    return form;
}

bool BeginsWithStartCode(const unsigned char* data, size_t size)
{
    return (size >= 4 && std::memcmp(data, StartCode, 4) == 0) ||
           (size >= 3 && std::memcmp(data, StartCode + 1, 3) == 0);
}

}  // namespace

SampleForm ReadSampleForm(VideoCodecType codec, const unsigned char* description, size_t size)
{
    SampleForm form;
    const size_t shortest = codec == VideoCodecAVC ? 7 : 23;
    if (BeginsWithStartCode(description, size)) {
        CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
        const auto takeSet = [&](const unsigned char* unit, unsigned int unitSize) {
            const unsigned int startCodeLength = unit[2] == 1 ? 3 : 4;
            AddSet(form, unit + startCodeLength, unitSize - startCodeLength);
        };
        feeder.Feed(description, size, takeSet);
        feeder.Finish(takeSet);
        return form;
    }
    if (size < shortest)
        return form;
    const CByteReader bytes(description, size);
    return codec == VideoCodecAVC ? ReadAvcDescription(bytes) : ReadHevcDescription(bytes);
}

size_t CSampleCutter::Cut(uint32_t lengthSize, unsigned char* sample, size_t size, const TakeUnit& takeUnit)
{
    return lengthSize == 0 ? CutAtStartCodes(sample, size, takeUnit)
                           : CutAtLengths(lengthSize, sample, size, takeUnit);
}

size_t CSampleCutter::CutAtStartCodes(const unsigned char* sample, size_t size, const TakeUnit& takeUnit)
{
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
    size_t skipped = 0;
    const auto takeSkipped = [&](const unsigned char*, size_t count) { skipped += count; };
    feeder.Feed(sample, size, takeUnit, takeSkipped);
    feeder.Finish(takeUnit, takeSkipped);
    return skipped;
}

size_t CSampleCutter::CutAtLengths(uint32_t lengthSize, unsigned char* sample, size_t size,
                                   const TakeUnit& takeUnit)
{
    size_t offset = 0;
    while (size - offset >= lengthSize) {
        const uint32_t length = CByteReader(sample + offset, lengthSize).Number(lengthSize);
        if (length > size - offset - lengthSize)
            break;
        unsigned char* const field = sample + offset;
        offset += lengthSize + length;
        if (lengthSize == sizeof StartCode) {
            std::memcpy(field, StartCode, sizeof StartCode);
            takeUnit(field, sizeof StartCode + length);
            continue;
        }
        unit.assign(std::begin(StartCode), std::end(StartCode));
        unit.insert(unit.end(), field + lengthSize, field + lengthSize + length);
        takeUnit(unit.data(), unit.size());
    }
    return size - offset;
}

}  // namespace tool
