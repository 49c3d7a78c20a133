// The stream analysis: every unit that is taken in is reported once and in order, other cuts give the same
// reports, a handle with a past answers like a fresh one, and no handle depends on another.

#include "FuzzInput.h"
#include "UnitLedger.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// What is needed to compare reports.
struct Report
{
    int64_t result = 0;
    bool isFound = false;
    uint32_t keyFrame = 0;
    CDigest bytes;
    bool isDescribed = false;
    CDigest sequence;  // the fields from `width` on

    bool operator==(const Report&) const = default;
};

Bytes FieldsOf(const VideoInfo& info, size_t begin, size_t end)
{
    return {reinterpret_cast<const unsigned char*>(&info) + begin, end - begin};
}

// No bytes: a flush. `accessUnit` receives the bytes as they are in the handle.
Report Feed(void* handle, Bytes bytes, Bytes* accessUnit = nullptr)
{
    static const VideoInfo zero{};
    static CRoom room;
    VideoInfo info;
    std::memset(&info, 0xAA, sizeof info);
    Report report;
    report.result = ParseVideoParams(handle, room.Put(bytes), static_cast<uint32_t>(bytes.size()), &info);
    REQUIRE(report.result == 0 || report.result == -1);
    if (!info.accessUnitFound) {
        REQUIRE(std::memcmp(&info, &zero, sizeof info) == 0);
        return report;
    }
    REQUIRE(info.accessUnitFound == 1 && info.keyFrame <= 1 && info.accessUnitData != nullptr);
    const Bytes found{info.accessUnitData, info.accessUnitSize};
    report.isFound = true;
    report.keyFrame = info.keyFrame;
    report.bytes.Add(found);
    report.isDescribed = info.sequenceInfoValid == 1;
    const size_t end = offsetof(VideoInfo, reserved1);
    const size_t begin = report.isDescribed ? end : offsetof(VideoInfo, width);
    REQUIRE(Equal(FieldsOf(info, begin, sizeof info), FieldsOf(zero, begin, sizeof info)));
    if (report.isDescribed)
        report.sequence.Add(FieldsOf(info, offsetof(VideoInfo, width), end));
    if (accessUnit != nullptr)
        *accessUnit = found;
    return report;
}

// What is fed, call by call; the last one flushes.
using Calls = std::vector<Bytes>;

// A unit a call, and a flush after every so many.
void ListUnitCalls(const std::vector<Bytes>& units, size_t unitsBetweenFlushes, Calls& calls)
{
    calls.clear();
    for (size_t i = 0; i < units.size(); ++i) {
        calls.push_back(units[i]);
        if (unitsBetweenFlushes != 0 && (i + 1) % unitsBetweenFlushes == 0)
            calls.emplace_back();
    }
    calls.emplace_back();
}

// The stream as it is, cut and flushed as the choices say.
void ListAnyCalls(CFuzzInput& input, Calls& calls)
{
    calls.clear();
    for (Bytes rest = input.Stream(); !rest.empty();) {
        const uint32_t choice = input.HasChoices() ? input.Choose(256) : 255;
        const size_t size = std::min<size_t>(rest.size(), 1 + choice * 4);
        calls.push_back(rest.first(size));
        if (choice % 8 == 7)
            calls.emplace_back();
        rest = rest.subspan(size);
    }
    calls.emplace_back();
}

void FeedUnits(void* handle, const Calls& calls, VideoCodecType codec, std::vector<Report>& reports)
{
    CUnitLedger ledger(codec);
    reports.clear();
    for (const Bytes bytes : calls) {
        Bytes accessUnit;
        const Report& report = reports.emplace_back(Feed(handle, bytes, &accessUnit));
        REQUIRE(report.result == 0);
        if (!bytes.empty())
            ledger.Feed(bytes);
        if (report.isFound)
            ledger.Report(accessUnit, report.keyFrame != 0);
        if (bytes.empty())
            ledger.Flush();
    }
    REQUIRE(Feed(handle, {}) == Report());  // it has been flushed
}

// Of several reports in one call the last one counts, with the description of the last that had one.
Report Expected(const std::vector<Report>& reports, size_t begin, size_t end)
{
    Report expected;
    for (size_t i = begin; i < end; ++i) {
        if (!reports[i].isFound)
            continue;
        const Report earlier = expected;
        expected = reports[i];
        if (!expected.isDescribed) {
            expected.isDescribed = earlier.isDescribed;
            expected.sequence = earlier.sequence;
        }
    }
    return expected;
}

// Several units a call. The units are next to each other in one block.
void CheckOtherCuts(void* handle, const Calls& calls, const std::vector<Report>& reports, CFuzzInput& input)
{
    for (size_t begin = 0; begin < calls.size();) {
        size_t end = begin + 1;
        for (uint32_t more = input.Choose(5); more > 0 && !calls[begin].empty() && !calls[end].empty();
             --more)
            ++end;
        const Bytes joined = calls[begin].empty()
                                 ? Bytes()
                                 : Bytes(calls[begin].data(), calls[end - 1].data() + calls[end - 1].size());
        REQUIRE(Feed(handle, joined) == Expected(reports, begin, end));
        begin = end;
    }
}

void CheckSameReports(void* one, void* other, const Calls& calls)
{
    for (const Bytes bytes : calls)
        REQUIRE(Feed(one, bytes) == Feed(other, bytes));
}

// Parameter sets that describe the sequence, a key frame, another picture, and a flush.
const Calls& SoundStream(VideoCodecType codec)
{
    static constexpr unsigned char avc[] = {0,    0,    0,    1,    0x67, 0x64, 0,    0x0B, 0xAC, 0xD9,
                                            0x42, 0xC4, 0xEC, 4,    0x40, 0,    0,    3,    0,    0x40,
                                            0,    0,    0x0C, 0xA3, 0xC5, 0x0A, 0x65, 0x80, 0,    0,
                                            0,    1,    0x68, 0xE9, 0x38, 0x64, 0xB2, 0x2C};
    static constexpr unsigned char avcSlices[] = {0, 0, 1, 0x65, 0x88, 0x84, 0x21, 0x77,
                                                  0, 0, 1, 0x41, 0x9A, 0x24, 0x6C, 0x43};
    static constexpr unsigned char hevc[] = {
        0,    0,    0, 1, 0x42, 1, 1,    1,    0x60, 0,    0,    3,    0,    0x90, 0,
        0,    3,    0, 0, 3,    0, 0x3C, 0xA0, 0x16, 0x20, 0x24, 0x59, 0x65, 0x66, 0x92,
        0x4C, 0xAF, 1, 1, 0,    0, 3,    0,    1,    0,    0,    3,    0,    0x19, 0x08};
    static constexpr unsigned char hevcSlices[] = {0, 0, 1, 0x28, 0x01, 0xAF, 0x0D, 0x60,
                                                   0, 0, 1, 0x02, 0x01, 0xD0, 0x08, 0x12};
    static const Calls avcCalls = {avc, Bytes(avcSlices).first(8), Bytes(avcSlices).last(8), {}};
    static const Calls hevcCalls = {hevc, Bytes(hevcSlices).first(8), Bytes(hevcSlices).last(8), {}};
    return codec == VideoCodecAVC ? avcCalls : hevcCalls;
}

std::vector<Report> ReportsOfAFreshHandle(const Calls& calls, VideoCodecType codec)
{
    const CParseHandle handle(codec, 0, 0);
    std::vector<Report> reports;
    for (const Bytes bytes : calls)
        reports.push_back(Feed(handle, bytes));
    REQUIRE(reports.back().isFound && reports[reports.size() - 2].isDescribed);
    return reports;
}

void CheckSoundStream(void* handle, VideoCodecType codec)
{
    static const std::vector<Report> expected[] = {
        ReportsOfAFreshHandle(SoundStream(VideoCodecAVC), VideoCodecAVC),
        ReportsOfAFreshHandle(SoundStream(VideoCodecHEVC), VideoCodecHEVC),
    };
    const Calls& calls = SoundStream(codec);
    for (size_t i = 0; i < calls.size(); ++i)
        REQUIRE(Feed(handle, calls[i]) == expected[codec][i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Calls calls;
    static std::vector<Report> reports;
    static std::vector<Report> again;
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const uint32_t queueCount = 2 + input.Choose(5);
    const uint32_t queueSize = 1 + input.Choose(200);
    const CCutIndependentUnits units(input.Stream());
    ListUnitCalls(units.Units(), input.Choose(16), calls);

    const CParseHandle one(codec, queueCount, queueSize);
    FeedUnits(one, calls, codec, reports);
    const CParseHandle other(codec, 2, 512);
    CheckOtherCuts(other, calls, reports, input);

    // From the second time on the handles know all parameter sets.
    if (codec == VideoCodecHEVC) {
        FeedUnits(one, calls, codec, again);
        REQUIRE(again == reports);
    } else {
        CheckSameReports(one, other, calls);
    }

    ListAnyCalls(input, calls);
    CheckSameReports(one, other, calls);
    CheckSoundStream(one, codec);
    return 0;
}
