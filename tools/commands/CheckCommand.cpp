#include "commands/Commands.h"
#include "report/Message.h"
#include "stream/UnitOrder.h"
#include "stream/UnitSource.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr uint32_t SliceHeadSize = 256;

class CCheck
{
public:
    explicit CCheck(VideoCodecType codec) : analysis(codec), tester(codec) {}

    void Take(const NalUnit& unit);
    void Finish();
    void NoteSkipped(uint64_t bytes);

    uint64_t Findings() const { return findings; }
    uint64_t AccessUnits() const { return accessUnits; }

private:
    void TestContinuity(const NalUnit& slice);
    void Report(uint64_t unit, uint64_t offset, const std::string& text);

    CStreamAnalysis analysis;
    CUnitOrder order;
    CParseHandle tester;  // reads no slice but the first of each picture
    bool isAfterFirstField = false;
    uint64_t accessUnits = 0;
    uint64_t findings = 0;
};

void CCheck::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    for (const OrderFinding& finding : order.Take(unit, role))
        Report(finding.unit, finding.offset, finding.text);
    if (role == UnitRole::Unreadable)
        Report(unit.number, unit.offset,
               unit.ForbiddenZeroBit() ? "forbidden_zero_bit is 1"
                                       : "slice whose parameter sets are unknown");
    if (role == UnitRole::FirstSlice) {
        ++accessUnits;
        if (unit.codec == VideoCodecAVC)
            TestContinuity(unit);
    } else if (role == UnitRole::Leading && (unit.IsSps() || unit.IsPps())) {
        VideoInfoEx none;
        VideoSampleTest(tester, unit.data, unit.size, &none);
    }
}

// The second field of a pair repeats the frame_num of the first, and the library cannot always tell it from a
// first field: it flags sound streams where both fields are intra and where a frame comes between. So second
// fields are left out.
void CCheck::TestContinuity(const NalUnit& slice)
{
    const AccessUnit& unit = analysis.Current();
    const bool isSecondField = unit.isField && isAfterFirstField && !slice.IsKeySlice();
    isAfterFirstField = unit.isField && !isSecondField;
    if (isSecondField)
        return;
    VideoInfoEx test;
    VideoSampleTest(tester, slice.data, std::min(slice.size, SliceHeadSize), &test);
    if (!test.sampleError)
        return;
    ++findings;
    fmt::print(
        "access unit {}, byte {}: frame_num does not follow: reference pictures are missing in front of it\n",
        unit.number, unit.offset);
}

void CCheck::Report(uint64_t unit, uint64_t offset, const std::string& text)
{
    ++findings;
    fmt::print("unit {}, byte {}: {}\n", unit, offset, text);
}

void CCheck::Finish()
{
    for (const OrderFinding& finding : order.Finish())
        Report(finding.unit, finding.offset, finding.text);
}

void CCheck::NoteSkipped(uint64_t bytes)
{
    if (bytes == 0)
        return;
    ++findings;
    fmt::print("{} outside of units\n", CountOf(bytes, "byte"));
}

}  // namespace

Status RunCheck(const CheckOptions& options)
{
    CUnitSource source(options.file, options.codec);
    CCheck check(source.Codec());
    source.PrintsLines();
    source.ForEach([&](const NalUnit& unit) { check.Take(unit); });
    check.Finish();
    check.NoteSkipped(source.SkippedBytes());
    if (check.AccessUnits() == 0)
        throw CToolError(fmt::format("{}: no picture could be read from it", source.Name()));
    fmt::print("{}: {}, {}{}\n", source.Name(), CountOf(check.AccessUnits(), "access unit"),
               check.Findings() == 0 ? "nothing found" : CountOf(check.Findings(), "finding"),
               source.Codec() == VideoCodecHEVC ? " (H.265: the order of units is checked, continuity is not)"
                                                : "");
    return check.Findings() == 0 ? StatusGood : StatusFound;
}

}  // namespace tool
