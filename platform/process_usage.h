// What the process holds of the system's, to be compared before and after.
#pragma once

#include <cstdint>

namespace platform {

std::int64_t HeapBytesInUse();  // in all heaps of the process
std::int64_t OpenHandles();     // open files on Linux, handles of every kind on Windows
int ThreadCount();

// How many threads there are beyond `before`. Threads that are just ending get two seconds for it, because the
// system may still list a thread that has been joined.
int ThreadsBeyond(int before);

struct Usage {
    std::int64_t heapBytes = 0;
    std::int64_t handles = 0;
    std::int64_t threads = 0;
};

// All of it as it is now. Exact only while the other threads rest.
Usage UsageNow();

}  // namespace platform
