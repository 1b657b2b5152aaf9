#include <chrono>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "control.h"
#include "system.h"

#include <immintrin.h>

namespace broken {
namespace {

using namespace std::chrono_literals;

// How often the library has been loaded into this process, this time included. The count is in the environment,
// because the library's own variables go when it is unloaded. It stops just above what the checks need, because the
// C library never frees the old values of such a variable.
int Loads() {
    const char* const counted = std::getenv("NUV_BROKEN_LOADS");  // NOLINT(concurrency-mt-unsafe)
    const int loads = counted ? std::atoi(counted) + 1 : 1;
    if (loads > signs::kTimedLoads + 1) return loads;
    SetVariable("NUV_BROKEN_LOADS", std::to_string(loads));
    return loads;
}

// Other checks load it a hundred times, so only the first loads are slow.
void LoadsSlowly() {
    if (Loads() <= signs::kTimedLoads) std::this_thread::sleep_for(signs::kLoadTime + 20ms);
}

void Leak() {
    [[maybe_unused]] static void* volatile leaked;
    leaked = std::malloc(1000);
}

PF_Err LeaksAtGlobalSetup(MainCall& command) {
    if (command.cmd == PF_Cmd_GLOBAL_SETUP) Leak();
    return Effect(command);
}

void StartsThread() {
    if (Loads() == 1) LeaveThread();
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

constexpr Control kControls[] = {
    {.check = "loading.loads", .fault = "needs a library that is not there", .file = "broken_without_library"},
    {.check = "loading.exports", .fault = "exports one entry point only", .file = "broken_without_entry"},
    {.check = "loading.time", .fault = "takes 120 ms to load", .load = LoadsSlowly},
    {.check = "loading.unloads", .fault = "keeps itself loaded", .load = StayLoaded},
    {.check = "loading.no-growth", .fault = "forgets 1,000 bytes at each load", .load = Leak},
    {.check = "loading.no-growth-in-use",
     .fault = "forgets 1,000 bytes at each global set-up",
     .command = LeaksAtGlobalSetup},
    {.check = "loading.no-thread", .fault = "starts a thread when loaded", .load = StartsThread},
    {.check = "loading.no-handle-left", .fault = "leaves a file open", .load = LeaveHandleOpen},
    {.check = "loading.float-state", .fault = "flushes denormals to zero from then on", .load = FlushesToZero},
    {.check = "loading.locale", .fault = "changes how numbers are printed", .load = ChangesLocale},
    {.check = "loading.working-folder", .fault = "goes to the root folder", .load = ChangesFolder},
    {.check = "loading.crash-handlers", .fault = "handles crashes itself", .load = TakeCrashHandler},
};

}  // namespace

std::span<const Control> LoadingControls() {
    return kControls;
}

}  // namespace broken
