// The module of the inspector page: what the tool knows about streams. Reports go to the standard output,
// which the page reads.

#include "inspect/Inspection.h"
#include "inspect/UnitElements.h"
#include "report/JsonReport.h"
#include "stream/Detection.h"
#include "stream/SeiUnit.h"
#include "stream/UnitCutter.h"
#include "stream/UnitNames.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((used, visibility("default")))

namespace {

using tool::NalUnit;

// One stream, in pieces.
class CPageStream
{
public:
    explicit CPageStream(const tool::SourceFacts& facts)
        : inspection(facts), codec(facts.codec), cutter(codec, [this](const NalUnit& unit) { Take(unit); })
    {}

    void Take(const unsigned char* data, uint32_t size)
    {
        bytes += size;
        cutter.Take(data, size);
    }

    // Parameter sets that are beside the stream.
    void TakeOutOfBand(const unsigned char* data, uint32_t size)
    {
        tool::CUnitCutter setCutter(codec, [this](const NalUnit& unit) {
            NalUnit set = unit;
            set.offset = 0;
            set.isOutOfBand = true;
            Take(set);
        });
        setCutter.Take(data, size);
        setCutter.Finish();
    }

    void Finish()
    {
        cutter.Finish();
        inspection.Finish({.bytes = bytes, .units = unitCount, .skippedBytes = cutter.SkippedBytes()});
    }

    tool::CInspection& Inspection() { return inspection; }

private:
    void Take(NalUnit unit)
    {
        unit.number = unitCount++;
        inspection.Take(unit);
    }

    tool::CInspection inspection;
    VideoCodecType codec;
    tool::CUnitCutter cutter;
    uint64_t bytes = 0;
    uint64_t unitCount = 0;
};

// A copy of an access unit without user data: of this library, or of all programs.
std::vector<unsigned char> WithoutUserData(VideoCodecType codec, const unsigned char* data, uint32_t size,
                                           bool removesAll)
{
    const auto isRemoved = [removesAll](const tool::SeiMessageView& message) {
        return message.IsUserData() && (removesAll || message.IsOfLibrary());
    };
    std::vector<unsigned char> copy;
    const auto keep = [&](const unsigned char* bytes, size_t count) {
        copy.insert(copy.end(), bytes, bytes + count);
    };
    const auto take = [&](const NalUnit& unit) {
        if (!unit.IsAnySei()) {
            keep(unit.data, unit.size);
            return;
        }
        const std::vector<unsigned char> left = tool::CSeiUnit(unit).Without(isRemoved);
        copy.insert(copy.end(), left.begin(), left.end());
    };
    tool::CUnitCutter cutter(codec, take, keep);
    cutter.Take(data, size);
    cutter.Finish();
    return copy;
}

void Print(const std::string& line)
{
    std::puts(line.c_str());
    std::fflush(stdout);
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

EXPORT void PrintResults()
{
    Print(tool::Dump(stream->Inspection().Results()));
}

// The unit is in the room.
EXPORT void PrintElements(VideoCodecType codec, uint32_t size, double number)
{
    const NalUnit unit{
        .codec = codec, .data = room.get(), .size = size, .number = static_cast<uint64_t>(number)};
    Print(tool::Dump(tool::ReadElements(unit, stream->Inspection().Lists())));
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
    Print(tool::UnitTypeName(codec, nal_unit_type));
}
