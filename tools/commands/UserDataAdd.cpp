// Every byte of the stream passes through as it is. Of an access unit that gets the message, one unit is
// handed to the library: the first SEI unit in front of its slices, or else its first slice, which comes back
// with a new SEI unit.

#include "commands/Commands.h"
#include "io/InputFile.h"
#include "report/Message.h"
#include "stream/Handle.h"
#include "stream/SeiUnit.h"
#include "stream/StreamAnalysis.h"

#include <fmt/format.h>
#include <vector>

namespace tool {

namespace {

constexpr size_t LargestData = 64 << 20;

// No sound stream has so much in front of a picture. Beyond it, what is held goes out without a message.
constexpr size_t MostHeld = 64 << 20;

class CUserDataAdder
{
public:
    CUserDataAdder(VideoCodecType codec, Where place, std::string userData, CUnitSink& sink)
        : analysis(codec), handle(codec), where(place), data(std::move(userData)), output(sink)
    {}

    void Take(const NalUnit& unit);
    void TakeSkipped(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes, size_t size);
    void Finish() { WriteHeld(); }

    uint64_t Added() const { return added; }
    const CStreamAnalysis& Analysis() const { return analysis; }

private:
    bool IsWanted(const NalUnit& slice) const;
    void Hold(const NalUnit& unit);
    void WriteHeld();
    void WriteWithMessage(const NalUnit& slice);
    void WriteEdited(const NalUnit& unit);
    void Write(const NalUnit& unit) { output.Write(unit.sample, unit.data, unit.size); }

    CStreamAnalysis analysis;
    CUserDataHandle handle;
    Where where;
    std::string data;
    CUnitSink& output;
    uint64_t added = 0;

    std::vector<NalUnit> held;  // from the first leading unit behind a slice on; the bytes are in heldBytes
    std::vector<unsigned char> heldBytes;
};

void CUserDataAdder::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
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
    switch (where) {
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

void CUserDataAdder::WriteHeld()
{
    const unsigned char* bytes = heldBytes.data();
    for (NalUnit& unit : held) {
        unit.data = bytes;
        bytes += unit.size;
        Write(unit);
    }
    held.clear();
    heldBytes.clear();
}

void CUserDataAdder::WriteWithMessage(const NalUnit& slice)
{
    const uint64_t before = added;
    const unsigned char* bytes = heldBytes.data();
    for (NalUnit& unit : held) {
        unit.data = bytes;
        bytes += unit.size;
        if (added == before && TakesMessage(unit))
            WriteEdited(unit);
        else
            Write(unit);
    }
    held.clear();
    heldBytes.clear();
    if (added == before)
        WriteEdited(slice);
    else
        Write(slice);
}

// The library drops zeros behind an SEI unit; they are put back.
void CUserDataAdder::WriteEdited(const NalUnit& unit)
{
    const uint32_t zeros = unit.IsSei() ? TrailingZeros(unit) : 0;
    const unsigned char* edited = nullptr;
    unsigned int editedSize = 0;
    if (AddUserData(handle, unit.data, unit.size - zeros, reinterpret_cast<const unsigned char*>(data.data()),
                    static_cast<unsigned int>(data.size()), &edited, &editedSize) != 0)
        throw CToolError(fmt::format("the message cannot be put into the unit at byte {}", unit.offset));
    if (unit.IsSei()) {
        std::vector<unsigned char> whole(edited, edited + editedSize);
        whole.insert(whole.end(), zeros, 0);
        output.Write(unit.sample, whole.data(), whole.size());
    } else {
        const uint32_t seiSize = editedSize - unit.size;  // the new SEI unit comes before the slice
        output.Write(unit.sample, edited, seiSize);
        output.Write(unit.sample, edited + seiSize, unit.size);
    }
    ++added;
}

}  // namespace

Status RunUserDataAdd(const UserDataOptions& options)
{
    std::string data = options.text ? *options.text : ReadWholeFile(options.dataFile, LargestData);
    const size_t dataSize = data.size();
    const auto source = OpenSource(options.source);
    const auto output =
        source->OpenSink({.path = options.outputFile, .inputs = {options.dataFile}, .force = options.force});
    CUserDataAdder adder(source->Codec(), options.where, std::move(data), *output);
    source->ForEach([&](const NalUnit& unit) { adder.Take(unit); },
                    [&](const auto& sample, const unsigned char* bytes, size_t size) {
                        adder.TakeSkipped(sample, bytes, size);
                    });
    adder.Finish();
    if (adder.Added() == 0)
        throw CToolError(fmt::format("{}: there is no {} to put the message into", source->Name(),
                                     options.where == Where::Key ? "key frame" : "picture"));
    output->Commit();
    Announce(fmt::format("{} added to {}", CountOf(dataSize, "byte"), CountOf(adder.Added(), "access unit")),
             output->IsStandardOutput());
    const uint64_t unreadable = adder.Analysis().Found().bytes + source->Counts().skippedBytes;
    if (unreadable == 0)
        return StatusGood;
    Complain(fmt::format("{}: damaged: {} of {} bytes could not be read and were copied as they are",
                         source->Name(), unreadable, source->Counts().bytes));
    return StatusFound;
}

}  // namespace tool
