#include "hevc/ParseHEVCParams.h"

namespace videoparams {

Result CParseHEVCParams::Create()
{
    const Result result = CParserBase::Create();
    accessUnits.Clear();
    return result;
}

Result CParseHEVCParams::Release()
{
    return CParserBase::Release();
}

Result CParseHEVCParams::ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info,
                                         int /*reserved*/)
{
    return accessUnits.ReadVideoParams(data, size, info);
}

Result CParseHEVCParams::QuerySliceType(const unsigned char* /*data*/, uint32_t /*size*/, VideoPicType& type)
{
    type = VideoPicUnknown;
    return ResultFailed;
}

void CParseHEVCParams::ReadLeadingUnit(VideoInfo& record)
{
    if (openUnit.header.nal_unit_type == HevcUnitVps)
        ReadVideoParameterSetData(&record);
    else if (openUnit.header.nal_unit_type == HevcUnitSps)
        ReadSequenceParameterSetData(&record);
}

Result CParseHEVCParams::ReadSlice(bool& newPicture)
{
    int32_t startsPicture = 0;
    const Result result = ReadSliceHeaderData(nullptr, openUnit.header.nal_unit_type, &startsPicture);
    newPicture = startsPicture != 0;
    return result;
}

// slice_segment_header(), H.265 7.3.6.1, its first element
Result CParseHEVCParams::ReadSliceHeaderData(VideoInfo* /*info*/, uint32_t /*nalUnitType*/,
                                             int32_t* newPicture)
{
    *newPicture = 0;
    const uint32_t first_slice_segment_in_pic_flag = ReadData(1);
    if (accessUnits.firstSlice != 0)
        accessUnits.firstSlice = 0;
    else if (first_slice_segment_in_pic_flag)
        *newPicture = 1;
    return ResultOk;
}

const VideoInfo* CParseHEVCParams::CompleteKeyUnit(VideoQueueInfo& /*unit*/)
{
    return nullptr;  // no parameter sets are held
}

Result CParseHEVCParams::AddUserData(const unsigned char* stream, uint32_t streamLength,
                                     const unsigned char* data, uint32_t dataLength,
                                     const unsigned char** output, uint32_t* outputLength)
{
    return InsertUserData(hevcRules, stream, streamLength, data, dataLength, output, outputLength);
}

Result CParseHEVCParams::GetUserData(const unsigned char* stream, uint32_t streamLength,
                                     const unsigned char** output, uint32_t* outputLength)
{
    return ExtractUserData(hevcRules, stream, streamLength, output, outputLength);
}

Result CParseHEVCParams::RemoveUserData(const unsigned char* stream, uint32_t streamLength,
                                        const unsigned char** output, uint32_t* outputLength)
{
    return StripUserData(hevcRules, stream, streamLength, output, outputLength);
}

}  // namespace videoparams
