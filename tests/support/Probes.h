#pragma once

#include "avc/ParseAVCParams.h"
#include "hevc/ParseHEVCParams.h"

#include <cstdlib>

namespace videoparams::test {

// The classes of the library with those of their protected members opened that the tests reach for.

template <typename Parser>
class ParserProbe : public Parser
{
public:
    using Parser::AddEscape;
    using Parser::BeginNextUnit;
    using Parser::BeginUnit;
    using Parser::CountEscapes;
    using Parser::EndUnitInto;
    using Parser::GetDataPtr;
    using Parser::GetNalDataEx;
    using Parser::GetRbspData;
    using Parser::GetRbspHead;
    using Parser::GetSE;
    using Parser::GetUE;
    using Parser::InitReadData;
    using Parser::OpenHead;
    using Parser::openUnit;
    using Parser::ReadData;
    using Parser::SetData;

    using Parser::nalArrayCapacity;
    using Parser::rbspBuffer;
    using Parser::rbspBufferSize;
    using Parser::readBitPos;
    using Parser::readBytesLeft;
    using Parser::readPastEnd;
    using Parser::readPtr;
    using Parser::removeBufferSize;
    using Parser::removeOutputSize;
    using Parser::removeSeiBufferSize;
    using Parser::scanData;
    using Parser::userDataBufferSize;
    using Parser::userDataOutputSize;
};

using BaseProbe = ParserProbe<CParserBase>;

class AvcProbe : public ParserProbe<CParseAVCParams>
{
public:
    using CParseAVCParams::accessUnits;
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
    using CParseAVCParams::sliceHeader;
    using CParseAVCParams::spsCapacity;
    using CParseAVCParams::spsData;
    using CParseAVCParams::spsLength;
    using CParseAVCParams::spsTable;
};

class HevcProbe : public ParserProbe<CParseHEVCParams>
{
public:
    using CParseHEVCParams::ReadSequenceParameterSetData;
    using CParseHEVCParams::ReadSliceHeaderData;
    using CParseHEVCParams::ReadVideoParameterSetData;
};

class QueueProbe : public CVideoQueue
{
public:
    using CVideoQueue::ResizeBuffer;
    using CVideoQueue::scratchBuffer;
    using CVideoQueue::scratchCapacity;
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
        if ((family == Family::Parse ? Probe::Create() : Probe::UserDataCreate()) != ResultOk)
            std::abort();
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

private:
    Family family;
};

}  // namespace videoparams::test
