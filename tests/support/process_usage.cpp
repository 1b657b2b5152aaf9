#include "process_usage.h"

#if defined(_WIN32)

#include <windows.h>

#include <tlhelp32.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace support {
namespace {

// By asking of every value that can be one: emulators do not keep the count that the system keeps.
std::int64_t OpenHandles() {
    std::int64_t open = 0;
    for (std::uintptr_t value = 4; value < (1 << 18); value += 4) {
        DWORD flags = 0;
        open += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0;
    }
    return open;
}

std::int64_t BytesInUse(HANDLE heap) {
    std::int64_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

std::int64_t BytesInUse() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    if (count > heaps.size()) throw std::runtime_error("more heaps than can be counted");
    std::int64_t bytes = 0;
    for (DWORD i = 0; i < count; ++i)
        bytes += BytesInUse(heaps[i]);
    return bytes;
}

std::int64_t Threads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    std::int64_t threads = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        threads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return threads;
}

}  // namespace

Usage UsageNow() {
    return {BytesInUse(), OpenHandles(), Threads()};
}

}  // namespace support

#else

#include <malloc.h>

#include <filesystem>
#include <iterator>

namespace support {
namespace {

std::int64_t EntriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

}  // namespace

Usage UsageNow() {
    const struct mallinfo2 heaps = mallinfo2();
    return {static_cast<std::int64_t>(heaps.uordblks + heaps.hblkhd), EntriesOf("/proc/self/fd"),
            EntriesOf("/proc/self/task")};
}

}  // namespace support

#endif
