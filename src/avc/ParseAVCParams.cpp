#include "avc/ParseAVCParams.h"

#include "memory/HeapBuffer.h"

#include <cstring>

namespace videoparams {

Result CParseAVCParams::Create()
{
    const Result result = CParserBase::Create();
    accessUnits.Clear();
    std::memset(&parameterSetInfo, 0, sizeof parameterSetInfo);
    if (!AllocateBuffer(spsData, spsCapacity))
        return ResultFailed;
    if (!AllocateBuffer(ppsData, ppsCapacity))
        return ResultFailed;
    return result;
}

Result CParseAVCParams::Release()
{
    for (SpsRecord*& record : spsTable)
        FreeBuffer(record);
    for (PpsRecord*& record : ppsTable)
        FreeBuffer(record);
    FreeBuffer(spsData);
    FreeBuffer(ppsData);
    return CParserBase::Release();
}

Result CParseAVCParams::ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info,
                                        int /*reserved*/)
{
    return accessUnits.ReadVideoParams(data, size, info);
}

// The first of each kind is kept raw. That the parse fails is no reason not to: the bytes may serve a
// decoder.
void CParseAVCParams::ReadLeadingUnit(VideoInfo& record)
{
    ReadParameterSet(record);
    if (openUnit.header.nal_unit_type == AvcUnitSps)
        CaptureUnit(HeldSps(), record);
    else if (openUnit.header.nal_unit_type == AvcUnitPps)
        CaptureUnit(HeldPps(), record);
}

// The opened unit, if it is one, into the tables. Fails only for want of memory for its record.
Result CParseAVCParams::ReadParameterSet(VideoInfo& record)
{
    if (openUnit.header.nal_unit_type == AvcUnitSps)
        return ReadSequenceParameterSetData(&record);
    if (openUnit.header.nal_unit_type == AvcUnitPps)
        return ReadPictureParameterSetData(&record);
    return ResultOk;
}

Result CParseAVCParams::ReadSlice(bool& newPicture)
{
    int32_t startsPicture = 0;
    const Result result = ReadSliceHeaderData(nullptr, openUnit.header.nal_unit_type,
                                              openUnit.header.nal_ref_idc, &startsPicture);
    newPicture = startsPicture != 0;
    return result;
}

// A stream may begin with an SPS read into the current record and go on with a PPS whose record is the
// pending one and empty: the description of the SPS must outlive that.
void CParseAVCParams::CaptureUnit(StoredUnit held, const VideoInfo& record)
{
    if (held.length != 0 || !MakeRoom(held.data, held.capacity, openUnit.size, openUnit.size))
        return;
    ByteSink{held.data, held.capacity, held.length}.Append(openUnit.data, openUnit.size);
    if (record.sequenceInfoValid != 0)
        parameterSetInfo = record;
}

const VideoInfo* CParseAVCParams::CompleteKeyUnit(VideoQueueInfo& unit)
{
    if (spsLength != 0 && ppsLength != 0) {
        // Without memory for them the unit is reported as it came.
        (void)videoQueue->InsertParameterData(&unit, spsData, spsLength, ppsData, ppsLength);
    }
    return parameterSetInfo.sequenceInfoValid != 0 ? &parameterSetInfo : nullptr;
}

Result CParseAVCParams::AddUserData(const unsigned char* stream, uint32_t streamLength,
                                    const unsigned char* data, uint32_t dataLength,
                                    const unsigned char** output, uint32_t* outputLength)
{
    return InsertUserData(avcRules, stream, streamLength, data, dataLength, output, outputLength);
}

Result CParseAVCParams::GetUserData(const unsigned char* stream, uint32_t streamLength,
                                    const unsigned char** output, uint32_t* outputLength)
{
    return ExtractUserData(avcRules, stream, streamLength, output, outputLength);
}

Result CParseAVCParams::RemoveUserData(const unsigned char* stream, uint32_t streamLength,
                                       const unsigned char** output, uint32_t* outputLength)
{
    return StripUserData(avcRules, stream, streamLength, output, outputLength);
}

}  // namespace videoparams
