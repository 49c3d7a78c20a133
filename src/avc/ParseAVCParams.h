#pragma once

#include "avc/AvcParameterSetExchange.h"
#include "avc/AvcParameterTables.h"
#include "avc/AvcSliceReader.h"
#include "avc/FrameSplit.h"
#include "avc/SampleTest.h"
#include "parser/ParserBase.h"

namespace videoparams {

// The object of an H.264 handle.
class CParseAVCParams : public CParserBase, private CAccessUnitHooks
{
public:
    explicit CParseAVCParams(HandleFamily family);

    Result VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test) override;
    Result QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type) override;
    Result SetVideoData(unsigned char* data, uint32_t size) override;
    Result GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                      uint32_t* sliceHeaderLength) override;
    Result GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count, unsigned char*** units,
                           uint32_t** sizes) override;
    Result SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                               uint32_t ppsSize) override;
    Result GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets) override;

private:
    void ReadParameterSet(const Rbsp& rbsp, SequenceInfo& info) override;
    SliceOutcome ReadSlice() override;
    const SequenceInfo* CompleteKeyUnit(AccessUnit& unit) override;
    void EndStream() override;

    Result TestFirstSlice(VideoInfoEx& test);
    Result TestSlice(VideoInfoEx& test);
    Result FindSliceType(VideoPicType& type);

    CAvcParameterTables tables;
    CAvcSliceReader sliceReader{scanner, tables};
    CAvcParameterSetExchange exchange{scanner, tables};
    CSampleTest sampleTest;
    CFrameSplit frameSplit{scanner};
};

}  // namespace videoparams
