// The exported functions: argument checks, the guard of handle and family, and one call of the object of
// the handle.

#include "VideoParams.h"

#include "avc/ParseAVCParams.h"
#include "hevc/ParseHEVCParams.h"

#include <cstddef>
#include <new>

using videoparams::CParseAVCParams;
using videoparams::CParseHEVCParams;
using videoparams::CParserBase;
using videoparams::HandleFamily;
using videoparams::Result;
using videoparams::ResultFailed;
using videoparams::ResultOk;

// The layout that hosts rely on.
static_assert(sizeof(VideoCodecType) == 4 && sizeof(VideoPicType) == 4 && sizeof(bool) == 1);

static_assert(offsetof(VideoInfo, accessUnitFound) == 0);
static_assert(offsetof(VideoInfo, sequenceInfoValid) == 4);
static_assert(offsetof(VideoInfo, keyFrame) == 8);
static_assert(sizeof(void*) != 8 || offsetof(VideoInfo, accessUnitData) == 16);
static_assert(sizeof(void*) != 4 || offsetof(VideoInfo, accessUnitData) == 12);
static_assert(offsetof(VideoInfo, accessUnitSize) == offsetof(VideoInfo, accessUnitData) + sizeof(void*));
static_assert(offsetof(VideoInfo, width) == offsetof(VideoInfo, accessUnitSize) + 4);
static_assert(offsetof(VideoInfo, height) == offsetof(VideoInfo, width) + 4);
static_assert(offsetof(VideoInfo, frameRateNumerator) == offsetof(VideoInfo, width) + 8);
static_assert(offsetof(VideoInfo, frameRateDenominator) == offsetof(VideoInfo, width) + 12);
static_assert(offsetof(VideoInfo, video_signal_type_present_flag) == offsetof(VideoInfo, width) + 16);
static_assert(offsetof(VideoInfo, video_format) == offsetof(VideoInfo, width) + 20);
static_assert(offsetof(VideoInfo, video_full_range_flag) == offsetof(VideoInfo, width) + 24);
static_assert(offsetof(VideoInfo, colour_description_present_flag) == offsetof(VideoInfo, width) + 28);
static_assert(offsetof(VideoInfo, colour_primaries) == offsetof(VideoInfo, width) + 32);
static_assert(offsetof(VideoInfo, transfer_characteristics) == offsetof(VideoInfo, width) + 36);
static_assert(offsetof(VideoInfo, matrix_coefficients) == offsetof(VideoInfo, width) + 40);
static_assert(offsetof(VideoInfo, reserved1) == offsetof(VideoInfo, width) + 44);
static_assert(offsetof(VideoInfo, reserved2) == offsetof(VideoInfo, reserved1) + 1024);
static_assert(sizeof(VideoInfo) == offsetof(VideoInfo, reserved2) + 1088);

static_assert(offsetof(VideoInfoEx, sampleError) == 0 && offsetof(VideoInfoEx, isFrame) == 4);
static_assert(offsetof(VideoInfoEx, isIntra) == 8 && sizeof(VideoInfoEx) == 12);

static_assert(offsetof(ParameterSetData, vps) == 0 && offsetof(ParameterSetData, vpsSize) == sizeof(void*));
static_assert(offsetof(ParameterSetData, sps) == 2 * sizeof(void*));
static_assert(offsetof(ParameterSetData, spsSize) == 3 * sizeof(void*));
static_assert(offsetof(ParameterSetData, pps) == 4 * sizeof(void*));
static_assert(offsetof(ParameterSetData, ppsSize) == 5 * sizeof(void*));
static_assert(sizeof(ParameterSetData) == 6 * sizeof(void*));

namespace {

CParserBase* MakeParser(VideoCodecType codec, HandleFamily family)
{
    switch (codec) {
    case VideoCodecAVC:
        return new (std::nothrow) CParseAVCParams(family);
    case VideoCodecHEVC:
        return new (std::nothrow) CParseHEVCParams(family);
    }
    return nullptr;
}

// The object of a handle. Null: no handle, or one of the other family.
CParserBase* ParserOf(void* handle, HandleFamily family)
{
    auto* const parser = static_cast<CParserBase*>(handle);
    return parser != nullptr && parser->Family() == family ? parser : nullptr;
}

CParserBase* ParseHandle(void* handle)
{
    return ParserOf(handle, HandleFamily::Parse);
}

CParserBase* UserDataHandle(void* handle)
{
    return ParserOf(handle, HandleFamily::UserData);
}

// Makes an object, and its blocks by `create`.
template <typename Create>
int64_t CreateHandle(void** handle, VideoCodecType codec, HandleFamily family, Create create)
{
    if (handle == nullptr)
        return ResultFailed;
    *handle = nullptr;
    CParserBase* const parser = MakeParser(codec, family);
    if (parser == nullptr)
        return ResultFailed;
    if (create(*parser) != ResultOk) {
        delete parser;
        return ResultFailed;
    }
    *handle = parser;
    return ResultOk;
}

int64_t ReleaseHandle(CParserBase* parser)
{
    if (parser == nullptr)
        return ResultFailed;
    delete parser;
    return ResultOk;
}

}  // namespace

int64_t ParseCreate(void** handle, VideoCodecType codec, unsigned int queueCount, unsigned int queueSize)
{
    const uint32_t count = queueCount != 0 ? queueCount : 6;
    const uint32_t size = queueSize != 0 ? queueSize : 100000;
    return CreateHandle(handle, codec, HandleFamily::Parse,
                        [=](CParserBase& parser) { return parser.Create(count, size); });
}

int64_t ParseRelease(void* handle)
{
    return ReleaseHandle(ParseHandle(handle));
}

int64_t ParseVideoParams(void* handle, const unsigned char* data, unsigned int size, VideoInfo* info)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr ? parser->ReadVideoParams(data, size, info) : ResultFailed;
}

int64_t VideoSampleTest(void* handle, const unsigned char* data, unsigned int size, VideoInfoEx* test)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr ? parser->VideoSampleTest(data, size, test) : ResultFailed;
}

int64_t QueryType(void* handle, const unsigned char* data, unsigned int size, VideoPicType* type)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr && type != nullptr ? parser->QuerySliceType(data, size, *type) : ResultFailed;
}

int64_t SetParameterSetData(void* handle, unsigned char* sps, unsigned int spsSize, unsigned char* pps,
                            unsigned int ppsSize)
{
    CParserBase* const parser = ParseHandle(handle);
    if (parser == nullptr || sps == nullptr || spsSize == 0 || pps == nullptr || ppsSize == 0)
        return ResultFailed;
    return parser->SetParameterSetData(sps, spsSize, pps, ppsSize);
}

int64_t GetParameterSetData(void* handle, unsigned char* data, unsigned int size, ParameterSetData* sets)
{
    CParserBase* const parser = ParseHandle(handle);
    if (parser == nullptr || data == nullptr || size == 0 || sets == nullptr)
        return ResultFailed;
    return parser->GetParameterSetData(data, size, sets);
}

int64_t SetVideoData(void* handle, unsigned char* data, unsigned int size)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr ? parser->SetVideoData(data, size) : ResultFailed;
}

int64_t GetNalUnit(void* handle, unsigned char** unit, unsigned int* unitSize, bool* isSlice,
                   unsigned int* sliceHeaderLength)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr ? parser->GetNalUnit(unit, unitSize, isSlice, sliceHeaderLength) : ResultFailed;
}

int64_t GetNalFromFrame(void* handle, unsigned char* frame, unsigned int size, unsigned int* count,
                        unsigned char*** units, unsigned int** sizes)
{
    CParserBase* const parser = ParseHandle(handle);
    return parser != nullptr ? parser->GetNalFromFrame(frame, size, count, units, sizes) : ResultFailed;
}

int64_t UserDataCreate(void** handle, VideoCodecType codec)
{
    return CreateHandle(handle, codec, HandleFamily::UserData,
                        [](CParserBase& parser) { return parser.UserDataCreate(); });
}

int64_t UserDataRelease(void* handle)
{
    return ReleaseHandle(UserDataHandle(handle));
}

int64_t AddUserData(void* handle, const unsigned char* data, unsigned int size, const unsigned char* userData,
                    unsigned int count, const unsigned char** output, unsigned int* outputSize)
{
    CParserBase* const parser = UserDataHandle(handle);
    return parser != nullptr ? parser->AddUserData(data, size, userData, count, output, outputSize)
                             : ResultFailed;
}

int64_t GetUserData(void* handle, const unsigned char* data, unsigned int size, const unsigned char** output,
                    unsigned int* outputSize)
{
    CParserBase* const parser = UserDataHandle(handle);
    return parser != nullptr ? parser->GetUserData(data, size, output, outputSize) : ResultFailed;
}

int64_t RemoveUserData(void* handle, const unsigned char* data, unsigned int size,
                       const unsigned char** output, unsigned int* outputSize)
{
    CParserBase* const parser = UserDataHandle(handle);
    return parser != nullptr ? parser->RemoveUserData(data, size, output, outputSize) : ResultFailed;
}
