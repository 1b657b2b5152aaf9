// How much of the system's memory, handles and threads the process holds, so that a check can compare this before
// and after a call.
#pragma once

#include <cstdint>

namespace platform {

std::int64_t HeapBytesInUse();  // in all heaps of the process
std::int64_t OpenHandles();     // open files on Linux, handles of every kind on Windows
int ThreadCount();

// Returns how many more threads than `before` there are. Waits for up to two seconds until the surplus threads have
// ended, because the system may still list a thread that has been joined.
int ThreadsBeyond(int before);

struct Usage {
    std::int64_t heapBytes = 0;
    std::int64_t handles = 0;
    std::int64_t threads = 0;
};

// Returns the current values. They are exact only while the other threads do nothing.
Usage UsageNow();

}  // namespace platform
