#pragma once

#include "parser/ParserBase.h"

namespace videoparams {

// What the assembly asks of its codec where NalRules cannot answer. The unit is open, the reader behind its
// header.
class CAccessUnitHooks
{
public:
    // Reads a leading unit that describes the stream into the record; others are not looked at.
    virtual void ReadLeadingUnit(VideoInfo& record) = 0;

    // Reads a slice header and says whether a picture starts. A slice that cannot be read is dropped.
    [[nodiscard]] virtual Result ReadSlice(bool& newPicture) = 0;

    // Makes a key unit that came without a description self-contained; returns the description, or null.
    virtual const VideoInfo* CompleteKeyUnit(VideoQueueInfo& unit) = 0;

protected:
    ~CAccessUnitHooks() = default;
};

// The stream analysis of both codecs: units in, access units out, one picture late.
//
// A leading unit that arrives while a unit is current belongs to the next access unit: it waits in the
// pending entry and is merged at the next slice. Whether that slice continues the current unit or starts the
// next one is told by its header.
class CAccessUnitAssembly
{
public:
    CAccessUnitAssembly(CParserBase& owner, CAccessUnitHooks& codecHooks, const NalRules& codecRules)
        : parser(owner), hooks(codecHooks), rules(codecRules)
    {}

    void Clear();
    Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info);

    // 1 until a slice header has been read: that slice never starts a new picture.
    uint32_t firstSlice = 1;

    // The access unit under assembly and its description.
    VideoQueueInfo* currentUnit = nullptr;
    VideoInfo currentInfo{};

    // What already belongs to the next one.
    VideoQueueInfo* pendingUnit = nullptr;
    VideoInfo pendingInfo{};

private:
    Result ReadUnits(VideoInfo* info);
    [[nodiscard]] Result TakeUnit(VideoInfo* info);
    [[nodiscard]] Result TakeLeadingUnit();
    [[nodiscard]] Result TakeSlice(VideoInfo* info);
    void TakeOtherUnit();

    void BeginCurrentUnit();
    void StoreLeadingUnit(VideoQueueInfo& entry);
    bool StoreUnit(VideoQueueInfo& entry);
    void MergePendingUnit();
    void ReportCurrentUnit(VideoInfo* info);
    void Flush(VideoInfo* info);

    CParserBase& parser;
    CAccessUnitHooks& hooks;
    const NalRules& rules;
};

}  // namespace videoparams
