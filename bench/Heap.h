#pragma once

#include <cstdint>

namespace bench {

// Of this thread, the shared libraries' included.
uint64_t AllocationCount();
int64_t HeapBytesInUse();

}  // namespace bench
