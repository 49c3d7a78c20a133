#include "avc/AvcSliceReader.h"

#include "bitstream/EmulationPrevention.h"

#include <algorithm>
#include <utility>

namespace videoparams {

SliceReading CAvcSliceReader::Read(OpenedSlice& slice)
{
    if (!scanner.OpenHead(slice.rbsp))
        return SliceReading::OutOfMemory;
    bool isRead = ReadHeader(slice);
    if (slice.rbsp.isHead && slice.bits.AtEnd()) {
        if (!scanner.OpenWhole(slice.rbsp))
            return SliceReading::OutOfMemory;
        isRead = ReadHeader(slice);
    }
    if (!isRead)
        return SliceReading::UnknownParameterSets;

    startsPicture = !isFirstSlice && DiffersFromPrevious();
    isFirstSlice = false;
    std::swap(latest, spare);
    return SliceReading::Read;
}

// slice_header(), H.264 7.3.3, up to the picture order count. False: a parameter set is unknown.
bool CAvcSliceReader::ReadHeader(OpenedSlice& slice)
{
    const NalHeader& unit = scanner.Unit().header;
    CBitReader bits = slice.rbsp.AfterHeader();
    SliceHeaderRecord& header = *spare;
    header = SliceHeaderRecord{};
    header.first_mb_in_slice = bits.Ue();
    header.slice_type = bits.Ue();
    header.pic_parameter_set_id = bits.Ue();
    const PpsRecord* const pps = tables.FindPps(header.pic_parameter_set_id);
    sps = pps != nullptr ? tables.FindSps(pps->seq_parameter_set_id) : nullptr;
    if (sps == nullptr) {
        slice.bits = bits;
        return false;
    }

    if (sps->separate_colour_plane_flag)
        bits.Bits(2);  // colour_plane_id
    header.frame_num = bits.Bits(BitsOf(sps->log2_max_frame_num_minus4));
    if (!sps->frame_mbs_only_flag) {
        header.field_pic_flag = bits.Bits(1);
        if (header.field_pic_flag)
            header.bottom_field_flag = bits.Bits(1);
    }
    header.nal_ref_idc = unit.nal_ref_idc;
    if (unit.nal_unit_type == AvcUnitIdrSlice) {
        header.IdrPicFlag = 1;
        header.idr_pic_id = bits.Ue();
    }
    const bool bottomIsCoded = pps->bottom_field_pic_order_in_frame_present_flag && !header.field_pic_flag;
    if (sps->pic_order_cnt_type == 0) {
        header.pic_order_cnt_lsb = bits.Bits(BitsOf(sps->log2_max_pic_order_cnt_lsb_minus4));
        if (bottomIsCoded)
            header.delta_pic_order_cnt_bottom = static_cast<uint32_t>(bits.Se());
    }
    if (sps->pic_order_cnt_type == 1 && !sps->delta_pic_order_always_zero_flag) {
        header.delta_pic_order_cnt[0] = static_cast<uint32_t>(bits.Se());
        if (bottomIsCoded)
            header.delta_pic_order_cnt[1] = static_cast<uint32_t>(bits.Se());
    }
    slice.bits = bits;
    return true;
}

// Detection of the first VCL NAL unit of a primary coded picture, H.264 7.4.1.2.4
bool CAvcSliceReader::DiffersFromPrevious() const
{
    const SliceHeaderRecord& header = *spare;
    const SliceHeaderRecord& previous = *latest;
    if (header.frame_num != previous.frame_num ||
        header.pic_parameter_set_id != previous.pic_parameter_set_id ||
        header.field_pic_flag != previous.field_pic_flag || header.IdrPicFlag != previous.IdrPicFlag)
        return true;
    if (header.field_pic_flag && header.bottom_field_flag != previous.bottom_field_flag)
        return true;
    if (header.nal_ref_idc != previous.nal_ref_idc && (header.nal_ref_idc == 0 || previous.nal_ref_idc == 0))
        return true;
    if (sps->pic_order_cnt_type == 0 &&
        (header.pic_order_cnt_lsb != previous.pic_order_cnt_lsb ||
         header.delta_pic_order_cnt_bottom != previous.delta_pic_order_cnt_bottom))
        return true;
    if (sps->pic_order_cnt_type == 1 && (header.delta_pic_order_cnt[0] != previous.delta_pic_order_cnt[0] ||
                                         header.delta_pic_order_cnt[1] != previous.delta_pic_order_cnt[1]))
        return true;
    return header.IdrPicFlag && header.idr_pic_id != previous.idr_pic_id;
}

uint32_t OpenedSlice::MeasureHeader() const
{
    const uint32_t length = bits.BytePosition() - rbsp.headerLength + 1;
    const uint32_t present = rbsp.size - rbsp.headerLength;
    return length + CountEmulationPrevention(rbsp.data + rbsp.headerLength, std::min(length, present));
}

}  // namespace videoparams
