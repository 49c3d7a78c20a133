// What an element does with properties and access units. The GObject classes forward to it.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/CodecRules.h"

GST_DEBUG_CATEGORY_EXTERN(gst_vp_debug);

namespace gstvp {

class CElement
{
public:
    virtual ~CElement() = default;

    // From any thread
    virtual void SetProperty(guint id, const GValue* value) = 0;
    virtual void GetProperty(guint id, GValue* value) = 0;

    // The element starts, and what it counts with it.
    virtual void Start() = 0;

    // From the streaming thread. Begin comes before the first Take, and again when the codec changes; the
    // rules outlive the element. False: out of memory.
    [[nodiscard]] virtual bool Begin(const CodecRules& rules) = 0;
    // Takes a buffer and returns what is pushed: the same buffer, or a changed one.
    virtual GstBuffer* Take(GstBuffer* buffer) = 0;
    // The next buffer does not continue the last one.
    virtual void Flush() = 0;
    // The element stops and gives its handles back.
    virtual void Stop() = 0;
};

}  // namespace gstvp
