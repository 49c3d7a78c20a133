#pragma once

#include <cstddef>

namespace videoparams {

// memset to 0 by the C library. A compiler that knows the size puts a string instruction in its place, which
// takes longer to start than it takes to clear 1 KB.
void ClearBytes(void* bytes, size_t size);

}  // namespace videoparams
