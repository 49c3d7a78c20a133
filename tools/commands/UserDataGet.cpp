// `userdata get` and `userdata list`.

#include "commands/Commands.h"
#include "io/OutputFile.h"
#include "report/Message.h"
#include "report/UserDataReport.h"
#include "stream/SeiUnit.h"
#include "stream/StreamAnalysis.h"

#include <fmt/format.h>
#include <vector>

namespace tool {

namespace {

// Of messages that wait for their slice. Real streams have fewer.
constexpr size_t MostWaiting = 64 << 20;

struct UserDataCounts
{
    uint64_t listed = 0;
    uint64_t others = 0;  // without the identifier that is asked for
};

// An SEI unit comes before its picture, so a message waits for the next slice: that one has the number of the
// access unit. A suffix SEI unit comes after its picture.
class CUserDataLister
{
public:
    CUserDataLister(VideoCodecType codec, bool all, CUserDataReport& given)
        : analysis(codec), listsAll(all), report(given)
    {}

    void Take(const NalUnit& unit);
    void Finish() { ReportWaiting(); }

    const UserDataCounts& Counts() const { return counts; }

private:
    void TakeSei(const NalUnit& unit);
    void ReportWaiting();

    CStreamAnalysis analysis;
    bool listsAll;
    CUserDataReport& report;
    std::vector<UserDataMessage> waiting;
    size_t waitingSize = 0;
    UserDataCounts counts;
};

void CUserDataLister::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    if (role == UnitRole::FirstSlice || role == UnitRole::FurtherSlice)
        ReportWaiting();
    if (!unit.IsAnySei() || unit.ForbiddenZeroBit())
        return;
    TakeSei(unit);
    if (!unit.IsSei() || waitingSize > MostWaiting)
        ReportWaiting();
}

void CUserDataLister::TakeSei(const NalUnit& unit)
{
    const CSeiUnit sei(unit);
    for (size_t i = 0; i < sei.MessageCount(); ++i) {
        const SeiMessageView message = sei.Message(i);
        if (!message.IsUserData())
            continue;
        if (!listsAll && !message.IsOfLibrary()) {
            ++counts.others;
            continue;
        }
        ++counts.listed;
        waitingSize += message.payload.size();
        const auto identifier = message.Identifier();
        const auto data = message.UserData();
        waiting.push_back({.unit = unit.number,
                           .offset = unit.offset,
                           .identifier = {identifier.begin(), identifier.end()},
                           .bytes = {data.begin(), data.end()}});
    }
}

void CUserDataLister::ReportWaiting()
{
    for (UserDataMessage& message : waiting) {
        message.accessUnit = analysis.Current().number;
        report.Add(message);
    }
    waiting.clear();
    waitingSize = 0;
}

// Writes the bytes alone.
class CUserDataBytes : public CUserDataReport
{
public:
    explicit CUserDataBytes(const OutputRequest& request) : output(request) {}

    void Begin(const SourceFacts&) override {}
    void Add(const UserDataMessage& message) override
    {
        output.Write(message.bytes.data(), message.bytes.size());
    }
    void End(uint64_t count) override
    {
        if (count != 0)
            output.Commit();
    }

private:
    COutputFile output;
};

std::unique_ptr<CUserDataReport> MakeGetReport(const UserDataGetOptions& options)
{
    if (options.outputFile.empty())
        return MakeUserDataReport({.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()},
                                  UserDataView::Contents);
    return std::make_unique<CUserDataBytes>(OutputRequest{.path = options.outputFile,
                                                          .kind = {"user data", nullptr},
                                                          .inputs = options.input.Inputs(),
                                                          .force = options.force});
}

UserDataCounts ListMessages(CUnitSource& source, bool listsAll, CUserDataReport& report)
{
    CUserDataLister lister(source.Codec(), listsAll, report);
    source.PrintsLines();
    report.Begin(source.Facts());
    source.ForEach([&](const NalUnit& unit) { lister.Take(unit); });
    lister.Finish();
    report.End(lister.Counts().listed);
    return lister.Counts();
}

Status GetFromFile(const SourceOptions& options, CUserDataReport& report)
{
    const auto source = OpenSource(options);
    const UserDataCounts counts = ListMessages(*source, false, report);
    const Status status = ReportMissing(*source, counts.listed != 0 ? StatusGood : StatusFound);
    if (counts.listed != 0)
        return status;
    const std::string others = counts.others == 0 ? ""
                                                  : fmt::format("; userdata list shows {} of other programs",
                                                                CountOf(counts.others, "message"));
    Complain(fmt::format("{}: there is no user data of this program in it{}", source->Name(), others));
    return status;
}

Status ListFile(const SourceOptions& options, CUserDataReport& report)
{
    const auto source = OpenSource(options);
    const uint64_t listed = ListMessages(*source, true, report).listed;
    const Status status = ReportMissing(*source, listed != 0 ? StatusGood : StatusFound);
    if (listed == 0)
        Complain(fmt::format("{}: there is no user data in it", source->Name()));
    return status;
}

}  // namespace

Status RunUserDataGet(const UserDataGetOptions& options)
{
    if (!options.outputFile.empty())
        RefuseSeveral(options.input, "--output");
    const auto report = MakeGetReport(options);
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return GetFromFile(source, *report); });
}

Status RunUserDataList(const UserDataListOptions& options)
{
    const auto report = MakeUserDataReport(
        {.isJson = options.isJson, .hasSeveralFiles = options.input.HasSeveral()}, UserDataView::Identifiers);
    return ForEachFile(options.input, *report,
                       [&](const SourceOptions& source) { return ListFile(source, *report); });
}

}  // namespace tool
