#include "platform/process_usage.h"

#include <windows.h>

#include <tlhelp32.h>

#include <array>
#include <stdexcept>

namespace platform {
namespace {

// Only a heap that can be locked may be walked, so a heap that cannot be locked counts as empty.
std::int64_t BytesInUse(HANDLE heap) {
    if (!HeapLock(heap)) return 0;
    std::int64_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

}  // namespace

std::int64_t HeapBytesInUse() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    if (count > heaps.size()) throw std::runtime_error("the process has more heaps than can be counted");
    std::int64_t bytes = 0;
    for (DWORD i = 0; i < count; ++i)
        bytes += BytesInUse(heaps[i]);
    return bytes;
}

// Tries every value below 2^18 that can be a handle, because emulators of Windows do not count a process's handles.
std::int64_t OpenHandles() {
    std::int64_t open = 0;
    for (std::uintptr_t value = 4; value < (1 << 18); value += 4) {
        DWORD flags = 0;
        open += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0;
    }
    return open;
}

int ThreadCount() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

}  // namespace platform
