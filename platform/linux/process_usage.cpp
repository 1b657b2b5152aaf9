#include "platform/process_usage.h"

#include <malloc.h>

#include <filesystem>
#include <iterator>

namespace platform {
namespace {

std::int64_t EntriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

}  // namespace

std::int64_t HeapBytesInUse() {
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

std::int64_t OpenHandles() {
    return EntriesOf("/proc/self/fd");
}

int ThreadCount() {
    return static_cast<int>(EntriesOf("/proc/self/task"));
}

}  // namespace platform
