#include "report/ColourNames.h"
#include "report/ContainerInfo.h"
#include "report/InfoReport.h"
#include "report/JsonReport.h"

#include <cmath>

namespace tool {

namespace {

// A value that is not coded has no name.
Json Named(uint32_t value, uint32_t isCoded, const char* name)
{
    return {{"value", value}, {"name", isCoded ? Json(name) : Json(nullptr)}};
}

Json ToJson(const SequenceInfo& info)
{
    Json json = {{"profile", {{"value", info.profile_idc}, {"name", info.profile}}},
                 {"level", info.level},
                 {"tier", info.tier.empty() ? Json(nullptr) : Json(info.tier)},
                 {"width", info.width},
                 {"height", info.height},
                 {"chromaFormat", ChromaFormatName(info.chroma_format_idc)},
                 {"bitDepth", {{"luma", info.lumaBitDepth}, {"chroma", info.chromaBitDepth}}},
                 {"scan", info.scan == Scan::Unknown ? Json(nullptr) : Json(ScanName(info.scan))},
                 {"frameRate", nullptr}};
    if (info.HasFrameRate())
        json["frameRate"] = {{"numerator", info.frameRateNumerator},
                             {"denominator", info.frameRateDenominator},
                             {"framesPerSecond", Rounded(info.FrameRate())}};
    const uint32_t hasSignal = info.video_signal_type_present_flag;
    const uint32_t hasColour = info.colour_description_present_flag;
    json["colour"] = {
        {"video_signal_type_present_flag", hasSignal},
        {"video_format", Named(info.video_format, hasSignal, VideoFormatName(info.video_format))},
        {"video_full_range_flag", info.video_full_range_flag},
        {"colour_description_present_flag", hasColour},
        {"colour_primaries",
         Named(info.colour_primaries, hasColour, ColourPrimariesName(info.colour_primaries))},
        {"transfer_characteristics", Named(info.transfer_characteristics, hasColour,
                                           TransferCharacteristicsName(info.transfer_characteristics))},
        {"matrix_coefficients",
         Named(info.matrix_coefficients, hasColour, MatrixCoefficientsName(info.matrix_coefficients))},
    };
    return json;
}

Json ToJson(const Spread& spread)
{
    if (spread.count == 0)
        return nullptr;
    return {{"smallest", spread.smallest}, {"mean", Rounded(spread.Mean())}, {"largest", spread.largest}};
}

class CInfoJson : public CJsonReport<CInfoReport>
{
public:
    CInfoJson(const ReportStyle& style, bool listsAccessUnits)
        : CJsonReport("info", listsAccessUnits ? "accessUnits" : "", style)
    {}

    void Begin(const SourceFacts& facts) override;
    void Add(const AccessUnit& unit) override;
    void End(const InfoResult& result) override;

private:
    TimeBase timeBase;
};

void CInfoJson::Begin(const SourceFacts& facts)
{
    timeBase = facts.timeBase;
    CJsonReport::Begin(facts);
}

void CInfoJson::Add(const AccessUnit& unit)
{
    Json json = {
        {"number", unit.number}, {"offset", unit.offset}, {"size", unit.size}, {"keyFrame", unit.isKeyFrame}};
    if (unit.slice_type >= 0) {
        json["field"] = unit.isField;
        json["slice_type"] = unit.slice_type;
    }
    if (unit.sample)
        json.update(TimesToJson(unit, timeBase));
    writer.Add(json);
}

void CInfoJson::End(const InfoResult& result)
{
    Json json;
    const CStreamSummary& summary = result.summary;
    if (result.facts.container)
        json["container"] = ContainerToJson(result);
    json["sequences"] = Json::array();
    for (const SequenceStart& sequence : summary.Sequences()) {
        json["sequences"].push_back({{"firstAccessUnit", sequence.accessUnit}});
        json["sequences"].back().update(ToJson(sequence.info));
    }
    json["sequenceChanges"] = summary.SequenceChanges();
    json["bytes"] = result.counts.bytes;
    json["unitCount"] = result.counts.units;
    json["accessUnitCount"] = summary.Sizes().count;
    json["accessUnitSize"] = ToJson(summary.Sizes());
    json["fieldCount"] = summary.Fields();
    json["keyFrameCount"] = summary.KeyFrames();
    json["keyFrameDistance"] = ToJson(summary.KeyDistances());
    json["layerCount"] = 1 + result.furtherLayers.size();
    json["unusedParameterSets"] = result.unusedSets;
    json["seconds"] = RoundedOrNull(summary.Duration());
    json["bitsPerSecond"] = summary.BitRate() ? Json(std::llround(*summary.BitRate())) : Json(nullptr);
    json["unreadable"] = {{"bytes", result.UnreadableBytes()},
                          {"damagedUnits", result.damage.damagedUnits},
                          {"lostSlices", result.damage.lostSlices},
                          {"bytesOutsideOfUnits", result.counts.skippedBytes}};
    writer.End(json);
}

}  // namespace

std::unique_ptr<CInfoReport> MakeInfoJson(const ReportStyle& style, bool listsAccessUnits)
{
    return std::make_unique<CInfoJson>(style, listsAccessUnits);
}

}  // namespace tool
