#include "memory/ClearBytes.h"

#include <cstring>

namespace videoparams {

void ClearBytes(void* bytes, size_t size)
{
    std::memset(bytes, 0, size);
}

}  // namespace videoparams
