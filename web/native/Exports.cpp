// The functions that TypeScript calls. Addresses and sizes are those of the module's memory; a null address
// means out of memory.

#include "Exports.h"

#include "Parser.h"
#include "stream/Detection.h"
#include "stream/UnitNames.h"
#include "videoparams/timestamp.h"

#include <new>
#include <string>

using web::CBlock;
using web::CParser;

namespace {

// What the caller writes before a call: one block for the bytes of all calls.
CBlock<unsigned char> input;

}  // namespace

extern "C" {

EXPORT unsigned char* Input(uint32_t size)
{
    input.Clear();
    return input.MakeRoom(size) ? input.Data() : nullptr;
}

EXPORT void ReleaseInput()
{
    input.Release();
}

// Room for the results of a call of the library.
EXPORT uint32_t* Outputs()
{
    static uint32_t outputs[2];
    return outputs;
}

EXPORT CParser* CreateParser(VideoCodecType codec)
{
    CParser* const parser = new (std::nothrow) CParser(codec);
    if (parser != nullptr && parser->IsOpen())
        return parser;
    delete parser;
    return nullptr;
}

EXPORT void ReleaseParser(CParser* parser)
{
    delete parser;
}

EXPORT unsigned char* StreamRoom(CParser* parser, uint32_t size)
{
    return parser->StreamRoom(size);
}

EXPORT void Take(CParser* parser, uint32_t size, bool wantsPlaces)
{
    parser->Take(size, wantsPlaces);
}

EXPORT void Finish(CParser* parser)
{
    parser->Finish();
}

EXPORT uint32_t DamagedUnits(CParser* parser)
{
    return parser->DamagedUnits();
}

EXPORT void ClearUnits(CParser* parser)
{
    parser->ClearUnits();
}

EXPORT unsigned char* BufferRoom(CParser* parser, uint32_t size)
{
    return parser->BufferRoom(size);
}

EXPORT void TakeUnits(CParser* parser, uint32_t size)
{
    parser->TakeUnits(size);
}

EXPORT uint32_t FinishUnits(CParser* parser)
{
    parser->FinishUnits();
    return parser->Units().Count();
}

EXPORT web::UnitRecord* Units(CParser* parser)
{
    return parser->Units().Data();
}

EXPORT int32_t PictureType(CParser* parser, const unsigned char* sample, uint32_t size)
{
    return parser->PictureType(sample, size);
}

EXPORT uint32_t TestSample(CParser* parser, const unsigned char* sample, uint32_t size)
{
    return parser->TestSample(sample, size);
}

EXPORT ParameterSetData* FindParameterSets(CParser* parser, unsigned char* data, uint32_t size)
{
    static ParameterSetData sets;
    return parser->FindParameterSets(data, size, sets) ? &sets : nullptr;
}

EXPORT bool HoldParameterSets(CParser* parser, unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                              uint32_t ppsSize)
{
    return parser->HoldParameterSets(sps, spsSize, pps, ppsSize);
}

EXPORT int32_t DetectCodec(const unsigned char* data, uint32_t size)
{
    const std::optional<VideoCodecType> codec = tool::RateCodecs(data, size).Best();
    return codec ? static_cast<int32_t>(*codec) : -1;
}

EXPORT const char* UnitTypeName(VideoCodecType codec, uint32_t nal_unit_type)
{
    static std::string name;
    name = tool::UnitTypeName(codec, nal_unit_type);
    return name.c_str();
}

EXPORT void WriteTimestamp(unsigned char* payload, VideoParamsClock clock, int64_t nanoseconds)
{
    VideoParamsWriteTimestamp(payload, clock, nanoseconds);
}

// Replaces the payload by clock and nanoseconds.
EXPORT bool ReadTimestamp(unsigned char* payload, uint32_t size)
{
    unsigned int clock = 0;
    int64_t nanoseconds = 0;
    if (!VideoParamsReadTimestamp(payload, size, &clock, &nanoseconds))
        return false;
    std::memcpy(payload, &nanoseconds, sizeof nanoseconds);
    std::memcpy(payload + sizeof nanoseconds, &clock, sizeof clock);
    return true;
}
}
