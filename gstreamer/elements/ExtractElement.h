// vpuserdataextract: reports the messages of pictures, and can take them out.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "elements/Element.h"
#include "userdata/BufferMetas.h"
#include "userdata/Clocks.h"
#include "userdata/LatencyStatistics.h"

#include <mutex>

namespace gstvp {

enum ExtractProperty : guint
{
    ExtractPropertyRemove = 1,
    ExtractPropertyPostMessages,
    ExtractPropertyReferenceClock,
    ExtractPropertyStats
};

struct ExtractSettings
{
    bool isRemoving = false;
    bool isPosting = true;
    ReferenceClock referenceClock = ReferenceClockUnknown;
};

struct ExtractCounts
{
    guint64 messages = 0;
    guint64 timestamps = 0;
    CLatencyStatistics latency;
};

class CExtractElement : public CElement
{
public:
    // `userDataSignal` is emitted for each message, with its bytes, pts, clock (-1: no timestamp) and
    // timestamp.
    CExtractElement(GstElement* ownerElement, guint userDataSignal)
        : owner(ownerElement), signal(userDataSignal)
    {}

    void SetProperty(guint id, const GValue* value) override;
    void GetProperty(guint id, GValue* value) override;
    void Start() override;
    bool Begin(const CodecRules& codecRules) override;
    GstBuffer* Take(GstBuffer* buffer) override;
    void Flush() override {}
    void Stop() override {}

private:
    ExtractSettings Settings();
    GstStructure* Stats();
    void AttachMetas(GstBuffer*& buffer, const std::vector<Payload>& messages);
    void Report(const Payload& message, GstClockTime pts, const ExtractSettings& now);

    GstElement* const owner;
    const guint signal;
    const CodecRules* rules = nullptr;

    std::mutex mutex;  // of what follows
    ExtractSettings settings;
    ExtractCounts counts;
};

}  // namespace gstvp
