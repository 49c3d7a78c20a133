// A stream in chunks of any size, analysed by the library, and questions about single samples.

#pragma once

#include "AccessUnitPlace.h"
#include "Block.h"
#include "UnitSplitter.h"

#include "VideoParams.h"

#include <cstdint>

namespace web {

struct UnitRecord
{
    uint32_t offset;
    uint32_t size;
    uint32_t isSlice;  // the next two are for H.264
    uint32_t sliceHeaderLength;
    int32_t slice_type;
};

enum SampleTest : uint32_t
{
    SampleIsOutOfSequence = 1,
    SampleIsFrame = 2,
    SampleIsIntra = 4,
    SampleFailed = 8,
};

class CParser
{
public:
    explicit CParser(VideoCodecType codec);
    ~CParser();
    CParser(const CParser&) = delete;
    CParser& operator=(const CParser&) = delete;

    bool IsOpen() const { return analysis != nullptr; }

    // Where the next `size` bytes are to be written: of the stream, or of a buffer whose units are to be
    // found. Null: out of memory.
    unsigned char* StreamRoom(uint32_t size) { return stream.Room(size); }
    unsigned char* BufferRoom(uint32_t size) { return buffer.Room(size); }

    // The host gets each access unit as soon as it is complete, and its place if it wants to know it.
    void Take(uint32_t size, bool wantsPlaces);
    void Finish();
    uint32_t DamagedUnits() const { return damagedUnits; }

    // The units are complete after FinishUnits, until the next ClearUnits.
    void ClearUnits() { units.Clear(); }
    void TakeUnits(uint32_t size);
    void FinishUnits();
    CBlock<UnitRecord>& Units() { return units; }

    // VideoPicUnknown and SampleFailed also if memory runs out.
    int32_t PictureType(const unsigned char* sample, uint32_t size);
    uint32_t TestSample(const unsigned char* sample, uint32_t size);
    bool FindParameterSets(unsigned char* data, uint32_t size, ParameterSetData& sets);
    bool HoldParameterSets(unsigned char* sps, uint32_t spsSize, unsigned char* pps, uint32_t ppsSize);

private:
    bool OpenQueries();
    void TakeUnit(const unsigned char* unit, uint32_t size, bool wantsPlace);
    void NoteUnit(const unsigned char* unit, uint32_t size);
    UnitRecord Measure(const unsigned char* unit, uint32_t size);

    VideoCodecType codec;
    CUnitSplitter stream;
    CAccessUnitPlace place;
    CUnitSplitter buffer;
    // Each reads slice headers by the parameter sets that it has met itself. The last two are made when they
    // are needed.
    void* analysis = nullptr;
    void* probe = nullptr;
    void* tester = nullptr;

    CBlock<UnitRecord> units;
    uint32_t damagedUnits = 0;
};

}  // namespace web
