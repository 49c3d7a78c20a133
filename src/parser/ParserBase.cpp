#include "parser/ParserBase.h"

#include "memory/HeapBuffer.h"

#include <new>

namespace videoparams {

void CParserBase::SetBufferConfig(uint32_t count, uint32_t size)
{
    if (count != 0)
        queueCount = count;
    if (size != 0)
        queueBufferSize = size;
}

Result CParserBase::Create()
{
    if (!AllocateBuffer(rbspBuffer, rbspBufferSize))
        return ResultFailed;
    videoQueue = new (std::nothrow) CVideoQueue;
    const bool queueMade =
        videoQueue != nullptr && videoQueue->Create(queueCount, queueBufferSize) == ResultOk;
    if (!queueMade || CreateParameterSetBlocks() != ResultOk) {
        Release();
        return ResultFailed;
    }
    return ResultOk;
}

Result CParserBase::CreateParameterSetBlocks()
{
    parameterSets = ParameterSetData{};
    if (!AllocateBuffer(parameterSets.vps, vpsBlockSize) ||
        !AllocateBuffer(parameterSets.sps, spsBlockSize) || !AllocateBuffer(parameterSets.pps, ppsBlockSize))
        return ResultFailed;
    return ResultOk;
}

Result CParserBase::Release()
{
    FreeBuffer(rbspBuffer);
    if (videoQueue != nullptr) {
        videoQueue->Close();
        delete videoQueue;
        videoQueue = nullptr;
    }
    FreeBuffer(parameterSets.vps);
    FreeBuffer(parameterSets.sps);
    FreeBuffer(parameterSets.pps);
    FreeBuffer(nalPointers);
    FreeBuffer(nalSizes);
    return ResultOk;
}

Result CParserBase::ReadVideoParams(const unsigned char*, uint32_t, VideoInfo*, int)
{
    return ResultOk;
}

Result CParserBase::VideoSampleTest(const unsigned char*, uint32_t, VideoInfoEx*)
{
    return ResultOk;
}

Result CParserBase::QuerySliceType(const unsigned char*, uint32_t, VideoPicType&)
{
    return ResultOk;
}

Result CParserBase::SetVideoData(unsigned char*, uint32_t)
{
    return ResultOk;
}

Result CParserBase::GetNalUnit(unsigned char**, uint32_t*, bool*, uint32_t*)
{
    return ResultOk;
}

Result CParserBase::GetNalFromFrame(unsigned char*, uint32_t, uint32_t*, unsigned char***, uint32_t**)
{
    return ResultOk;
}

Result CParserBase::AddUserData(const unsigned char*, uint32_t, const unsigned char*, uint32_t,
                                const unsigned char**, uint32_t*)
{
    return ResultOk;
}

Result CParserBase::GetUserData(const unsigned char*, uint32_t, const unsigned char**, uint32_t*)
{
    return ResultOk;
}

Result CParserBase::RemoveUserData(const unsigned char*, uint32_t, const unsigned char**, uint32_t*)
{
    return ResultOk;
}

Result CParserBase::SetParameterSetData(unsigned char*, uint32_t, unsigned char*, uint32_t)
{
    return ResultOk;
}

Result CParserBase::GetParameterSetData(unsigned char*, uint32_t, ParameterSetData*)
{
    return ResultOk;
}

}  // namespace videoparams
