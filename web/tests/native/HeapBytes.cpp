// WebAssembly has no pages that may not be touched. The bytes are a block of the heap instead, whose ends the
// address sanitizer watches.

#include "support/PageBytes.h"

#include <algorithm>
#include <cstdlib>

namespace videoparams::test {

PageBytes::PageBytes(const Bytes& bytes, size_t kept, Side)
{
    byteCount = static_cast<uint32_t>(std::min(kept, bytes.size()));
    mapping = std::malloc(byteCount);
    mappingSize = byteCount;
    bytesAtSide = static_cast<unsigned char*>(mapping);
    std::copy_n(bytes.begin(), byteCount, bytesAtSide);
}

PageBytes::~PageBytes()
{
    std::free(mapping);
}

}  // namespace videoparams::test
