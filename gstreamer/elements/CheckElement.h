// vpcheck: reports gaps, changes of format and key frames, and can correct flags of buffers.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "check/StreamCheck.h"
#include "elements/Element.h"

#include <mutex>

namespace gstvp {

enum CheckProperty : guint
{
    CheckPropertyFixFlags = 1,
    CheckPropertyPostMessages,
    CheckPropertyStats
};

struct CheckSettings
{
    bool isFixingFlags = false;
    bool isPosting = true;
};

class CCheckElement : public CElement
{
public:
    explicit CCheckElement(GstElement* ownerElement) : owner(ownerElement) {}

    void SetProperty(guint id, const GValue* value) override;
    void GetProperty(guint id, GValue* value) override;
    void Start() override;
    bool Begin(const CodecRules& codecRules) override;
    GstBuffer* Take(GstBuffer* buffer) override;
    void Flush() override { check.Restart(); }
    void Stop() override { check.End(); }

private:
    CheckSettings Settings();
    GstStructure* Stats();
    void Post(const PictureFindings& findings, GstClockTime pts, guint64 size);
    void Post(GstStructure* report);
    void FixFlags(GstBuffer*& buffer, bool isKey);

    GstElement* const owner;
    const CodecRules* rules = nullptr;
    CStreamCheck check;

    std::mutex mutex;  // of what follows
    CheckSettings settings;
    CheckCounts counts;  // as `check` had them after the last picture
    guint64 fixedFlags = 0;
};

}  // namespace gstvp
