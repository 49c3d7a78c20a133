#pragma once

#include <cstdint>

namespace bench {

// The count of this thread, with the allocations of shared libraries.
uint64_t AllocationCount();
int64_t HeapBytesInUse();

}  // namespace bench
