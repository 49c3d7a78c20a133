// The module of the inspector page: what the tool knows about streams. Reports go to the standard output,
// which the page reads.

#include "inspect/Inspection.h"
#include "inspect/UnitElements.h"
#include "report/InfoReport.h"
#include "stream/Detection.h"
#include "stream/SeiUnit.h"
#include "stream/UnitNames.h"
#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((used, visibility("default")))

namespace {

using tool::NalUnit;

// No real unit comes near to this. A damaged or foreign file must not fill the memory.
constexpr uint32_t LargestUnit = 256 << 20;

// One stream, in pieces.
class CPageStream
{
public:
    explicit CPageStream(const tool::SourceFacts& given)
        : facts(given), inspection(facts), feeder(CNalFeeder::ShortUnits::Separate, LargestUnit)
    {}

    void Take(const unsigned char* data, uint32_t size)
    {
        counts.bytes += size;
        feeder.Feed(
            data, size,
            [this](const unsigned char* unit, unsigned int unitSize) { TakeUnit(unit, unitSize); },
            [this](const unsigned char* bytes, size_t count) { Skip(bytes, count); });
    }

    // Parameter sets from the description of a container's samples.
    void TakeOutOfBand(const unsigned char* data, uint32_t size)
    {
        CNalFeeder cutter;
        const auto take = [this](const unsigned char* unit, unsigned int unitSize) {
            inspection.Take(NalUnit{.codec = facts.codec,
                                    .data = unit,
                                    .size = unitSize,
                                    .number = counts.units++,
                                    .isOutOfBand = true});
        };
        cutter.Feed(data, size, take);
        cutter.Finish(take);
    }

    void Finish()
    {
        feeder.Finish([this](const unsigned char* unit, unsigned int unitSize) { TakeUnit(unit, unitSize); },
                      [this](const unsigned char* bytes, size_t count) { Skip(bytes, count); });
        inspection.Finish(counts);
    }

    tool::CInspection& Inspection() { return inspection; }

private:
    void TakeUnit(const unsigned char* unit, unsigned int size)
    {
        isLeading = false;
        inspection.Take(NalUnit{facts.codec, unit, size, feeder.Offset(), counts.units++});
    }

    // Zeros before the first start code are allowed.
    void Skip(const unsigned char* bytes, size_t size)
    {
        isLeading =
            isLeading && std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
        if (!isLeading)
            counts.skippedBytes += size;
    }

    tool::SourceFacts facts;
    tool::SourceCounts counts;
    tool::CInspection inspection;
    CNalFeeder feeder;
    bool isLeading = true;
};

// A copy of an access unit without user data: of this library, or of all programs.
std::vector<unsigned char> WithoutUserData(VideoCodecType codec, const unsigned char* data, uint32_t size,
                                           bool removesAll)
{
    const auto isRemoved = [removesAll](const tool::SeiMessageView& message) {
        return message.IsUserData() && (removesAll || message.IsOfLibrary());
    };
    std::vector<unsigned char> copy;
    const auto take = [&](const unsigned char* bytes, unsigned int unitSize) {
        const NalUnit unit{.codec = codec, .data = bytes, .size = unitSize};
        if (!unit.IsAnySei()) {
            copy.insert(copy.end(), bytes, bytes + unitSize);
            return;
        }
        const std::vector<unsigned char> left = tool::CSeiUnit(unit).Without(isRemoved);
        copy.insert(copy.end(), left.begin(), left.end());
    };
    CNalFeeder cutter(CNalFeeder::ShortUnits::Separate);
    cutter.Feed(data, size, take);
    cutter.Finish(take);
    return copy;
}

std::vector<unsigned char> edited;
std::optional<CPageStream> stream;
std::unique_ptr<unsigned char[]> room;
uint32_t roomSize = 0;

}  // namespace

EXPORT unsigned char* Room(uint32_t size)
{
    if (size > roomSize) {
        room.reset(new unsigned char[size]);
        roomSize = size;
    }
    return room.get();
}

EXPORT void OpenStream(VideoCodecType codec)
{
    stream.emplace(tool::SourceFacts{.name = "", .codec = codec});
}

EXPORT void TakeBytes(uint32_t size)
{
    stream->Inspection().ForgetRecords();
    stream->Take(room.get(), size);
}

EXPORT void TakeOutOfBand(uint32_t size)
{
    stream->Inspection().ForgetRecords();
    stream->TakeOutOfBand(room.get(), size);
}

EXPORT void FinishStream()
{
    stream->Inspection().ForgetRecords();
    stream->Finish();
}

EXPORT const tool::UnitRecord* UnitRecords()
{
    return stream->Inspection().Units().data();
}

EXPORT uint32_t UnitRecordCount()
{
    return static_cast<uint32_t>(stream->Inspection().Units().size());
}

EXPORT const tool::AccessUnitRecord* AccessUnitRecords()
{
    return stream->Inspection().AccessUnits().data();
}

EXPORT uint32_t AccessUnitRecordCount()
{
    return static_cast<uint32_t>(stream->Inspection().AccessUnits().size());
}

EXPORT void PrintInfo(bool isJson)
{
    const tool::InfoResult& info = stream->Inspection().Info();
    const auto report = tool::MakeInfoReport({.isJson = isJson}, false);
    report->Begin(info.facts);
    report->End(info);
    report->Close();
    if (!isJson && info.IsDamaged())
        std::puts(info.DescribeDamage().c_str());
    std::fflush(stdout);
}

EXPORT void PrintLists()
{
    std::puts(stream->Inspection().Lists().ToJson().dump().c_str());
    std::fflush(stdout);
}

// The unit is in the room.
EXPORT void PrintElements(VideoCodecType codec, uint32_t size, double number)
{
    const NalUnit unit{
        .codec = codec, .data = room.get(), .size = size, .number = static_cast<uint64_t>(number)};
    std::puts(tool::ReadElements(unit, stream->Inspection().Lists()).dump().c_str());
    std::fflush(stdout);
}

// Of the access unit in the room. Returns the size of the copy.
EXPORT uint32_t WithoutUserDataOf(VideoCodecType codec, uint32_t size, bool removesAll)
{
    edited = WithoutUserData(codec, room.get(), size, removesAll);
    return static_cast<uint32_t>(edited.size());
}

EXPORT const unsigned char* Edited()
{
    return edited.data();
}

EXPORT int32_t DetectCodec(uint32_t size)
{
    const std::optional<VideoCodecType> codec = tool::RateCodecs(room.get(), size).Best();
    return codec ? static_cast<int32_t>(*codec) : -1;
}

EXPORT void PrintUnitTypeName(VideoCodecType codec, uint32_t nal_unit_type)
{
    std::puts(tool::UnitTypeName(codec, nal_unit_type).c_str());
    std::fflush(stdout);
}
