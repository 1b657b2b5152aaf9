// The memory and the processors that this process can use.
#pragma once

#include <cstdint>

namespace platform {

std::int64_t MemoryAvailable();  // bytes that the machine can give before it has to swap
int ProcessorCount();            // processors that this process may run on

}  // namespace platform
