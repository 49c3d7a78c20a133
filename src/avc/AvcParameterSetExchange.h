#pragma once

#include "VideoParams.h"
#include "analysis/VideoQueue.h"
#include "avc/AvcParameterTables.h"
#include "bitstream/NalScanner.h"
#include "memory/Buffer.h"

namespace videoparams {

// Parameter sets as whole units: those that are held for key frames without any, and those that a search
// found.
class CAvcParameterSetExchange
{
public:
    CAvcParameterSetExchange(CNalScanner& unitScanner, CAvcParameterTables& parameterTables)
        : scanner(unitScanner), tables(parameterTables)
    {}

    // Holds the scanner's unit, an SPS or PPS, if none of its kind is held yet.
    void Capture(const SequenceInfo& info);

    // Holds a pair in place of the held one, and reads it.
    Result Hold(const unsigned char* sps, uint32_t spsSize, const unsigned char* pps, uint32_t ppsSize);

    // Inserts the held pair, if it is whole, and returns the description that goes with it, or null.
    const SequenceInfo* Complete(AccessUnit& unit);

    // Copies the last SPS and the last PPS of a stream.
    Result Find(const unsigned char* data, uint32_t size, ParameterSetData& sets);

private:
    [[nodiscard]] Result ReadHeldPair();
    [[nodiscard]] Result ReadHeldUnit(const Buffer& held, uint32_t nal_unit_type);
    [[nodiscard]] Result CopyParameterSets();
    [[nodiscard]] bool CopyUnit(Buffer& copy);

    CNalScanner& scanner;
    CAvcParameterTables& tables;

    // The first ones of the stream, or the caller's. Length 0: none.
    Buffer heldSps;
    Buffer heldPps;
    SequenceInfo heldInfo;

    // What Find hands out.
    Buffer foundSps;
    Buffer foundPps;
};

}  // namespace videoparams
