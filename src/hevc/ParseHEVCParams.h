#pragma once

#include "parser/ParserBase.h"

namespace videoparams {

// The object of an H.265 handle. It keeps no parameter sets: the first bit of a slice segment shows
// whether a picture starts.
class CParseHEVCParams : public CParserBase, private CAccessUnitHooks
{
public:
    explicit CParseHEVCParams(HandleFamily family);

private:
    void ReadParameterSet(const Rbsp& rbsp, SequenceInfo& info) override;
    SliceOutcome ReadSlice() override;
    const SequenceInfo* CompleteKeyUnit(AccessUnit& unit) override;
    void EndStream() override;

    bool isFirstSlice = true;  // of the stream: it starts no picture
};

}  // namespace videoparams
