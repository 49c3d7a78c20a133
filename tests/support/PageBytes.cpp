#include "support/PageBytes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace videoparams::test {

namespace {

#ifdef _WIN32

size_t PageSize()
{
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    return system.dwPageSize;
}

void* MapUntouchable(size_t size)
{
    return VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
}

bool MakeUsable(void* pages, size_t size)
{
    return VirtualAlloc(pages, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void Unmap(void* mapping, size_t)
{
    VirtualFree(mapping, 0, MEM_RELEASE);
}

#else

size_t PageSize()
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void* MapUntouchable(size_t size)
{
    void* const mapping = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mapping != MAP_FAILED ? mapping : nullptr;
}

bool MakeUsable(void* pages, size_t size)
{
    return mprotect(pages, size, PROT_READ | PROT_WRITE) == 0;
}

void Unmap(void* mapping, size_t size)
{
    munmap(mapping, size);
}

#endif

}  // namespace

PageBytes::PageBytes(const Bytes& bytes, size_t kept, Side side)
{
    const size_t pageSize = PageSize();
    const size_t count = std::min(kept, bytes.size());
    const size_t room = (count / pageSize + 1) * pageSize;
    mappingSize = room + 2 * pageSize;
    mapping = MapUntouchable(mappingSize);
    if (mapping == nullptr)
        std::abort();
    unsigned char* const usable = static_cast<unsigned char*>(mapping) + pageSize;
    if (!MakeUsable(usable, room))
        std::abort();
    bytesAtSide = side == Side::Begin ? usable : usable + room - count;
    byteCount = static_cast<uint32_t>(count);
    if (count != 0)
        std::memcpy(bytesAtSide, bytes.data(), count);
}

PageBytes::~PageBytes()
{
    Unmap(mapping, mappingSize);
}

}  // namespace videoparams::test
