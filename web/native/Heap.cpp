// The library answers -1 for several reasons. Whether memory ran out is noted here: the linker sends every
// allocation of the module through these functions (--wrap).

#include "Exports.h"

#include <cstddef>

extern "C" {
void* __real_malloc(size_t size);
void* __real_realloc(void* block, size_t size);
}

namespace {

bool hasRunOut = false;

void* Note(void* block)
{
    hasRunOut = hasRunOut || block == nullptr;
    return block;
}

}  // namespace

extern "C" {

void* __wrap_malloc(size_t size)
{
    return Note(__real_malloc(size));
}

void* __wrap_realloc(void* block, size_t size)
{
    return Note(__real_realloc(block, size));
}

EXPORT bool TakeMemoryShortage()
{
    const bool ranOut = hasRunOut;
    hasRunOut = false;
    return ranOut;
}
}
