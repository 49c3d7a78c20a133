// The head of an access unit: its units up to the first slice, and the first bytes of that slice. Everything
// that the elements read or change is there, so the rest of a picture is neither read nor copied.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/CodecRules.h"

#include <span>
#include <vector>

namespace gstvp {

using Bytes = std::span<const guint8>;

struct NalUnit
{
    Bytes bytes;         // start code included
    size_t headerStart;  // length of the start code
    guint type;

    guint8 HeaderByte() const { return bytes[headerStart]; }
};

class CAccessUnitHead
{
public:
    // Maps the buffer until the end of the object. If a buffer has several memories and the head is in the
    // first, only that one is mapped, so that GStreamer need not join them.
    CAccessUnitHead(const CodecRules& codecRules, GstBuffer* mappedBuffer);
    ~CAccessUnitHead() { Unmap(); }
    CAccessUnitHead(const CAccessUnitHead&) = delete;
    CAccessUnitHead& operator=(const CAccessUnitHead&) = delete;

    const CodecRules& Rules() const { return rules; }

    // False for a buffer without a picture: empty, damaged, or parameter sets alone.
    bool HasSlice() const { return hasSlice; }
    // Units before the first slice; bytes before the first start code belong to no unit.
    const std::vector<NalUnit>& LeadingUnits() const { return leadingUnits; }
    // Cut after SliceBytes. Requires HasSlice().
    const NalUnit& FirstSlice() const { return firstSlice; }
    bool IsKey() const { return hasSlice && rules.IsKeySlice(firstSlice.type); }

    // From the first byte of the buffer to the end of FirstSlice(); the whole buffer if it has no slice.
    Bytes All() const { return bytes; }

private:
    bool Map(guint memoryCount);
    void Unmap();
    void ReadUnits();

    static constexpr size_t SliceBytes = 4096;  // longer than any slice header in practice

    const CodecRules& rules;
    GstBuffer* buffer;
    GstMapInfo map = GST_MAP_INFO_INIT;
    bool isMapped = false;
    Bytes bytes;
    std::vector<NalUnit> leadingUnits;
    NalUnit firstSlice{};
    bool hasSlice = false;
};

// Gives the buffer other bytes in place of its first `length`. The rest is shared, not copied; flags,
// timestamps and metas stay. Replaces `buffer` by a writable one if it is not. False: out of memory, and the
// buffer is as it was.
[[nodiscard]] bool ReplaceHead(GstBuffer*& buffer, size_t length, Bytes replacement);

}  // namespace gstvp
