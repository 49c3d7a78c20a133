#pragma once

#include "analysis/AccessUnitAssembly.h"
#include "parser/ParserBase.h"

namespace videoparams {

// The object behind an H.265 handle. It keeps no parameter sets: a slice segment tells by its first bit
// whether a picture starts.
class CParseHEVCParams : public CParserBase, private CAccessUnitHooks
{
public:
    CParseHEVCParams() = default;

    [[nodiscard]] Result Create() override;
    Result Release() override;
    Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info, int reserved) override;
    Result QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type) override;
    Result AddUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                       uint32_t dataLength, const unsigned char** output, uint32_t* outputLength) override;
    Result GetUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                       uint32_t* outputLength) override;
    Result RemoveUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                          uint32_t* outputLength) override;

protected:
    static constexpr uint32_t MaxShortTermRefPicSets = 64;  // H.265 7.4.3.2.1

    Result ReadVideoParameterSetData(VideoInfo* info);
    Result ReadSequenceParameterSetData(VideoInfo* info);
    Result ReadSliceHeaderData(VideoInfo* info, uint32_t nalUnitType, int32_t* newPicture);

    // The access units under assembly.
    CAccessUnitAssembly accessUnits{*this, *this, hevcRules};

private:
    void ReadLeadingUnit(VideoInfo& record) override;
    Result ReadSlice(bool& newPicture) override;
    const VideoInfo* CompleteKeyUnit(VideoQueueInfo& unit) override;

    void SkipProfileTierLevel(uint32_t maxNumSubLayersMinus1);
    void SkipProfile();
    void SkipSubLayerOrdering(uint32_t max_sub_layers_minus1);
    void SkipLayerSets();
    bool ReadPictureSize(VideoInfo& info);
    void SkipScalingListData();
    void SkipScalingList(uint32_t sizeId);
    void SkipPcm();
    bool SkipShortTermRefPicSets();
    void SkipShortTermRefPicSet(uint32_t stRpsIdx, uint64_t (&NumDeltaPocs)[MaxShortTermRefPicSets]);
    void SkipLongTermRefPics(uint32_t log2_max_pic_order_cnt_lsb_minus4);
    void ReadVui(VideoInfo& info);
    void ReadTiming(VideoInfo& info);
};

}  // namespace videoparams
