#pragma once

#include "streams/Bytes.h"

namespace videoparams::test {

using namespace streams;

// A copy of bytes that lie at one end of readable pages, with a page that may not be touched on either side.
class PageBytes
{
public:
    enum class Side
    {
        Begin,
        End,
    };

    PageBytes(const Bytes& bytes, size_t kept, Side side);
    ~PageBytes();
    PageBytes(const PageBytes&) = delete;
    PageBytes& operator=(const PageBytes&) = delete;

    unsigned char* data() const { return bytesAtSide; }
    uint32_t size() const { return byteCount; }
    const unsigned char* end() const { return bytesAtSide + byteCount; }

private:
    void* mapping;
    size_t mappingSize;
    unsigned char* bytesAtSide;
    uint32_t byteCount;
};

// The first `kept` bytes, directly before a page that may not be touched.
inline PageBytes AtPageEnd(const Bytes& bytes, size_t kept = SIZE_MAX)
{
    return {bytes, kept, PageBytes::Side::End};
}

inline PageBytes AtPageBegin(const Bytes& bytes, size_t kept = SIZE_MAX)
{
    return {bytes, kept, PageBytes::Side::Begin};
}

}  // namespace videoparams::test
