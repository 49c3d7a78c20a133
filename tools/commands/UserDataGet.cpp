#include "commands/Commands.h"
#include "io/OutputFile.h"
#include "report/Message.h"
#include "report/UserDataReport.h"
#include "stream/Handle.h"
#include "stream/StreamAnalysis.h"

#include <fmt/format.h>
#include <vector>

namespace tool {

namespace {

// Messages that wait for their slice. Real streams have fewer.
constexpr size_t MostHeld = 1000;

// An SEI unit comes before its picture, so a message waits for the next slice: that one has the number of the
// access unit.
class CUserDataLister
{
public:
    CUserDataLister(VideoCodecType codec, CUserDataReport& given, COutputFile* file)
        : analysis(codec), handle(codec), report(given), output(file)
    {}

    void Take(const NalUnit& unit);
    void Finish();

    uint64_t Found() const { return found; }
    const CStreamAnalysis& Analysis() const { return analysis; }

private:
    void TakeMessage(const NalUnit& unit);
    void PrintWaiting();

    CStreamAnalysis analysis;
    CUserDataHandle handle;
    CUserDataReport& report;
    COutputFile* output;
    std::vector<UserDataMessage> waiting;
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
    waiting.push_back({0, unit.offset, {data, data + size}});
}

void CUserDataLister::PrintWaiting()
{
    for (UserDataMessage& message : waiting) {
        message.accessUnit = analysis.Current().number;
        report.Add(message);
    }
    waiting.clear();
}

}  // namespace

Status RunUserDataGet(const UserDataOptions& options)
{
    const auto source = OpenSource(options.source);
    const auto report = MakeUserDataReport({});
    std::optional<COutputFile> output;
    if (options.outputFile.empty())
        source->PrintsLines();
    else
        output.emplace(OutputRequest{.path = options.outputFile,
                                     .kind = {"user data", nullptr},
                                     .inputs = {options.source.file},
                                     .force = options.force});
    CUserDataLister lister(source->Codec(), *report, output ? &*output : nullptr);
    report->Begin(source->Facts());
    source->ForEach([&](const NalUnit& unit) { lister.Take(unit); });
    lister.Finish();
    report->End(lister.Found());
    report->Close();
    if (lister.Found() == 0) {
        Complain(fmt::format("{}: there is no user data in it", source->Name()));
        return StatusFound;
    }
    if (output)
        output->Commit();
    return StatusGood;
}

}  // namespace tool
