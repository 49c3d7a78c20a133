#include "inspect/UnitElements.h"

#include "stream/AvcSyntax.h"
#include "stream/Handle.h"
#include "stream/HevcSyntax.h"
#include "stream/SeiUnit.h"

namespace tool {

namespace {

// Nobody reads more.
constexpr size_t MostShown = 2000;

class CElementList
{
public:
    explicit CElementList(const NalUnit& given) : unit(given) {}

    void AddHeader();
    void AddParameterSet();
    void AddAvcSlice(const CStreamLists& lists);
    void AddHevcSlice();
    void AddDelimiter();
    void AddMessages();

    Json Take() { return std::move(json); }

private:
    void Add(const char* name, int64_t value) { json.push_back({{"name", name}, {"value", value}}); }
    void Begin(const std::string& structure) { json.push_back({{"name", structure}}); }
    void AddRead(bool isWhole);
    void AddDescription();

    const NalUnit& unit;
    std::vector<SyntaxElement> read;
    Json json = Json::array();
};

// nal_unit_header(), H.264 7.3.1 and H.265 7.3.1.2
void CElementList::AddHeader()
{
    Begin("nal_unit_header");
    Add("forbidden_zero_bit", unit.ForbiddenZeroBit());
    if (unit.codec == VideoCodecAVC) {
        Add("nal_ref_idc", unit.RefIdc());
        Add("nal_unit_type", unit.Type());
        return;
    }
    Add("nal_unit_type", unit.Type());
    Add("nuh_layer_id", unit.LayerId());
    Add("nuh_temporal_id_plus1", unit.TemporalIdPlus1());
}

void CElementList::AddRead(bool isWhole)
{
    for (size_t i = 0; i < read.size() && i < MostShown; ++i)
        Add(read[i].name, read[i].value);
    if (!isWhole)
        Begin("The unit ends here, or the parameter sets are unknown.");
}

void CElementList::AddParameterSet()
{
    CElementReader bits(unit, &read);
    const bool isAvc = unit.codec == VideoCodecAVC;
    if (unit.IsVps()) {
        Begin("video_parameter_set");
        AddRead(ReadHevcVps(bits).has_value());
        return;
    }
    if (unit.IsPps()) {
        Begin("pic_parameter_set");
        AddRead(isAvc ? ReadAvcPps(bits).has_value() : ReadHevcPps(bits).has_value());
        return;
    }
    Begin("seq_parameter_set");
    AddRead(isAvc ? ReadAvcSps(bits).has_value() : ReadHevcSps(bits).has_value());
    AddDescription();
}

// What the library reads is about the VUI: a flush describes an access unit of the set alone.
void CElementList::AddDescription()
{
    const CParseHandle reader(unit.codec);
    VideoInfo info{};
    ParseVideoParams(reader, unit.data, unit.size, &info);
    ParseVideoParams(reader, nullptr, 0, &info);
    if (!info.sequenceInfoValid)
        return;
    Begin("As the library describes it");
    Add("width", info.width);
    Add("height", info.height);
    Add("frameRateNumerator", info.frameRateNumerator);
    Add("frameRateDenominator", info.frameRateDenominator);
    Add("video_signal_type_present_flag", info.video_signal_type_present_flag);
    Add("video_format", info.video_format);
    Add("video_full_range_flag", info.video_full_range_flag);
    Add("colour_description_present_flag", info.colour_description_present_flag);
    Add("colour_primaries", info.colour_primaries);
    Add("transfer_characteristics", info.transfer_characteristics);
    Add("matrix_coefficients", info.matrix_coefficients);
}

void CElementList::AddAvcSlice(const CStreamLists& lists)
{
    CElementReader start(unit);
    const std::vector<unsigned char> ppsBytes =
        lists.Find("PPS", ReadAvcSliceStart(unit, start).pic_parameter_set_id, unit.number);
    const NalUnit ppsUnit = UnitOf(unit.codec, ppsBytes);
    CElementReader ppsBits(ppsUnit);
    const std::optional<AvcPps> pps = ReadAvcPps(ppsBits);
    const std::vector<unsigned char> spsBytes =
        lists.Find("SPS", pps ? pps->seq_parameter_set_id : 0, unit.number);
    const NalUnit spsUnit = UnitOf(unit.codec, spsBytes);
    CElementReader spsBits(spsUnit);
    const std::optional<AvcSps> sps = ReadAvcSps(spsBits);
    Begin("slice_header");
    CElementReader bits(unit, &read);
    if (pps && sps) {
        AddRead(ReadAvcSliceHeader(unit, *sps, *pps, bits).has_value());
        return;
    }
    ReadAvcSliceStart(unit, bits);
    AddRead(false);
}

void CElementList::AddHevcSlice()
{
    Begin("slice_segment_header");
    CElementReader bits(unit, &read);
    AddRead(ReadHevcSliceHeader(unit, bits).has_value());
}

void CElementList::AddDelimiter()
{
    Begin("access_unit_delimiter");
    CElementReader bits(unit, &read);
    bits.Bits(unit.codec == VideoCodecAVC ? "primary_pic_type" : "pic_type", 3);
    AddRead(!bits.PastEnd());
}

void CElementList::AddMessages()
{
    const CSeiUnit sei(unit);
    for (size_t i = 0; i < sei.MessageCount() && json.size() < MostShown; ++i) {
        const SeiMessageView message = sei.Message(i);
        Begin("sei_message");
        Add("payloadType", static_cast<int64_t>(message.payloadType));
        Add("payloadSize", static_cast<int64_t>(message.payload.size()));
    }
}

}  // namespace

Json ReadElements(const NalUnit& unit, const CStreamLists& lists)
{
    if (!unit.HasHeader())
        return Json::array();
    CElementList list(unit);
    list.AddHeader();
    if (unit.ForbiddenZeroBit())
        return list.Take();
    if (unit.IsVps() || unit.IsSps() || unit.IsPps())
        list.AddParameterSet();
    else if (unit.IsDelimiter())
        list.AddDelimiter();
    else if (unit.IsAnySei())
        list.AddMessages();
    else if (unit.IsSlice() && unit.codec == VideoCodecAVC)
        list.AddAvcSlice(lists);
    else if (unit.IsSlice())
        list.AddHevcSlice();
    return list.Take();
}

}  // namespace tool
