#include "platform/process_usage.h"

#include <chrono>
#include <thread>

namespace platform {

int ThreadsBeyond(int before) {
    for (int tries = 0; tries < 200 && ThreadCount() > before; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return ThreadCount() - before;
}

Usage UsageNow() {
    return {HeapBytesInUse(), OpenHandles(), ThreadCount()};
}

}  // namespace platform
