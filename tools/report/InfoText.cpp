#include "report/ColourNames.h"
#include "report/ContainerInfo.h"
#include "report/InfoReport.h"
#include "report/Message.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

namespace tool {

namespace {

constexpr size_t MaxChangesPrinted = 10;
constexpr const char* TimeHeadings = "      pts s      ticks       dts s      ticks  duration s      ticks  ";

std::string DescribeFrameRate(const SequenceInfo& info)
{
    if (!info.HasFrameRate())
        return "not in the stream";
    const uint32_t divisor = std::gcd(info.frameRateNumerator, info.frameRateDenominator);
    if (divisor == info.frameRateDenominator)
        return CountOf(info.frameRateNumerator / divisor, "frame") + "/s";
    return fmt::format("{:.6g} ({}/{}) frames/s", info.FrameRate(), info.frameRateNumerator / divisor,
                       info.frameRateDenominator / divisor);
}

std::string DescribeSize(const SequenceInfo& info)
{
    return fmt::format("{} x {}", info.width, info.height);
}

std::string DescribeBitRate(double bitsPerSecond)
{
    if (bitsPerSecond < 1e6)
        return fmt::format("{:.4g} kbit/s", bitsPerSecond / 1e3);
    return fmt::format("{:.4g} Mbit/s", bitsPerSecond / 1e6);
}

std::string DescribeValue(uint32_t value, const char* name)
{
    return fmt::format("{} {}", value, name);
}

std::string DescribeProfile(const SequenceInfo& info)
{
    const std::string tier = info.tier.empty() ? "" : fmt::format(", {} tier", info.tier);
    return fmt::format("{}, level {}{}", info.profile, info.level, tier);
}

std::string DescribeSamples(const SequenceInfo& info)
{
    const std::string depth =
        info.chroma_format_idc == 0 || info.lumaBitDepth == info.chromaBitDepth
            ? fmt::format("{} bits", info.lumaBitDepth)
            : fmt::format("{} bits luma, {} bits chroma", info.lumaBitDepth, info.chromaBitDepth);
    return fmt::format("{}, {}, {}", ChromaFormatName(info.chroma_format_idc), depth, ScanName(info.scan));
}

void AddColour(InfoLines& lines, const SequenceInfo& info)
{
    if (!info.video_signal_type_present_flag) {
        lines.emplace_back("colour", "not described");
        return;
    }
    lines.emplace_back("video format", DescribeValue(info.video_format, VideoFormatName(info.video_format)));
    lines.emplace_back("range", info.video_full_range_flag ? "1 full" : "0 limited");
    if (!info.colour_description_present_flag) {
        lines.emplace_back("colour", "not described");
        return;
    }
    lines.emplace_back("colour primaries",
                       DescribeValue(info.colour_primaries, ColourPrimariesName(info.colour_primaries)));
    lines.emplace_back("transfer", DescribeValue(info.transfer_characteristics,
                                                 TransferCharacteristicsName(info.transfer_characteristics)));
    lines.emplace_back(
        "matrix", DescribeValue(info.matrix_coefficients, MatrixCoefficientsName(info.matrix_coefficients)));
}

void AddSequences(InfoLines& lines, const CStreamSummary& summary)
{
    const std::vector<SequenceStart>& sequences = summary.Sequences();
    if (sequences.empty()) {
        lines.emplace_back("picture size", "unknown: no sequence parameter set was read");
        return;
    }
    lines.emplace_back("profile", DescribeProfile(sequences[0].info));
    lines.emplace_back("picture size", DescribeSize(sequences[0].info));
    lines.emplace_back("samples", DescribeSamples(sequences[0].info));
    lines.emplace_back("frame rate", DescribeFrameRate(sequences[0].info));
    AddColour(lines, sequences[0].info);
    const size_t printed = std::min(sequences.size(), MaxChangesPrinted + 1);
    for (size_t i = 1; i < printed; ++i) {
        lines.emplace_back("change",
                           fmt::format("at access unit {}: {}, {}, colour {}-{}-{}", sequences[i].accessUnit,
                                       DescribeSize(sequences[i].info), DescribeFrameRate(sequences[i].info),
                                       sequences[i].info.colour_primaries,
                                       sequences[i].info.transfer_characteristics,
                                       sequences[i].info.matrix_coefficients));
    }
    if (summary.SequenceChanges() >= printed)
        lines.emplace_back("change", fmt::format("{} more times", summary.SequenceChanges() + 1 - printed));
}

std::string DescribeDistances(const Spread& distances)
{
    if (distances.smallest == distances.largest)
        return CountOf(distances.smallest, "access unit");
    return fmt::format("smallest {}, mean {:.1f}, largest {} access units", distances.smallest,
                       distances.Mean(), distances.largest);
}

void AddAccessUnits(InfoLines& lines, const CStreamSummary& summary)
{
    const Spread& sizes = summary.Sizes();
    lines.emplace_back("access units", fmt::format("{} in {} bytes", sizes.count, sizes.sum));
    if (sizes.count == 0)
        return;
    if (summary.Fields() != 0)
        lines.emplace_back("fields",
                           fmt::format("{} of the access units are single fields", summary.Fields()));
    lines.emplace_back("unit sizes", fmt::format("smallest {}, mean {:.0f}, largest {} bytes", sizes.smallest,
                                                 sizes.Mean(), sizes.largest));
    lines.emplace_back("key frames", fmt::format("{}", summary.KeyFrames()));
    if (summary.KeyDistances().count != 0)
        lines.emplace_back("key-frame distance", DescribeDistances(summary.KeyDistances()));
    const std::optional<double> duration = summary.Duration();
    lines.emplace_back("duration",
                       duration ? fmt::format("{:.3f} s", *duration) : "unknown without a frame rate");
    lines.emplace_back("bit rate",
                       duration ? DescribeBitRate(*summary.BitRate()) : "unknown without a frame rate");
}

// Each time in seconds and in ticks of the time base.
std::string DescribeTimes(const AccessUnit& unit, const TimeBase& timeBase)
{
    std::string text;
    for (const std::optional<int64_t>& ticks : {unit.sample->pts, unit.sample->dts, unit.sample->duration})
        text += ticks ? fmt::format("{:>11.6f} {:>10} ", timeBase.Seconds(*ticks), *ticks)
                      : fmt::format("{:>11} {:>10} ", "-", "-");
    return text + " ";
}

class CInfoText : public CInfoReport
{
public:
    CInfoText(const ReportStyle& given, bool lists) : style(given), listsAccessUnits(lists) {}

    void Begin(const SourceFacts& facts) override;
    void Add(const AccessUnit& unit) override;
    void End(const InfoResult& result) override;

private:
    ReportStyle style;
    bool listsAccessUnits;
    bool isAvc = true;
    std::optional<TimeBase> timeBase;  // of a container
};

void CInfoText::Begin(const SourceFacts& facts)
{
    isAvc = facts.codec == VideoCodecAVC;
    if (facts.container)
        timeBase = facts.timeBase;
    if (!listsAccessUnits)
        return;
    if (style.hasSeveralFiles)
        fmt::print("{}\n", facts.name);
    fmt::print("{:>8} {:>12} {:>9}  {}{:<4} {:<6} slice_type\n", "unit", "offset", "bytes",
               timeBase ? TimeHeadings : "", "key", "coded");
}

void CInfoText::Add(const AccessUnit& unit)
{
    const std::string type =
        isAvc ? fmt::format("{} {}", unit.slice_type, SliceTypeName(unit.slice_type)) : "-";
    const char* const structure = !isAvc ? "-" : unit.isField ? "field" : "frame";
    fmt::print("{:>8} {:>12} {:>9}  {}{:<4} {:<6} {}\n", unit.number, unit.offset, unit.size,
               timeBase ? DescribeTimes(unit, *timeBase) : "", unit.isKeyFrame ? "key" : "-", structure,
               type);
}

void CInfoText::End(const InfoResult& result)
{
    if (style.hasSeveralFiles) {
        fmt::print("{}: {}\n", result.facts.name, DescribeInALine(result));
        return;
    }
    fmt::print("{}\n", result.facts.name);
    for (const auto& [label, text] : DescribeStream(result))
        fmt::print("  {:<20}{}\n", label, text);
}

}  // namespace

std::unique_ptr<CInfoReport> MakeInfoReport(const ReportStyle& style, bool listsAccessUnits)
{
    if (style.isJson)
        return MakeInfoJson(style, listsAccessUnits);
    return std::make_unique<CInfoText>(style, listsAccessUnits);
}

InfoLines DescribeStream(const InfoResult& result)
{
    InfoLines lines = DescribeContainer(result);
    lines.emplace_back("codec", CodecName(result.facts.codec));
    AddSequences(lines, result.summary);
    AddAccessUnits(lines, result.summary);
    if (!result.furtherLayers.empty())
        lines.emplace_back("layers", fmt::format("{}; the pictures of the base layer are counted",
                                                 1 + result.furtherLayers.size()));
    if (!result.unusedSets.empty())
        lines.emplace_back("unused sets", fmt::format("{}", fmt::join(result.unusedSets, ", ")));
    return lines;
}

std::string InfoResult::DescribeDamage() const
{
    std::string causes;
    const auto add = [&](uint64_t count, const std::string& what) {
        if (count != 0)
            causes += fmt::format("{}{}", causes.empty() ? "" : ", ", what);
    };
    add(damage.damagedUnits, CountOf(damage.damagedUnits, "unit") + " with forbidden_zero_bit 1");
    add(damage.lostSlices, CountOf(damage.lostSlices, "slice") + " without parameter sets");
    add(counts.skippedBytes, CountOf(counts.skippedBytes, "byte") + " outside of units");
    add(counts.container.damagedSamples, CountOf(counts.container.damagedSamples, "damaged sample"));
    return fmt::format("damaged: {} of {} units and {} of {} bytes could not be read ({})", UnreadableUnits(),
                       counts.units, UnreadableBytes(), counts.bytes, causes);
}

std::string DescribeInALine(const InfoResult& result)
{
    const CStreamSummary& summary = result.summary;
    std::string text = CodecName(result.facts.codec);
    if (!summary.Sequences().empty()) {
        const SequenceInfo& info = summary.Sequences()[0].info;
        text += fmt::format(", {}", DescribeSize(info));
        if (info.HasFrameRate())
            text += fmt::format(", {}", DescribeFrameRate(info));
    }
    text += fmt::format(", {}, {}", CountOf(summary.Sizes().count, "access unit"),
                        CountOf(summary.KeyFrames(), "key frame"));
    if (summary.BitRate())
        text += fmt::format(", {}", DescribeBitRate(*summary.BitRate()));
    return text;
}

}  // namespace tool
