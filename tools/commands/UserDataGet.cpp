#include "commands/Commands.h"
#include "io/OutputFile.h"
#include "report/Message.h"
#include "stream/StreamAnalysis.h"
#include "stream/UnitSource.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace tool {

namespace {

constexpr size_t MostShown = 64;
constexpr size_t MostHeld = 1000;

struct FoundMessage
{
    uint64_t offset;  // of its unit
    size_t size;
    std::string start;
};

// As text where it is text, else as hex.
std::string Show(const FoundMessage& message)
{
    const bool isText = std::all_of(message.start.begin(), message.start.end(),
                                    [](char character) { return character >= 0x20 && character < 0x7F; });
    std::string shown;
    if (isText) {
        shown = fmt::format("\"{}\"", message.start);
    } else {
        for (const char character : message.start)
            shown += fmt::format("{}{:02X}", shown.empty() ? "" : " ", static_cast<unsigned char>(character));
    }
    return message.size > message.start.size() ? shown + " ..." : shown;
}

// An SEI unit stands in front of the picture that it goes with, so its message waits for the slice that tells
// which that is.
class CUserDataLister
{
public:
    CUserDataLister(VideoCodecType codec, COutputFile* file) : analysis(codec), handle(codec), output(file) {}

    void Take(const NalUnit& unit);
    void Finish();

    uint64_t Found() const { return found; }
    const CStreamAnalysis& Analysis() const { return analysis; }

private:
    void TakeMessage(const NalUnit& unit);
    void PrintWaiting();

    CStreamAnalysis analysis;
    CUserDataHandle handle;
    COutputFile* output;
    std::vector<FoundMessage> waiting;
    uint64_t found = 0;
};

void CUserDataLister::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    if (role == UnitRole::FirstSlice || role == UnitRole::FurtherSlice)
        PrintWaiting();
    if (role == UnitRole::Leading && unit.IsSei())
        TakeMessage(unit);
}

void CUserDataLister::Finish()
{
    PrintWaiting();
}

void CUserDataLister::TakeMessage(const NalUnit& unit)
{
    const unsigned char* data = nullptr;
    unsigned int size = 0;
    if (GetUserData(handle, unit.data, unit.size, &data, &size) != 0)
        throw std::bad_alloc();
    if (data == nullptr)
        return;
    ++found;
    if (output != nullptr) {
        output->Write(data, size);
        return;
    }
    if (waiting.size() == MostHeld)
        PrintWaiting();
    waiting.push_back({unit.offset, size, {data, data + std::min<size_t>(size, MostShown)}});
}

void CUserDataLister::PrintWaiting()
{
    for (const FoundMessage& message : waiting)
        fmt::print("access unit {}  offset {}  {}  {}\n", analysis.Current().number, message.offset,
                   CountOf(message.size, "byte"), Show(message));
    waiting.clear();
}

}  // namespace

Status RunUserDataGet(const UserDataOptions& options)
{
    CUnitSource source(options.file, options.codec);
    std::optional<COutputFile> output;
    if (options.outputFile.empty())
        source.PrintsLines();
    else
        output.emplace(options.outputFile);
    CUserDataLister lister(source.Codec(), output ? &*output : nullptr);
    source.ForEach([&](const NalUnit& unit) { lister.Take(unit); });
    lister.Finish();
    if (lister.Found() == 0) {
        Complain(fmt::format("{}: there is no user data in it", source.Name()));
        return StatusFound;
    }
    if (output)
        output->Commit();
    return StatusGood;
}

}  // namespace tool
