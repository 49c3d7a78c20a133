#include "parser/ParserBase.h"

namespace videoparams {

CParserBase::CParserBase(const NalRules& rules, CAccessUnitHooks& hooks, HandleFamily family)
    : scanner(rules),
      work(family == HandleFamily::Parse ? Work(std::in_place_type<StreamAnalysis>, scanner, hooks)
                                         : Work(std::in_place_type<CUserDataEditor>, scanner))
{}

HandleFamily CParserBase::Family() const
{
    return std::holds_alternative<StreamAnalysis>(work) ? HandleFamily::Parse : HandleFamily::UserData;
}

Result CParserBase::Create(uint32_t queueCount, uint32_t queueSize)
{
    return scanner.Create() ? Analysis().queue.Create(queueCount, queueSize) : ResultFailed;
}

Result CParserBase::UserDataCreate()
{
    return scanner.Create() ? Editor().Create() : ResultFailed;
}

Result CParserBase::AddUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                                uint32_t dataLength, const unsigned char** output, uint32_t* outputLength)
{
    return Editor().Insert(stream, streamLength, data, dataLength, output, outputLength);
}

Result CParserBase::GetUserData(const unsigned char* stream, uint32_t streamLength,
                                const unsigned char** output, uint32_t* outputLength)
{
    return Editor().Extract(stream, streamLength, output, outputLength);
}

Result CParserBase::RemoveUserData(const unsigned char* stream, uint32_t streamLength,
                                   const unsigned char** output, uint32_t* outputLength)
{
    return Editor().Remove(stream, streamLength, output, outputLength);
}

Result CParserBase::ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info)
{
    return Analysis().accessUnits.ReadVideoParams(data, size, info);
}

Result CParserBase::VideoSampleTest(const unsigned char* /*data*/, uint32_t /*size*/, VideoInfoEx* /*test*/)
{
    return ResultOk;
}

Result CParserBase::QuerySliceType(const unsigned char* /*data*/, uint32_t /*size*/, VideoPicType& type)
{
    type = VideoPicUnknown;
    return ResultFailed;
}

Result CParserBase::SetVideoData(unsigned char* /*data*/, uint32_t /*size*/)
{
    return ResultOk;
}

Result CParserBase::GetNalUnit(unsigned char** /*unit*/, uint32_t* /*unitSize*/, bool* /*isSlice*/,
                               uint32_t* /*sliceHeaderLength*/)
{
    return ResultOk;
}

Result CParserBase::GetNalFromFrame(unsigned char* /*frame*/, uint32_t /*size*/, uint32_t* /*count*/,
                                    unsigned char*** /*units*/, uint32_t** /*sizes*/)
{
    return ResultOk;
}

Result CParserBase::SetParameterSetData(unsigned char* /*sps*/, uint32_t /*spsSize*/, unsigned char* /*pps*/,
                                        uint32_t /*ppsSize*/)
{
    return ResultOk;
}

Result CParserBase::GetParameterSetData(unsigned char* /*data*/, uint32_t /*size*/,
                                        ParameterSetData* /*sets*/)
{
    return ResultOk;
}

}  // namespace videoparams
