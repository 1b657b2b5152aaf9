// What the machine has to give.
#pragma once

#include <cstdint>

namespace platform {

std::int64_t MemoryAvailable();  // bytes that the machine can give before it has to swap
int ProcessorCount();            // those that this process may run on

}  // namespace platform
