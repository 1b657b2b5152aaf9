// What the process holds of the system's.
#pragma once

#include <cstdint>

namespace support {

struct Usage {
    std::int64_t heapBytes = 0;  // in use, in all of the process's heaps
    std::int64_t handles = 0;    // open files on Linux, handles of every kind on Windows
    std::int64_t threads = 0;
};

// As it is now. Exact only while the other threads rest.
Usage UsageNow();

}  // namespace support
