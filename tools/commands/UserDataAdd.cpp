// Every byte of the stream passes through as it is. Of an access unit that gets the message, one unit is
// edited: the first SEI unit before its slices that takes it. If there is none, a new SEI unit is written
// before the first slice.

#include "commands/Commands.h"
#include "commands/Files.h"
#include "commands/UserDataPayload.h"
#include "report/EditReport.h"
#include "report/Message.h"
#include "stream/Handle.h"
#include "stream/SeiUnit.h"
#include "stream/StreamAnalysis.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace tool {

namespace {

// No real stream has so much before a picture. Beyond it, what is held is written without a message.
constexpr size_t MostHeld = 64 << 20;

// The library needs only the header of the slice that a message goes before.
constexpr uint32_t SliceHeadSize = 16;

constexpr uint32_t AvcUnitPrefix = 14;

using Bytes = std::vector<unsigned char>;

class CUserDataAdder
{
public:
    CUserDataAdder(const UserDataAddOptions& given, const SourceFacts& facts, CUnitSink& sink)
        : options(given), payload(given, facts), analysis(facts.codec), handle(facts.codec), output(sink)
    {}

    void Take(const NalUnit& unit);
    void TakeSkipped(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes, size_t size);
    void Finish() { WriteHeld(); }

    uint64_t Added() const { return added; }
    size_t PayloadSize() const { return payloadSize; }
    const CStreamAnalysis& Analysis() const { return analysis; }

private:
    bool IsWanted(const NalUnit& slice) const;
    void Hold(const NalUnit& unit);
    std::vector<NalUnit> TakeHeld();
    void WriteHeld();
    void RemoveEarlierMessages(std::vector<NalUnit>& units);
    void WriteWithMessage(const NalUnit& slice);
    void WriteSeiWithMessage(const NalUnit& sei, const std::string& data);
    void WriteNewSei(const NalUnit& slice, const std::string& data);
    Bytes AddMessage(const unsigned char* unit, uint32_t size, const std::string& data);
    void Write(const NalUnit& unit) { output.Write(unit.sample, unit.data, unit.size); }

    const UserDataAddOptions& options;
    CUserDataPayload payload;
    CStreamAnalysis analysis;
    CUserDataHandle handle;
    CUnitSink& output;
    uint64_t added = 0;
    size_t payloadSize = 0;  // of the last message

    std::vector<NalUnit> held;  // from the first leading unit after a slice on; the bytes are in heldBytes
    Bytes heldBytes;
    Bytes takenBytes;           // of the units that TakeHeld returned
    std::vector<Bytes> edited;  // what RemoveEarlierMessages made of some of them
};

void CUserDataAdder::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    if (unit.isOutOfBand)
        return;
    if (role == UnitRole::Leading || (role == UnitRole::Other && !held.empty())) {
        Hold(unit);
        return;
    }
    if (role == UnitRole::FirstSlice && IsWanted(unit)) {
        WriteWithMessage(unit);
        return;
    }
    WriteHeld();
    Write(unit);
}

void CUserDataAdder::TakeSkipped(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes,
                                 size_t size)
{
    WriteHeld();
    output.WriteOther(sample, bytes, size);
}

bool CUserDataAdder::IsWanted(const NalUnit& slice) const
{
    switch (options.where) {
    case Where::First:
        return added == 0;
    case Where::Key:
        return slice.IsKeySlice();
    default:
        return true;
    }
}

void CUserDataAdder::Hold(const NalUnit& unit)
{
    if (heldBytes.size() + unit.size > MostHeld)
        WriteHeld();
    held.push_back(unit);
    heldBytes.insert(heldBytes.end(), unit.data, unit.data + unit.size);
}

// The held units with the addresses of their bytes, which stay valid until the next call.
std::vector<NalUnit> CUserDataAdder::TakeHeld()
{
    std::swap(takenBytes, heldBytes);
    heldBytes.clear();
    const unsigned char* bytes = takenBytes.data();
    for (NalUnit& unit : held) {
        unit.data = bytes;
        bytes += unit.size;
    }
    return std::exchange(held, {});
}

void CUserDataAdder::WriteHeld()
{
    for (const NalUnit& unit : TakeHeld())
        Write(unit);
}

void CUserDataAdder::RemoveEarlierMessages(std::vector<NalUnit>& units)
{
    edited.clear();
    edited.reserve(units.size());
    for (NalUnit& unit : units) {
        if (!unit.IsSei() || unit.ForbiddenZeroBit())
            continue;
        edited.push_back(CSeiUnit(unit).Without([](const auto& message) { return message.IsOfLibrary(); }));
        unit.data = edited.back().data();
        unit.size = static_cast<uint32_t>(edited.back().size());
    }
    std::erase_if(units, [](const NalUnit& unit) { return unit.size == 0; });
}

void CUserDataAdder::WriteWithMessage(const NalUnit& slice)
{
    const std::string& data = payload.For(slice);
    std::vector<NalUnit> units = TakeHeld();
    if (options.replaces)
        RemoveEarlierMessages(units);
    const auto takesMessage = [](const NalUnit& unit) {
        return unit.IsSei() && CSeiUnit(unit).TakesMessage();
    };
    auto place = std::find_if(units.begin(), units.end(), takesMessage);
    const bool isNew = place == units.end();
    // A prefix unit must stay immediately before its slice, H.264 7.4.1.2.3.
    while (isNew && place != units.begin() && slice.codec == VideoCodecAVC &&
           place[-1].Type() == AvcUnitPrefix)
        --place;
    std::for_each(units.begin(), place, [this](const NalUnit& unit) { Write(unit); });
    if (isNew)
        WriteNewSei(slice, data);
    else
        WriteSeiWithMessage(*place++, data);
    std::for_each(place, units.end(), [this](const NalUnit& unit) { Write(unit); });
    Write(slice);
    ++added;
    payloadSize = data.size();
}

// The library drops zeros after an SEI unit; they are put back.
void CUserDataAdder::WriteSeiWithMessage(const NalUnit& sei, const std::string& data)
{
    const uint32_t zeros = TrailingZeros(sei);
    Bytes unit = AddMessage(sei.data, sei.size - zeros, data);
    unit.insert(unit.end(), zeros, 0);
    output.Write(sei.sample, unit.data(), unit.size());
}

void CUserDataAdder::WriteNewSei(const NalUnit& slice, const std::string& data)
{
    const uint32_t headSize = std::min(slice.size, SliceHeadSize);
    const Bytes unit = AddMessage(slice.data, headSize, data);
    output.Write(slice.sample, unit.data(), unit.size() - headSize);
}

Bytes CUserDataAdder::AddMessage(const unsigned char* unit, uint32_t size, const std::string& data)
{
    const unsigned char* result = nullptr;
    unsigned int resultSize = 0;
    if (AddUserData(handle, unit, size, reinterpret_cast<const unsigned char*>(data.data()),
                    static_cast<unsigned int>(data.size()), &result, &resultSize) != 0)
        throw std::bad_alloc();
    return {result, result + resultSize};
}

Status AddToFile(const UserDataAddOptions& options, CEditReport& report)
{
    const auto source = OpenSource(options.source);
    const auto output = source->OpenSink({.path = options.outputFile,
                                          .inputs = {options.dataFile, options.source.setsFile},
                                          .force = options.force});
    CUserDataAdder adder(options, source->Facts(), *output);
    source->ForEach([&](const NalUnit& unit) { adder.Take(unit); },
                    [&](const auto& sample, const unsigned char* bytes, size_t size) {
                        adder.TakeSkipped(sample, bytes, size);
                    });
    adder.Finish();
    if (adder.Added() == 0 && adder.Analysis().Current().hasSlice)
        throw CToolError(fmt::format("{}: there is no key frame to put the message into", source->Name()));
    if (adder.Added() == 0)
        throw CToolError(DescribeNoPicture(source->Name(), adder.Analysis().Found()));
    source->RefuseIfIncomplete();
    output->Commit();
    const uint64_t unreadable = adder.Analysis().Found().bytes + source->Counts().skippedBytes;
    report.Begin(source->Facts());
    report.End({fmt::format("{}: {} added to {}{}", source->Name(), CountOf(adder.PayloadSize(), "byte"),
                            adder.Added() == 1 ? "" : "each of ", CountOf(adder.Added(), "access unit")),
                {{"userDataSize", adder.PayloadSize()},
                 {"editedAccessUnits", adder.Added()},
                 {"unreadableBytes", unreadable}}});
    if (unreadable == 0)
        return StatusGood;
    Complain(fmt::format("{}: damaged: {} of {} bytes could not be read and were copied as they are",
                         source->Name(), unreadable, source->Counts().bytes));
    return StatusFound;
}

}  // namespace

Status RunUserDataAdd(const UserDataAddOptions& options)
{
    const auto report = MakeEditReport(
        "userdata add", {.isJson = options.isJson, .isBesideResult = options.outputFile == "-"});
    return ForEachFile({{options.source.file}, options.source}, *report,
                       [&](const SourceOptions&) { return AddToFile(options, *report); });
}

}  // namespace tool
