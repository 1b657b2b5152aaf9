#include "platform/machine.h"

#include <sched.h>

#include <fstream>
#include <string>

namespace platform {

std::int64_t MemoryAvailable() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    for (std::int64_t kib = 0; file >> key >> kib; file.ignore(80, '\n')) {
        if (key == "MemAvailable:") return kib * 1024;
    }
    return 0;
}

int ProcessorCount() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    ::sched_getaffinity(0, sizeof processors, &processors);
    return CPU_COUNT(&processors);
}

}  // namespace platform
