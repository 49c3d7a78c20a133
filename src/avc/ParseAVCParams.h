#pragma once

#include "analysis/AccessUnitAssembly.h"
#include "parser/ParserBase.h"

namespace videoparams {

// What slice headers need of a sequence parameter set.
struct SpsRecord
{
    uint32_t seq_parameter_set_id;
    uint32_t separate_colour_plane_flag;
    uint32_t log2_max_frame_num_minus4;
    uint32_t pic_order_cnt_type;
    uint32_t log2_max_pic_order_cnt_lsb_minus4;
    uint32_t delta_pic_order_always_zero_flag;
    uint32_t frame_mbs_only_flag;
    uint32_t gaps_in_frame_num_value_allowed_flag;
};

// What slice headers need of a picture parameter set.
struct PpsRecord
{
    uint32_t pic_parameter_set_id;
    uint32_t seq_parameter_set_id;
    uint32_t bottom_field_pic_order_in_frame_present_flag;
};

// The part of a slice header that tells pictures apart; signed elements as their 32 bits.
struct SliceHeaderRecord
{
    uint32_t first_mb_in_slice;
    uint32_t slice_type;
    uint32_t pic_parameter_set_id;
    uint32_t frame_num;
    uint32_t field_pic_flag;
    uint32_t bottom_field_flag;
    uint32_t nal_ref_idc;
    uint32_t IdrPicFlag;
    uint32_t idr_pic_id;
    uint32_t pic_order_cnt_lsb;
    uint32_t delta_pic_order_cnt_bottom;
    uint32_t delta_pic_order_cnt[2];
};

// Picture size as a sequence parameter set codes it.
struct AvcPictureSize
{
    uint32_t chroma_format_idc = 1;
    uint32_t pic_width_in_mbs_minus1 = 0;
    uint32_t pic_height_in_map_units_minus1 = 0;
    uint32_t frame_mbs_only_flag = 0;
    uint32_t frame_crop_left_offset = 0;
    uint32_t frame_crop_right_offset = 0;
    uint32_t frame_crop_top_offset = 0;
    uint32_t frame_crop_bottom_offset = 0;

    uint32_t Width() const;
    uint32_t Height() const;
};

// A parameter set that is kept as it came, start code included; the three members of the parser that hold it.
struct StoredUnit
{
    unsigned char*& data;
    uint32_t& capacity;
    uint32_t& length;
};

// The object behind an H.264 handle.
class CParseAVCParams : public CParserBase, private CAccessUnitHooks
{
public:
    CParseAVCParams() = default;

    [[nodiscard]] Result Create() override;
    Result Release() override;
    Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info, int reserved) override;
    Result VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test) override;
    Result QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type) override;
    Result SetVideoData(unsigned char* data, uint32_t size) override;
    Result GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                      uint32_t* sliceHeaderLength) override;
    Result GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count, unsigned char*** units,
                           uint32_t** sizes) override;
    Result AddUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                       uint32_t dataLength, const unsigned char** output, uint32_t* outputLength) override;
    Result GetUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                       uint32_t* outputLength) override;
    Result RemoveUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                          uint32_t* outputLength) override;
    Result SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                               uint32_t ppsSize) override;
    Result GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets) override;

protected:
    static constexpr uint32_t MaxSpsCount = 32;   // H.264 7.4.2.1.1
    static constexpr uint32_t MaxPpsCount = 256;  // H.264 7.4.2.2

    Result ReadSequenceParameterSetData(VideoInfo* info);
    Result ReadPictureParameterSetData(VideoInfo* info);
    Result ReadSliceHeaderData(VideoInfo* info, uint32_t nalUnitType, uint32_t nalRefIdc,
                               int32_t* newPicture);

    // Parameter sets by their identifiers, each record on the heap; null until the first of that identifier.
    SpsRecord* spsTable[MaxSpsCount] = {};
    PpsRecord* ppsTable[MaxPpsCount] = {};

    // The last slice header whose parameter sets were known, and the one read last.
    SliceHeaderRecord prevSliceHeader{};
    SliceHeaderRecord sliceHeader{};

    // The access units under assembly.
    CAccessUnitAssembly accessUnits{*this, *this, avcRules};

    // The description that goes with the held parameter sets.
    VideoInfo parameterSetInfo{};

    // The held parameter sets: the first of the stream, or the host's. Length 0: none.
    unsigned char* spsData = nullptr;
    unsigned char* ppsData = nullptr;
    uint32_t spsCapacity = 10;
    uint32_t ppsCapacity = 10;
    uint32_t spsLength = 0;
    uint32_t ppsLength = 0;

    // The sample test: frame_num of the last reference picture and of the slice tested last.
    uint32_t prevRefFrameNum = 0;
    uint32_t frameNum = 0;

    // Of the sequence parameter set of the slice read last.
    uint32_t maxFrameNum = 0;  // 0: does not fit 32 bits
    uint32_t gapsInFrameNumAllowed = 0;

    // The sample test of fields: bottom_field_flag of a second field, and whether its first field failed.
    uint32_t secondFieldParity = 0;
    uint32_t firstFieldGap = 0;

private:
    void ReadLeadingUnit(VideoInfo& record) override;
    Result ReadSlice(bool& newPicture) override;
    const VideoInfo* CompleteKeyUnit(VideoQueueInfo& unit) override;

    StoredUnit HeldSps() { return {spsData, spsCapacity, spsLength}; }
    StoredUnit HeldPps() { return {ppsData, ppsCapacity, ppsLength}; }
    void CaptureUnit(StoredUnit held, const VideoInfo& record);

    Result ReadParameterSet(VideoInfo& record);
    uint32_t ReadChromaFormat(SpsRecord& sps);
    void SkipScalingLists(uint32_t chroma_format_idc);
    void SkipScalingList(uint32_t sizeOfScalingList);
    void ReadPictureOrderCount(SpsRecord& sps);
    void ReadPictureSize(SpsRecord& sps, AvcPictureSize& size);
    void ReadVui(VideoInfo& info);

    const SpsRecord* FindSps(uint32_t seq_parameter_set_id) const;
    const PpsRecord* FindPps(uint32_t pic_parameter_set_id) const;
    [[nodiscard]] Result ReadSliceHeader(uint32_t nalUnitType, uint32_t nalRefIdc);
    bool StartsNewPicture(const SpsRecord& sps) const;

    [[nodiscard]] Result OpenFirstSlice(bool& found);
    void TestSlice(VideoInfoEx& test);
    bool BreaksSequence();

    [[nodiscard]] bool MakeRoomToHold(StoredUnit held, const unsigned char* unit, uint32_t unitSize);
    void HoldUnit(StoredUnit held, const unsigned char* unit, uint32_t unitSize);
    Result ReadHeldUnits();
    [[nodiscard]] Result OpenHeldUnit(StoredUnit held);
    Result CopyParameterSets(bool& copied);
    [[nodiscard]] bool CopyUnitTo(StoredUnit block);

    Result CollectUnits(uint32_t& unitCount);
    uint32_t MeasureSliceHeader() const;
};

}  // namespace videoparams
