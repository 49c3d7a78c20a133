// The stream analysis: every unit that is taken in is reported once and in order, other cuts give the same
// reports, a handle with a past answers like a fresh one, and no handle knows of another.

#include "FuzzInput.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <set>

namespace {

struct Report
{
    int64_t result = 0;
    bool isFound = false;
    uint32_t keyFrame = 0;
    Bytes bytes;
    Bytes sequence;  // the fields from `width` on, none where they are not filled

    bool operator==(const Report&) const = default;
};

bool IsZero(const Bytes& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

// No bytes: a flush.
Report Feed(void* handle, const Bytes& bytes)
{
    static const VideoInfo zero{};
    const CHeapCopy copy(bytes);
    VideoInfo info;
    std::memset(&info, 0xAA, sizeof info);
    Report report;
    report.result = ParseVideoParams(handle, copy.Data(), copy.Size(), &info);
    REQUIRE(report.result == 0 || report.result == -1);
    if (!info.accessUnitFound) {
        REQUIRE(std::memcmp(&info, &zero, sizeof info) == 0);
        return report;
    }
    REQUIRE(info.accessUnitFound == 1 && info.keyFrame <= 1 && info.accessUnitData != nullptr);
    report.isFound = true;
    report.keyFrame = info.keyFrame;
    report.bytes.assign(info.accessUnitData, info.accessUnitData + info.accessUnitSize);
    const auto* const fields = reinterpret_cast<const unsigned char*>(&info);
    report.sequence.assign(fields + offsetof(VideoInfo, width), fields + sizeof info);
    REQUIRE(info.sequenceInfoValid == 1 || IsZero(report.sequence));
    if (!info.sequenceInfoValid)
        report.sequence.clear();
    return report;
}

// What is fed, call by call; the last one flushes.
using Calls = std::vector<Bytes>;

// A unit a call, and a flush behind every so many.
Calls UnitCalls(const std::vector<Bytes>& units, size_t unitsBetweenFlushes)
{
    Calls calls;
    for (size_t i = 0; i < units.size(); ++i) {
        calls.push_back(units[i]);
        if (unitsBetweenFlushes != 0 && (i + 1) % unitsBetweenFlushes == 0)
            calls.emplace_back();
    }
    calls.emplace_back();
    return calls;
}

// The stream as it is, cut and flushed as the input says.
Calls AnyCalls(CFuzzInput& input)
{
    const Bytes& stream = input.Stream();
    Calls calls;
    for (size_t begin = 0; begin < stream.size();) {
        const uint32_t choice = input.Choose(256);
        const size_t end = std::min<size_t>(stream.size(), begin + 1 + choice * 4);
        calls.emplace_back(stream.begin() + static_cast<ptrdiff_t>(begin),
                           stream.begin() + static_cast<ptrdiff_t>(end));
        if (choice % 8 == 7)
            calls.emplace_back();
        begin = end;
    }
    calls.emplace_back();
    return calls;
}

std::vector<Report> FeedAll(void* handle, const Calls& calls)
{
    std::vector<Report> reports;
    for (const Bytes& bytes : calls)
        reports.push_back(Feed(handle, bytes));
    REQUIRE(Feed(handle, {}) == Report());  // it has been flushed
    return reports;
}

bool IsBetween(uint32_t value, uint32_t first, uint32_t last)
{
    return value >= first && value <= last;
}

bool IsSlice(uint32_t type, VideoCodecType codec)
{
    return codec == VideoCodecAVC ? type == 1 || type == 2 || type == 5
                                  : type <= 9 || IsBetween(type, 16, 23);
}

bool IsLeading(uint32_t type, VideoCodecType codec)
{
    if (codec == VideoCodecAVC)
        return IsBetween(type, 6, 9) || IsBetween(type, 14, 18);
    return IsBetween(type, 32, 35) || type == 39 || IsBetween(type, 41, 44) || IsBetween(type, 48, 55);
}

// All units but those that come while nothing is open, and slices whose parameter sets are unknown; the
// sample test of another handle tells which.
std::vector<Bytes> TakenUnits(const Calls& calls, VideoCodecType codec)
{
    const CParseHandle sampleTest(codec, 1, 1);
    std::vector<Bytes> taken;
    bool isOpen = false;
    for (const Bytes& unit : calls) {
        if (unit.empty()) {
            isOpen = false;
            continue;
        }
        const CHeapCopy copy(unit);
        VideoInfoEx test;
        const bool isKnown = VideoSampleTest(sampleTest.handle, copy.Data(), copy.Size(), &test) == 0;
        const uint32_t type = UnitType(unit, codec);
        if (IsSlice(type, codec) ? !isKnown : !isOpen && !IsLeading(type, codec))
            continue;
        taken.push_back(unit);
        isOpen = true;
    }
    return taken;
}

Bytes FirstOfType(const std::vector<Bytes>& units, uint32_t type)
{
    const auto found = std::find_if(units.begin(), units.end(), [type](const Bytes& unit) {
        return UnitType(unit, VideoCodecAVC) == type;
    });
    return found != units.end() ? *found : Bytes();
}

// The parameter sets that are held and put into key frames that come without.
Bytes HeldPair(const std::vector<Bytes>& taken)
{
    const Bytes sps = FirstOfType(taken, 7);
    const Bytes pps = FirstOfType(taken, 8);
    return sps.empty() || pps.empty() ? Bytes() : Join({sps, pps});
}

// Where the units in the report that begin with `begin` end, `pair` put in at the front or behind a
// delimiter; or 0.
size_t EndOfReport(const Bytes& report, const std::vector<Bytes>& taken, size_t begin, const Bytes& pair)
{
    std::vector<size_t> places = {0};
    Bytes bytes;
    size_t end = begin;
    for (; end < taken.size() && bytes.size() + pair.size() < report.size(); ++end) {
        bytes.insert(bytes.end(), taken[end].begin(), taken[end].end());
        if (UnitType(taken[end], VideoCodecAVC) == 9)
            places.push_back(bytes.size());
    }
    for (const size_t place : places) {
        Bytes completed = bytes;
        completed.insert(completed.begin() + static_cast<ptrdiff_t>(place), pair.begin(), pair.end());
        if (end != begin && completed == report)
            return end;
    }
    return 0;
}

void CheckTakenUnitsAreReported(const Calls& calls, const std::vector<Report>& reports, VideoCodecType codec)
{
    const std::vector<Bytes> taken = TakenUnits(calls, codec);
    const Bytes pair = codec == VideoCodecAVC ? HeldPair(taken) : Bytes();
    std::set<size_t> ends = {0};  // of the units reported so far; a report may have two readings
    for (const Report& report : reports) {
        REQUIRE(report.result == 0);
        if (report.bytes.empty())
            continue;
        std::set<size_t> nextEnds;
        for (const size_t begin : ends) {
            nextEnds.insert(EndOfReport(report.bytes, taken, begin, {}));
            if (report.keyFrame)
                nextEnds.insert(EndOfReport(report.bytes, taken, begin, pair));
        }
        nextEnds.erase(0);
        REQUIRE(!nextEnds.empty());
        ends = nextEnds;
    }
    REQUIRE(ends.count(taken.size()) == 1);
}

// Of several reports in one call the last one stands, with the description of the last that had one.
Report Expected(const std::vector<Report>& reports, size_t begin, size_t end)
{
    Report expected;
    for (size_t i = begin; i < end; ++i) {
        if (!reports[i].isFound)
            continue;
        const Bytes sequence = reports[i].sequence.empty() ? expected.sequence : reports[i].sequence;
        expected = reports[i];
        expected.sequence = sequence;
    }
    return expected;
}

// Several units a call.
void CheckOtherCuts(void* handle, const Calls& calls, const std::vector<Report>& reports, CFuzzInput& input)
{
    for (size_t begin = 0; begin < calls.size();) {
        size_t end = begin + 1;
        for (uint32_t more = input.Choose(5); more > 0 && !calls[begin].empty() && !calls[end].empty();
             --more)
            ++end;
        const Calls group(calls.begin() + static_cast<ptrdiff_t>(begin),
                          calls.begin() + static_cast<ptrdiff_t>(end));
        const Bytes joined = Join(group);
        if (!joined.empty() && SplitPlainly(joined) != group)
            return;
        REQUIRE(Feed(handle, joined) == Expected(reports, begin, end));
        begin = end;
    }
}

// Two handles of the same past, with a third of the other codec at work between them.
void CheckHandlesAreIndependent(const CParseHandle& one, const CParseHandle& two, const Calls& calls,
                                VideoCodecType codec)
{
    const CParseHandle bystander(codec == VideoCodecAVC ? VideoCodecHEVC : VideoCodecAVC, 2, 1);
    for (const Bytes& bytes : calls) {
        const Report report = Feed(one.handle, bytes);
        Feed(bystander.handle, bytes);
        REQUIRE(Feed(two.handle, bytes) == report);
    }
}

// Parameter sets that describe the sequence, a key frame and another picture.
Calls SoundStream(VideoCodecType codec)
{
    if (codec == VideoCodecAVC)
        return {{0,    0, 0, 1, 0x67, 0x64, 0, 0x0B, 0xAC, 0xD9, 0x42, 0xC4, 0xEC, 0x04,
                 0x40, 0, 0, 3, 0,    0x40, 0, 0,    0x0C, 0xA3, 0xC5, 0x0A, 0x65, 0x80},
                {0, 0, 0, 1, 0x68, 0xE9, 0x38, 0x64, 0xB2, 0x2C},
                {0, 0, 1, 0x65, 0x88, 0x84, 0x21, 0x77},
                {0, 0, 1, 0x41, 0x9A, 0x24, 0x6C, 0x43},
                {}};
    return {{0,    0,    0, 1, 0x42, 0x01, 0x01, 0x01, 0x60, 0,    0,    3,    0,    0x90, 0,
             0,    3,    0, 0, 3,    0,    0x3C, 0xA0, 0x16, 0x20, 0x24, 0x59, 0x65, 0x66, 0x92,
             0x4C, 0xAF, 1, 1, 0,    0,    3,    0,    1,    0,    0,    3,    0,    0x19, 0x08},
            {0, 0, 1, 0x28, 0x01, 0xAF, 0x0D, 0x60},
            {0, 0, 1, 0x02, 0x01, 0xD0, 0x08, 0x12},
            {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const uint32_t queueCount = 2 + input.Choose(5);
    const uint32_t queueSize = 1 + input.Choose(200);
    const Calls units = UnitCalls(CutIndependentUnits(input.Stream()), input.Choose(16));

    const CParseHandle used(codec, queueCount, queueSize);
    const std::vector<Report> first = FeedAll(used.handle, units);
    CheckTakenUnitsAreReported(units, first, codec);

    // From the second time on the handle knows all parameter sets.
    const std::vector<Report> second = FeedAll(used.handle, units);
    REQUIRE(codec == VideoCodecAVC || second == first);
    REQUIRE(FeedAll(used.handle, units) == second);

    const CParseHandle otherCuts(codec, 0, 0);
    CheckOtherCuts(otherCuts.handle, units, first, input);

    const Calls any = AnyCalls(input);
    const CParseHandle one(codec, queueCount, queueSize);
    const CParseHandle two(codec, 0, 0);
    CheckHandlesAreIndependent(one, two, any, codec);
    const std::vector<Report> afterAny = FeedAll(one.handle, any);
    REQUIRE(FeedAll(one.handle, any) == afterAny);

    const CParseHandle fresh(codec, 0, 0);
    const std::vector<Report> sound = FeedAll(fresh.handle, SoundStream(codec));
    REQUIRE(sound.back().isFound && !sound[sound.size() - 2].sequence.empty());
    REQUIRE(FeedAll(used.handle, SoundStream(codec)) == sound);
    REQUIRE(FeedAll(one.handle, SoundStream(codec)) == sound);
    return 0;
}
