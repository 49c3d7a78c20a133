#include "check/HevcContinuity.h"

#include <algorithm>

namespace gstvp {

namespace {

constexpr gint64 AllBits = -1;

gint64 MaxOrderCountLsb(const GstH265SPS& sps)
{
    return gint64{16} << std::min<guint>(sps.log2_max_pic_order_cnt_lsb_minus4, 12);
}

// A picture that no picture of the lowest sub-layer builds its order count on, H.265 8.3.1
bool IsSkippedByOrderCount(const GstH265NalUnit& unit)
{
    const bool isSubLayerNonReference =
        unit.type <= RESERVED_NON_IRAP_SUBLAYER_NAL_TYPE_MAX && unit.type % 2 == 0;
    return unit.temporal_id_plus1 != 1 || isSubLayerNonReference || GST_H265_IS_NAL_TYPE_RADL(unit.type) ||
           GST_H265_IS_NAL_TYPE_RASL(unit.type);
}

void AddShortTerm(std::vector<HevcReference>& references, const GstH265SliceHdr& slice, gint64 orderCount)
{
    const GstH265ShortTermRefPicSet& set =
        slice.short_term_ref_pic_set_sps_flag
            ? slice.pps->sps->short_term_ref_pic_set[std::min<guint>(slice.short_term_ref_pic_set_idx, 64)]
            : slice.short_term_ref_pic_sets;
    for (guint i = 0; i < std::min<guint>(set.NumNegativePics, 16); ++i)
        references.push_back({orderCount + set.DeltaPocS0[i], AllBits, set.UsedByCurrPicS0[i] != 0});
    for (guint i = 0; i < std::min<guint>(set.NumPositivePics, 16); ++i)
        references.push_back({orderCount + set.DeltaPocS1[i], AllBits, set.UsedByCurrPicS1[i] != 0});
}

// Equations 7-52 and 8-5
void AddLongTerm(std::vector<HevcReference>& references, const GstH265SliceHdr& slice, gint64 orderCount)
{
    const GstH265SPS& sps = *slice.pps->sps;
    const gint64 maxLsb = MaxOrderCountLsb(sps);
    const guint count = std::min<guint>(slice.num_long_term_sps + slice.num_long_term_pics, 16);
    gint64 DeltaPocMsbCycleLt = 0;
    for (guint i = 0; i < count; ++i) {
        const bool isFromSps = i < slice.num_long_term_sps;
        const guint index = std::min<guint>(slice.lt_idx_sps[i], 31);
        if (i == slice.num_long_term_sps)
            DeltaPocMsbCycleLt = 0;
        DeltaPocMsbCycleLt += slice.delta_poc_msb_cycle_lt[i];
        HevcReference reference{};
        reference.orderCount = isFromSps ? sps.lt_ref_pic_poc_lsb_sps[index] : slice.poc_lsb_lt[i];
        reference.isUsed =
            (isFromSps ? sps.used_by_curr_pic_lt_sps_flag[index] : slice.used_by_curr_pic_lt_flag[i]) != 0;
        reference.mask = maxLsb - 1;
        if (slice.delta_poc_msb_present_flag[i]) {
            reference.orderCount += orderCount - DeltaPocMsbCycleLt * maxLsb - (orderCount & (maxLsb - 1));
            reference.mask = AllBits;
        }
        references.push_back(reference);
    }
}

}  // namespace

ContinuityResult CHevcContinuity::Test(const CAccessUnitHead& head)
{
    for (const NalUnit& unit : head.LeadingUnits()) {
        GstH265NalUnit nalUnit = Identify(unit);
        if (nalUnit.valid && nalUnit.layer_id == 0 &&
            (nalUnit.type >= GST_H265_NAL_VPS && nalUnit.type <= GST_H265_NAL_PPS))
            gst_h265_parser_parse_nal(parser, &nalUnit);
    }
    GstH265NalUnit nalUnit = Identify(head.FirstSlice());
    if (!nalUnit.valid || nalUnit.layer_id != 0)
        return {};
    GstH265SliceHdr slice{};
    ContinuityResult result;
    const GstH265ParserResult parsed = gst_h265_parser_parse_slice_hdr(parser, &nalUnit, &slice);
    if (parsed == GST_H265_PARSER_OK)
        result = TestPicture(nalUnit, slice);
    else if (parsed == GST_H265_PARSER_BROKEN_LINK)
        result.outcome = ContinuityOutcome::ParameterSetsMissing;
    gst_h265_slice_hdr_free(&slice);
    return result;
}

GstH265NalUnit CHevcContinuity::Identify(const NalUnit& unit)
{
    GstH265NalUnit identified{};
    if (gst_h265_parser_identify_nalu_unchecked(parser, unit.bytes.data(), 0, unit.bytes.size(),
                                                &identified) != GST_H265_PARSER_OK)
        identified.valid = FALSE;
    return identified;
}

ContinuityResult CHevcContinuity::TestPicture(const GstH265NalUnit& unit, const GstH265SliceHdr& slice)
{
    if (isAfterBla && GST_H265_IS_NAL_TYPE_RASL(unit.type))
        return {};
    if (GST_H265_IS_NAL_TYPE_IRAP(unit.type))
        isAfterBla = GST_H265_IS_NAL_TYPE_BLA(unit.type);
    const gint64 orderCount = OrderCountOf(unit, slice);
    std::vector<HevcReference> references;
    if (!GST_H265_IS_NAL_TYPE_IDR(unit.type) && !GST_H265_IS_NAL_TYPE_BLA(unit.type)) {
        AddShortTerm(references, slice, orderCount);
        AddLongTerm(references, slice, orderCount);
    }
    const guint missingCount = TakeReferences(references);
    available.insert(orderCount);
    isFirst = false;
    if (missingCount == 0)
        return {};
    return {ContinuityOutcome::ReferencesMissing, missingCount};
}

// H.265 8.3.1
gint64 CHevcContinuity::OrderCountOf(const GstH265NalUnit& unit, const GstH265SliceHdr& slice)
{
    const gint64 maxLsb = MaxOrderCountLsb(*slice.pps->sps);
    const gint64 slice_pic_order_cnt_lsb = slice.pic_order_cnt_lsb;
    gint64 PicOrderCntMsb = 0;
    const bool beginsSequence =
        GST_H265_IS_NAL_TYPE_IDR(unit.type) || GST_H265_IS_NAL_TYPE_BLA(unit.type) || isFirst;
    if (!beginsSequence) {
        const gint64 previousLsb = previousOrderCount & (maxLsb - 1);
        PicOrderCntMsb = previousOrderCount - previousLsb;
        if (slice_pic_order_cnt_lsb < previousLsb && previousLsb - slice_pic_order_cnt_lsb >= maxLsb / 2)
            PicOrderCntMsb += maxLsb;
        else if (slice_pic_order_cnt_lsb > previousLsb && slice_pic_order_cnt_lsb - previousLsb > maxLsb / 2)
            PicOrderCntMsb -= maxLsb;
    }
    const gint64 PicOrderCntVal = PicOrderCntMsb + slice_pic_order_cnt_lsb;
    if (isFirst || !IsSkippedByOrderCount(unit))
        previousOrderCount = PicOrderCntVal;
    return PicOrderCntVal;
}

// Replaces what is available by the set, and returns how many pictures that the current one uses are missing.
// A missing picture is then taken to be there, so that it is reported once.
guint CHevcContinuity::TakeReferences(const std::vector<HevcReference>& references)
{
    std::set<gint64> kept;
    guint missingCount = 0;
    for (const HevcReference& reference : references) {
        const auto found = std::find_if(available.begin(), available.end(), [&](gint64 orderCount) {
            return (orderCount & reference.mask) == reference.orderCount;
        });
        if (found != available.end()) {
            kept.insert(*found);
            continue;
        }
        if (reference.isUsed || isFirst)
            kept.insert(reference.orderCount);
        if (reference.isUsed && !isFirst)
            ++missingCount;
    }
    available = std::move(kept);
    return missingCount;
}

}  // namespace gstvp
