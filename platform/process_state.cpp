#include "platform/process_state.h"

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#if defined(_WIN32)
#include <windows.h>

#include <tlhelp32.h>

#include <vector>
#else
#include <malloc.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#endif

namespace validator {

void RequireHeapCount([[maybe_unused]] Context& context) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(NUV_COVERAGE)
    context.NotApplicable("this program is built with instruments, whose heap is not counted");
#endif
}

std::string FloatState() {
    constexpr unsigned kFlags = 0x3F;  // exceptions seen so far are no setting
    return std::to_string(_mm_getcsr() & ~kFlags);
}

int ThreadsBeyond(int before) {
    for (int tries = 0; tries < 200 && ThreadCount() > before; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return ThreadCount() - before;
}

std::string LocaleName() {
    const char* name = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
    return name ? name : "";
}

std::string WorkingFolder() {
    return std::filesystem::current_path().string();
}

#if defined(_WIN32)

namespace {

std::int64_t BytesInUse(HANDLE heap) {
    std::int64_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    if (!HeapLock(heap)) return 0;
    while (HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

}  // namespace

std::int64_t HeapBytesInUse() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr) + 8);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    std::int64_t bytes = 0;
    for (const HANDLE heap : heaps)
        bytes += BytesInUse(heap);
    return bytes;
}

// By asking of every value that can be one: emulators do not keep the count that the system keeps.
std::int64_t OpenHandles() {
    std::int64_t open = 0;
    for (std::uintptr_t value = 4; value < (1 << 16); value += 4) {
        DWORD flags = 0;
        open += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0;
    }
    return open;
}

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

// Looked up, since systems before Windows 10 give no names.
std::string ThreadName() {
    using Get = HRESULT(WINAPI*)(HANDLE, PWSTR*);
    const auto get = reinterpret_cast<Get>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "GetThreadDescription")));
    PWSTR name = nullptr;
    if (get == nullptr || FAILED(get(GetCurrentThread(), &name)) || name == nullptr) return "";
    const std::filesystem::path text(name);
    LocalFree(name);
    return text.string();
}

std::string ThreadPriority() {
    return std::to_string(GetThreadPriority(GetCurrentThread()));
}

std::string ThreadAffinity() {
    GROUP_AFFINITY affinity{};
    GetThreadGroupAffinity(GetCurrentThread(), &affinity);
    return std::to_string(affinity.Group) + ":" + std::to_string(affinity.Mask);
}

std::string CrashHandlers() {
    const auto filter = SetUnhandledExceptionFilter(nullptr);
    SetUnhandledExceptionFilter(filter);
    return std::to_string(reinterpret_cast<std::uintptr_t>(filter)) + " " + std::to_string(GetErrorMode());
}

#else

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

int ThreadCount() {
    return static_cast<int>(EntriesOf("/proc/self/task"));
}

std::string ThreadName() {
    char name[16] = "";
    ::pthread_getname_np(::pthread_self(), name, sizeof name);
    return name;
}

std::string ThreadPriority() {
    // Of the system: the C library's own notes do not hear of every change.
    sched_param param{};
    ::sched_getparam(0, &param);
    return std::to_string(::sched_getscheduler(0)) + ":" + std::to_string(param.sched_priority) + ":" +
           std::to_string(::getpriority(PRIO_PROCESS, 0));
}

std::string ThreadAffinity() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    ::sched_getaffinity(0, sizeof processors, &processors);
    std::string text;
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &processors)) text += (text.empty() ? "" : ",") + std::to_string(i);
    }
    return text;
}

std::string CrashHandlers() {
    std::string text;
    for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTERM, SIGINT}) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        text += std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + " ";
    }
    return text;
}

#endif

}  // namespace validator
