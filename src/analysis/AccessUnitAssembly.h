#pragma once

#include "VideoParams.h"
#include "analysis/SequenceInfo.h"
#include "analysis/VideoQueue.h"
#include "bitstream/NalScanner.h"

namespace videoparams {

// What a slice means to the access unit under assembly.
enum class SliceOutcome
{
    ContinuesPicture,
    StartsPicture,
    Unreadable,  // dropped
    OutOfMemory,
};

// Questions to the codec that NalRules cannot answer. The scanner's unit is the one in question.
class CAccessUnitHooks
{
public:
    // Reads a parameter set into the description.
    virtual void ReadParameterSet(const Rbsp& rbsp, SequenceInfo& info) = 0;

    // Reads the header of the slice that has just begun.
    [[nodiscard]] virtual SliceOutcome ReadSlice() = 0;

    // Makes a key unit that came without a description decodable on its own. Returns the description, or
    // null.
    virtual const SequenceInfo* CompleteKeyUnit(AccessUnit& unit) = 0;

    // The next slice begins a stream and continues no picture.
    virtual void EndStream() = 0;

protected:
    ~CAccessUnitHooks() = default;
};

// The stream analysis of both codecs: units in, access units out, one picture late.
//
// A leading unit that arrives after a picture's slices belongs to the next access unit: it waits in the
// pending one and is merged at the next slice. The header of that slice shows whether it continues the
// current access unit or starts the next one.
class CAccessUnitAssembly
{
public:
    CAccessUnitAssembly(CNalScanner& unitScanner, CVideoQueue& videoQueue,
                        CAccessUnitHooks& codecHooks) noexcept
        : scanner(unitScanner), queue(videoQueue), hooks(codecHooks), rules(unitScanner.Rules())
    {}

    Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info);

private:
    Result ReadUnits(VideoInfo& info);
    [[nodiscard]] Result TakeLeadingUnit();
    [[nodiscard]] Result TakeParameterSet();
    [[nodiscard]] Result TakeSlice(VideoInfo& info);
    void TakeOtherUnit();

    bool StoreUnit(AccessUnit& entry);
    void StoreLeadingUnit(AccessUnit& entry);
    AccessUnit& OpenAccessUnit();
    void MergePending();
    void Report(VideoInfo& info);
    void Flush(VideoInfo& info);

    CNalScanner& scanner;
    CVideoQueue& queue;
    CAccessUnitHooks& hooks;
    const NalRules& rules;

    // The access unit under assembly and its description.
    AccessUnit* current = nullptr;
    SequenceInfo currentInfo;

    // What already belongs to the next one.
    AccessUnit* pending = nullptr;
    SequenceInfo pendingInfo;
};

}  // namespace videoparams
