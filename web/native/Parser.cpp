#include "Parser.h"

#include "Exports.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"

#include <algorithm>

namespace web {

namespace {

// A slice header, as far as the library reads it, is shorter.
constexpr uint32_t SliceHeadSize = 256;

// Reports are copied at once, so a handle needs few blocks, and small ones to begin with.
constexpr unsigned int QueueCount = 2;
constexpr unsigned int QueueSize = 4096;

constexpr uint32_t ShortestForTheLibrary = 5;

// H.264
bool IsParameterSet(const unsigned char* unit)
{
    const unsigned char* const header = unit + videoparams::StartCodeLength(unit);
    return videoparams::avcRules.TraitsOf(videoparams::avcRules.HeaderOf(*header).nal_unit_type)
        .isParameterSet;
}

}  // namespace

CParser::CParser(VideoCodecType type)
    : codec(type), stream(ShortestForTheLibrary),
      place(codec == VideoCodecAVC ? videoparams::avcRules : videoparams::hevcRules, stream), buffer(0)
{
    ParseCreate(&analysis, codec, QueueCount, QueueSize);
}

CParser::~CParser()
{
    ParseRelease(analysis);
    ParseRelease(probe);
    ParseRelease(tester);
}

bool CParser::OpenQueries()
{
    for (void** const handle : {&probe, &tester}) {
        if (*handle == nullptr && ParseCreate(handle, codec, QueueCount, QueueSize) != 0)
            return false;
    }
    return true;
}

void CParser::Take(uint32_t size, bool wantsPlaces)
{
    stream.Take(size, [this, wantsPlaces](const unsigned char* unit, uint32_t unitSize) {
        TakeUnit(unit, unitSize, wantsPlaces);
    });
}

void CParser::Finish()
{
    stream.Finish([this](const unsigned char* unit, uint32_t unitSize) { TakeUnit(unit, unitSize, false); });
    VideoInfo info;
    ParseVideoParams(analysis, nullptr, 0, &info);
    if (info.accessUnitFound)
        TakeAccessUnit(&info, 0);
    place.Clear();
}

void CParser::TakeUnit(const unsigned char* unit, uint32_t size, bool wantsPlace)
{
    VideoInfo info;
    const bool isTaken = ParseVideoParams(analysis, unit, size, &info) == 0;
    if (!isTaken)
        ++damagedUnits;
    if (info.accessUnitFound)
        TakeAccessUnit(&info, wantsPlace ? place.DistanceToEnd(info) : place.Skip());
    place.Note(unit, isTaken);
}

void CParser::TakeUnits(uint32_t size)
{
    if (!OpenQueries())
        return;
    buffer.Take(size, [this](const unsigned char* unit, uint32_t unitSize) { NoteUnit(unit, unitSize); });
}

void CParser::FinishUnits()
{
    buffer.Finish([this](const unsigned char* unit, uint32_t unitSize) { NoteUnit(unit, unitSize); });
}

void CParser::NoteUnit(const unsigned char* unit, uint32_t size)
{
    if (!units.Append(Measure(unit, size)))
        units.Clear();
}

UnitRecord CParser::Measure(const unsigned char* unit, uint32_t size)
{
    UnitRecord record{static_cast<uint32_t>(buffer.Offset()), size, 0, 0, VideoPicUnknown};
    if (codec != VideoCodecAVC)
        return record;
    unsigned char* found = nullptr;
    unsigned int foundSize = 0;
    bool isSlice = false;
    VideoPicType type = VideoPicUnknown;
    const uint32_t looked = IsParameterSet(unit) ? size : std::min(size, SliceHeadSize);
    SetVideoData(probe, const_cast<unsigned char*>(unit), looked);
    GetNalUnit(probe, &found, &foundSize, &isSlice, &record.sliceHeaderLength);
    if (isSlice)
        QueryType(probe, unit, looked, type);
    record.isSlice = isSlice;
    record.slice_type = type;
    return record;
}

int32_t CParser::PictureType(const unsigned char* sample, uint32_t size)
{
    VideoPicType type = VideoPicUnknown;
    if (OpenQueries())
        QueryType(probe, sample, size, type);
    return type;
}

uint32_t CParser::TestSample(const unsigned char* sample, uint32_t size)
{
    VideoInfoEx test{};
    const bool failed = !OpenQueries() || VideoSampleTest(tester, sample, size, &test) != 0;
    return (test.sampleError ? SampleIsOutOfSequence : 0) | (test.isFrame ? SampleIsFrame : 0) |
           (test.isIntra ? SampleIsIntra : 0) | (failed ? SampleFailed : 0);
}

bool CParser::FindParameterSets(unsigned char* data, uint32_t size, ParameterSetData& sets)
{
    return OpenQueries() && GetParameterSetData(probe, data, size, &sets) == 0;
}

bool CParser::HoldParameterSets(unsigned char* sps, uint32_t spsSize, unsigned char* pps, uint32_t ppsSize)
{
    bool isHeld = OpenQueries();
    for (void* const handle : {analysis, probe, tester})
        isHeld = SetParameterSetData(handle, sps, spsSize, pps, ppsSize) == 0 && isHeld;
    return isHeld;
}

}  // namespace web
