#include "support/PageBytes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace videoparams::test {

PageBytes::PageBytes(const Bytes& bytes, size_t kept, Side side)
{
    const auto pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t count = std::min(kept, bytes.size());
    const size_t room = (count / pageSize + 1) * pageSize;
    mappingSize = room + 2 * pageSize;
    mapping = mmap(nullptr, mappingSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        std::abort();
    unsigned char* const readable = static_cast<unsigned char*>(mapping) + pageSize;
    if (mprotect(readable, room, PROT_READ | PROT_WRITE) != 0)
        std::abort();
    bytesAtSide = side == Side::Begin ? readable : readable + room - count;
    byteCount = static_cast<uint32_t>(count);
    if (count != 0)
        std::memcpy(bytesAtSide, bytes.data(), count);
}

PageBytes::~PageBytes()
{
    munmap(mapping, mappingSize);
}

}  // namespace videoparams::test
