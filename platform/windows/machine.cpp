#include "platform/machine.h"

#include <windows.h>

#include <algorithm>
#include <bit>

namespace platform {

std::int64_t MemoryAvailable() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return static_cast<std::int64_t>(std::min(status.ullAvailPhys, status.ullAvailPageFile));
}

int ProcessorCount() {
    DWORD_PTR mask = 0, system = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &mask, &system);
    return std::popcount(mask);
}

}  // namespace platform
