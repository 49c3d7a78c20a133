#pragma once

#include "VideoParams/ParseAVCParams.h"
#include "VideoParams/ParseHEVCParams.h"

namespace videoparams::test {

// The classes of the library with their protected members opened. Members are reached as they are named.

template <typename Parser>
class ParserProbe : public Parser
{
public:
    using Parser::AddEscape;
    using Parser::ArrangeUserData;
    using Parser::CountEscapes;
    using Parser::GetDataPtr;
    using Parser::GetNalData;
    using Parser::GetNalDataEx;
    using Parser::GetRbspData;
    using Parser::GetRbspHead;
    using Parser::GetSE;
    using Parser::GetStartCode;
    using Parser::GetUE;
    using Parser::InitReadData;
    using Parser::OpenNextUnit;
    using Parser::openUnit;
    using Parser::ReadData;
    using Parser::Reset;
    using Parser::SetData;

    using Parser::nalArrayCapacity;
    using Parser::nalPointers;
    using Parser::nalSizes;
    using Parser::nalStart;
    using Parser::nextNalStart;
    using Parser::parameterSets;
    using Parser::queueBufferSize;
    using Parser::queueCount;
    using Parser::rbspBuffer;
    using Parser::rbspBufferSize;
    using Parser::readBitPos;
    using Parser::readBytesLeft;
    using Parser::readPastEnd;
    using Parser::readPtr;
    using Parser::removeBuffer;
    using Parser::removeBufferSize;
    using Parser::removeLength;
    using Parser::removeOutput;
    using Parser::removeOutputLength;
    using Parser::removeOutputSize;
    using Parser::removeSeiBuffer;
    using Parser::removeSeiBufferSize;
    using Parser::removeSeiLength;
    using Parser::scanData;
    using Parser::scanRemaining;
    using Parser::userDataBuffer;
    using Parser::userDataBufferSize;
    using Parser::userDataLength;
    using Parser::userDataOutput;
    using Parser::userDataOutputLength;
    using Parser::userDataOutputSize;
    using Parser::videoQueue;
};

using BaseProbe = ParserProbe<CParserBase>;

class AvcProbe : public ParserProbe<CParseAVCParams>
{
public:
    using CParseAVCParams::accessUnits;
    using CParseAVCParams::firstFieldGap;
    using CParseAVCParams::frameNum;
    using CParseAVCParams::gapsInFrameNumAllowed;
    using CParseAVCParams::maxFrameNum;
    using CParseAVCParams::parameterSetInfo;
    using CParseAVCParams::ppsCapacity;
    using CParseAVCParams::ppsData;
    using CParseAVCParams::ppsLength;
    using CParseAVCParams::ppsTable;
    using CParseAVCParams::prevRefFrameNum;
    using CParseAVCParams::prevSliceHeader;
    using CParseAVCParams::ReadPictureParameterSetData;
    using CParseAVCParams::ReadSequenceParameterSetData;
    using CParseAVCParams::ReadSliceHeaderData;
    using CParseAVCParams::secondFieldParity;
    using CParseAVCParams::sliceHeader;
    using CParseAVCParams::spsCapacity;
    using CParseAVCParams::spsData;
    using CParseAVCParams::spsLength;
    using CParseAVCParams::spsTable;
};

class HevcProbe : public ParserProbe<CParseHEVCParams>
{
public:
    using CParseHEVCParams::accessUnits;
    using CParseHEVCParams::ReadSequenceParameterSetData;
    using CParseHEVCParams::ReadSliceHeaderData;
    using CParseHEVCParams::ReadVideoParameterSetData;
};

class QueueProbe : public CVideoQueue
{
public:
    using CVideoQueue::entries;
    using CVideoQueue::nextIndex;
    using CVideoQueue::ResizeBuffer;
    using CVideoQueue::scratchBuffer;
    using CVideoQueue::scratchCapacity;
    using CVideoQueue::spareEntry;
};

// A probe that is made and released as the exported functions do it.
template <typename Probe>
class Created : public Probe
{
public:
    enum class Family
    {
        Parse,
        UserData,
    };

    explicit Created(Family made = Family::Parse) : family(made)
    {
        createResult = family == Family::Parse ? Probe::Create() : Probe::UserDataCreate();
    }

    ~Created() override
    {
        if (family == Family::Parse)
            Probe::Release();
        else
            Probe::UserDataRelease();
    }

    Created(const Created&) = delete;
    Created& operator=(const Created&) = delete;

    Result CreateResult() const { return createResult; }

private:
    Family family;
    Result createResult = ResultFailed;
};

}  // namespace videoparams::test
