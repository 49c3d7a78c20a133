// The stream analysis: every unit reported once and in order, the same reports however the stream is cut, and
// a flushed handle as good as before.

#include "FuzzInput.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

namespace {

struct Report
{
    Bytes bytes;
    VideoInfo info;  // without the address
};

constexpr size_t SequenceBegin = offsetof(VideoInfo, width);
constexpr size_t SequenceEnd = offsetof(VideoInfo, reserved2);

bool SameSequence(const VideoInfo& a, const VideoInfo& b)
{
    return a.sequenceInfoValid == b.sequenceInfoValid &&
           std::memcmp(reinterpret_cast<const char*>(&a) + SequenceBegin,
                       reinterpret_cast<const char*>(&b) + SequenceBegin, SequenceEnd - SequenceBegin) == 0;
}

bool SameReport(const Report& a, const Report& b)
{
    return a.bytes == b.bytes && a.info.keyFrame == b.info.keyFrame && SameSequence(a.info, b.info);
}

bool SameReports(const std::vector<Report>& a, const std::vector<Report>& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (!SameReport(a[i], b[i]))
            return false;
    }
    return true;
}

bool IsAllZero(const VideoInfo& info)
{
    static const VideoInfo zero{};
    return std::memcmp(&info, &zero, sizeof zero) == 0;
}

Report Feed(void* handle, const Bytes& bytes, int64_t wanted)
{
    const CHeapCopy copy(bytes);
    VideoInfo info;
    std::memset(&info, 0xAA, sizeof info);
    REQUIRE(ParseVideoParams(handle, copy.Data(), copy.Size(), &info) == wanted);
    Report report{{}, info};
    if (info.accessUnitFound)
        report.bytes.assign(info.accessUnitData, info.accessUnitData + info.accessUnitSize);
    else
        REQUIRE(IsAllZero(info));
    return report;
}

// A report a unit; those that say nothing are kept to tell which call said what. The last one is the flush.
std::vector<Report> FeedUnits(void* handle, const std::vector<Bytes>& units)
{
    std::vector<Report> reports;
    for (const Bytes& unit : units)
        reports.push_back(Feed(handle, unit, 0));
    reports.push_back(Feed(handle, {}, 0));
    REQUIRE(!Feed(handle, {}, 0).info.accessUnitFound);
    return reports;
}

bool IsDroppable(const Bytes& unit, VideoCodecType codec)
{
    const uint32_t type = UnitType(unit, codec);
    if (codec == VideoCodecHEVC)
        return type >= 10;  // what arrives before anything is open
    return type <= 5 || type >= 10;
}

bool BeginsAt(const Bytes& bytes, size_t at, const Bytes& unit)
{
    return bytes.size() - at >= unit.size() &&
           std::equal(unit.begin(), unit.end(), bytes.begin() + static_cast<ptrdiff_t>(at));
}

// How many of the first units may be accounted for.
using Progress = std::set<size_t>;

void SkipDroppable(Progress& progress, const std::vector<Bytes>& units, VideoCodecType codec)
{
    for (const size_t next : Progress(progress)) {
        for (size_t i = next; i < units.size() && IsDroppable(units[i], codec); ++i)
            progress.insert(i + 1);
    }
}

// Follows every reading of a report: a parameter set in it may be the stream's own or one that was put in.
Progress Account(const Progress& before, const Bytes& report, const std::vector<Bytes>& units,
                 VideoCodecType codec)
{
    std::map<size_t, Progress> readings = {{0, before}};
    while (!readings.empty() && readings.begin()->first < report.size()) {
        const size_t at = readings.begin()->first;
        Progress progress = readings.begin()->second;
        readings.erase(readings.begin());
        SkipDroppable(progress, units, codec);
        for (const size_t next : progress) {
            if (next < units.size() && BeginsAt(report, at, units[next]))
                readings[at + units[next].size()].insert(next + 1);
        }
        for (const Bytes& unit : units) {
            const uint32_t type = UnitType(unit, codec);
            if (codec == VideoCodecAVC && (type == 7 || type == 8) && BeginsAt(report, at, unit))
                readings[at + unit.size()].insert(progress.begin(), progress.end());
        }
    }
    return readings.empty() ? Progress() : readings.begin()->second;
}

void CheckUnitsAreReportedInOrder(const std::vector<Bytes>& units, const std::vector<Report>& reports,
                                  VideoCodecType codec)
{
    constexpr size_t ManyUnits = 100;  // more would take the fuzzer's time
    if (units.size() > ManyUnits)
        return;
    Progress progress = {0};
    for (const Report& report : reports) {
        if (!report.bytes.empty())
            progress = Account(progress, report.bytes, units, codec);
        REQUIRE(!progress.empty());
    }
    SkipDroppable(progress, units, codec);
    REQUIRE(progress.count(units.size()) == 1);
}

// Of several reports in one call the last one stands, with the description of the last that had one.
Report Expected(const std::vector<Report>& reports, size_t begin, size_t end)
{
    Report expected{{}, {}};
    for (size_t i = begin; i < end; ++i) {
        if (!reports[i].info.accessUnitFound)
            continue;
        VideoInfo sequence = reports[i].info.sequenceInfoValid ? reports[i].info : expected.info;
        sequence.keyFrame = reports[i].info.keyFrame;
        sequence.accessUnitFound = 1;
        expected = {reports[i].bytes, sequence};
    }
    return expected;
}

void CheckOtherCuts(void* handle, const std::vector<Bytes>& units, const std::vector<Report>& reports,
                    CFuzzInput& input)
{
    size_t begin = 0;
    while (begin < units.size()) {
        const size_t end = std::min<size_t>(units.size(), begin + 1 + input.Choose(5));
        const std::vector<Bytes> group(units.begin() + static_cast<ptrdiff_t>(begin),
                                       units.begin() + static_cast<ptrdiff_t>(end));
        const Bytes joined = Join(group);
        if (SplitPlainly(joined) != group)
            return;
        REQUIRE(SameReport(Feed(handle, joined, 0), Expected(reports, begin, end)));
        begin = end;
    }
    REQUIRE(SameReport(Feed(handle, {}, 0), reports.back()));
}

// The stream as it is, in the buffers that the input chooses: only the rules of the interface are checked.
void FeedAnything(void* handle, const Bytes& stream, CFuzzInput& input)
{
    size_t begin = 0;
    while (begin < stream.size()) {
        const size_t end = std::min<size_t>(stream.size(), begin + 1 + input.Choose(256) * 4);
        const CHeapCopy copy(stream.data() + begin, end - begin);
        VideoInfo info;
        const int64_t result = ParseVideoParams(handle, copy.Data(), copy.Size(), &info);
        REQUIRE(result == 0 || result == -1);
        REQUIRE(info.accessUnitFound <= 1 && info.keyFrame <= info.accessUnitFound);
        REQUIRE(!info.accessUnitFound || info.accessUnitData != nullptr);
        begin = end;
    }
    Feed(handle, {}, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const uint32_t queueCount = 2 + input.Choose(5);
    const uint32_t queueSize = 1 + input.Choose(200);

    const std::vector<Bytes> units = CutIndependentUnits(input.Stream());
    const CParseHandle perUnit(codec, queueCount, queueSize);
    const std::vector<Report> first = FeedUnits(perUnit.handle, units);
    CheckUnitsAreReportedInOrder(units, first, codec);

    // From the second time on the handle knows all parameter sets.
    const std::vector<Report> second = FeedUnits(perUnit.handle, units);
    REQUIRE(codec == VideoCodecAVC || SameReports(first, second));
    REQUIRE(SameReports(second, FeedUnits(perUnit.handle, units)));

    const CParseHandle otherCuts(codec, 0, 0);
    CheckOtherCuts(otherCuts.handle, units, first, input);

    const CParseHandle anything(codec, queueCount, queueSize);
    FeedAnything(anything.handle, input.Stream(), input);
    return 0;
}
