#include <cfenv>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "control.h"

#include <immintrin.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>
#endif

namespace broken {
namespace {

using namespace std::chrono_literals;

// How often the library has been loaded into this process, this time included. The count is in the environment,
// because the library's own variables go when it is unloaded. It ends beyond what the checks need, because the C
// library keeps every value that a variable of the environment ever had.
int Loads() {
    const char* const counted = std::getenv("NUV_BROKEN_LOADS");  // NOLINT(concurrency-mt-unsafe)
    const int loads = counted ? std::atoi(counted) + 1 : 1;
    if (loads > signs::kTimedLoads + 1) return loads;
#if defined(_WIN32)
    _putenv_s("NUV_BROKEN_LOADS", std::to_string(loads).c_str());
#else
    ::setenv("NUV_BROKEN_LOADS", std::to_string(loads).c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
#endif
    return loads;
}

// Other checks load it a hundred times, so only the first loads are slow.
void LoadsSlowly() {
    if (Loads() <= signs::kTimedLoads) std::this_thread::sleep_for(signs::kLoadTime + 20ms);
}

void StaysLoaded() {
#if defined(_WIN32)
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&AllControls), &self);
#else
    Dl_info self{};
    ::dladdr(reinterpret_cast<void*>(&AllControls), &self);
    ::dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
#endif
}

void Leak() {
    [[maybe_unused]] static void* volatile leaked;
    leaked = std::malloc(1000);
}

PF_Err LeaksAtGlobalSetup(Command& command) {
    if (command.cmd == PF_Cmd_GLOBAL_SETUP) Leak();
    return Effect(command);
}

template <typename To, typename From>
To SystemCode(From function) {
    return reinterpret_cast<To>(reinterpret_cast<void (*)()>(function));
}

// The thread runs code of the system only, since the library may go before it.
void StartsThread() {
    if (Loads() > 1) return;
#if defined(_WIN32)
    CloseHandle(CreateThread(nullptr, 0, SystemCode<LPTHREAD_START_ROUTINE>(&Sleep),
                             reinterpret_cast<void*>(std::uintptr_t{INFINITE}), 0, nullptr));
#else
    pthread_t thread;
    ::pthread_create(&thread, nullptr, SystemCode<void* (*)(void*)>(&::sleep),
                     reinterpret_cast<void*>(std::uintptr_t{1'000'000}));
    ::pthread_detach(thread);
#endif
}

void LeavesHandle() {
#if defined(_WIN32)
    CreateEventW(nullptr, FALSE, FALSE, nullptr);
#else
    [[maybe_unused]] static volatile int left;
    left = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
#endif
}

void FlushesToZero() {
    _mm_setcsr(_mm_getcsr() | _MM_FLUSH_ZERO_ON);
}

void ChangesLocale() {
    std::setlocale(LC_NUMERIC, std::setlocale(LC_NUMERIC, "C.UTF-8") ? "C.UTF-8" : "English");
}

void ChangesFolder() {
    std::filesystem::current_path(std::filesystem::temp_directory_path().root_path());
}

void TakesCrashHandler() {
#if defined(_WIN32)
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_CONTINUE_SEARCH; });
#else
    std::signal(SIGSEGV, SIG_IGN);
#endif
}

constexpr Control kControls[] = {
    {.check = "loading.loads", .fault = "needs a library that is not there", .file = "broken_without_library"},
    {.check = "loading.exports", .fault = "exports one entry point only", .file = "broken_without_entry"},
    {.check = "loading.time", .fault = "takes 120 ms to load", .load = LoadsSlowly},
    {.check = "loading.unloads", .fault = "keeps itself loaded", .load = StaysLoaded},
    {.check = "loading.no-growth", .fault = "forgets 1,000 bytes at each load", .load = Leak},
    {.check = "loading.no-growth-in-use",
     .fault = "forgets 1,000 bytes at each global set-up",
     .command = LeaksAtGlobalSetup},
    {.check = "loading.no-thread", .fault = "starts a thread when loaded", .load = StartsThread},
    {.check = "loading.no-handle-left", .fault = "leaves a file open", .load = LeavesHandle},
    {.check = "loading.float-state", .fault = "flushes denormals to zero from then on", .load = FlushesToZero},
    {.check = "loading.locale", .fault = "changes how numbers are printed", .load = ChangesLocale},
    {.check = "loading.working-folder", .fault = "goes to the root folder", .load = ChangesFolder},
    {.check = "loading.crash-handlers", .fault = "handles crashes itself", .load = TakesCrashHandler},
};

}  // namespace

std::span<const Control> LoadingControls() {
    return kControls;
}

}  // namespace broken
