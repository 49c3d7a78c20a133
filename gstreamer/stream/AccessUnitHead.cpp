#include "stream/AccessUnitHead.h"

#include <algorithm>
#include <cstring>

namespace gstvp {

namespace {

constexpr guint8 StartCodePrefix[] = {0, 0, 1};

// The position of the next 00 00 01, or the end.
size_t FindPrefix(Bytes bytes, size_t from)
{
    const void* const found =
        memmem(bytes.data() + from, bytes.size() - from, StartCodePrefix, sizeof StartCodePrefix);
    return found == nullptr ? bytes.size()
                            : static_cast<size_t>(static_cast<const guint8*>(found) - bytes.data());
}

}  // namespace

CAccessUnitHead::CAccessUnitHead(const CodecRules& codecRules, GstBuffer* mappedBuffer)
    : rules(codecRules), buffer(mappedBuffer)
{
    const guint memoryCount = gst_buffer_n_memory(buffer);
    if (memoryCount == 0 || !Map(1))
        return;
    ReadUnits();
    const bool isHeadMapped = hasSlice && firstSlice.bytes.size() == SliceBytes;
    if (memoryCount == 1 || isHeadMapped)
        return;
    Unmap();
    if (Map(memoryCount))
        ReadUnits();
}

bool CAccessUnitHead::Map(guint memoryCount)
{
    isMapped = gst_buffer_map_range(buffer, 0, static_cast<gint>(memoryCount), &map, GST_MAP_READ) != FALSE;
    bytes = isMapped ? Bytes(map.data, map.size) : Bytes();
    leadingUnits.clear();
    hasSlice = false;
    return isMapped;
}

void CAccessUnitHead::Unmap()
{
    if (isMapped)
        gst_buffer_unmap(buffer, &map);
    isMapped = false;
}

void CAccessUnitHead::ReadUnits()
{
    size_t prefix = FindPrefix(bytes, 0);
    size_t start = prefix > 0 && prefix < bytes.size() && bytes[prefix - 1] == 0 ? prefix - 1 : prefix;
    while (prefix + sizeof StartCodePrefix + rules.headerLength <= bytes.size()) {
        const size_t header = prefix + sizeof StartCodePrefix;
        const guint type = rules.TypeOf(bytes[header]);
        if (rules.IsSlice(type)) {
            bytes = bytes.first(std::min(bytes.size(), start + SliceBytes));
            firstSlice = {bytes.subspan(start), header - start, type};
            hasSlice = true;
            return;
        }
        prefix = FindPrefix(bytes, header);
        const bool hasLongStartCode =
            prefix < bytes.size() && prefix > header + rules.headerLength && bytes[prefix - 1] == 0;
        const size_t end = hasLongStartCode ? prefix - 1 : prefix;
        leadingUnits.push_back({bytes.subspan(start, end - start), header - start, type});
        start = end;
    }
}

bool ReplaceHead(GstBuffer*& buffer, size_t length, Bytes replacement)
{
    GstMemory* const memory = gst_allocator_alloc(nullptr, replacement.size(), nullptr);
    if (memory == nullptr)
        return false;
    GstMapInfo map;
    if (!gst_memory_map(memory, &map, GST_MAP_WRITE)) {
        gst_memory_unref(memory);
        return false;
    }
    std::copy(replacement.begin(), replacement.end(), map.data);
    gst_memory_unmap(memory, &map);

    buffer = gst_buffer_make_writable(buffer);
    gst_buffer_resize(buffer, static_cast<gssize>(length), -1);
    gst_buffer_prepend_memory(buffer, memory);
    return true;
}

}  // namespace gstvp
