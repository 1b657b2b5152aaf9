// Loading the file, before a host asks the effect for anything.
#include <algorithm>
#include <chrono>
#include <functional>

#include "platform/module.h"
#include "platform/process_state.h"
#include "platform/process_usage.h"
#include "validator/kit/heap_count.h"
#include "validator/registry.h"

namespace validator {
namespace {

constexpr int kLoads = 100;
constexpr int kWarmUps = 20;            // the loader and the C library fill their caches in these
constexpr std::int64_t kGrowth = 4096;  // bytes, which is less than 64 bytes for each load

void Loads(Context& context) {
    const platform::Module module(context.plugin());
}

void ExportsEntryPoints(Context& context) {
    const platform::Module module(context.plugin());
    for (const char* name : {"EffectMain", "PluginDataEntryFunction"})
        context.Expect(module.Find(name) != nullptr, std::string(name) + " is not exported");
}

// Judges the fastest of a few loads, because a busy machine is not the effect's fault.
void LoadsQuickly(Context& context) {
    using Clock = std::chrono::steady_clock;
    auto fastest = Clock::duration::max();
    for (int i = 0; i < signs::kTimedLoads; ++i) {
        const auto start = Clock::now();
        const platform::Module module(context.plugin());
        fastest = std::min(fastest, Clock::now() - start);
    }
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(fastest);
    context.Expect(time < signs::kLoadTime,
                   "the fastest of five loads took " + std::to_string(time.count()) + " ms");
}

void Unloads(Context& context) {
    { const platform::Module module(context.plugin()); }
    context.Expect(!platform::Module::IsLoaded(context.plugin()), "the file is still loaded after it was unloaded");
}

void ExpectNoGrowth(Context& context, const std::function<void()>& cycle) {
    for (int i = 0; i < kWarmUps; ++i)
        cycle();
    RequireHeapCount(context);
    const std::int64_t before = platform::HeapBytesInUse();
    for (int i = 0; i < kLoads; ++i)
        cycle();
    const std::int64_t grown = platform::HeapBytesInUse() - before;
    context.Expect(grown < kGrowth, "after " + std::to_string(kLoads) + " times the heap holds " +
                                        std::to_string(grown) + " bytes more");
}

void DoesNotGrow(Context& context) {
    ExpectNoGrowth(context, [&] { const platform::Module module(context.plugin()); });
}

void DoesNotGrowInUse(Context& context) {
    const auto library = context.Load();
    ExpectNoGrowth(context, [&] {
        refhost::Host host(library, context.HostOptions());
        host.SetUp();
        host.GlobalSetdown();
    });
}

// ---- What loading leaves as it was -----------------------------------------------------------------

void StartsNoThread(Context& context) {
    const int before = platform::ThreadCount();
    const platform::Module module(context.plugin());
    const int threads = platform::ThreadCount() - before;
    context.Expect(threads == 0, "loading starts " + std::to_string(threads) + " threads");
}

void LeavesNoHandles(Context& context) {
    { const platform::Module warmUp(context.plugin()); }
    const std::int64_t before = platform::OpenHandles();
    for (int i = 0; i < 5; ++i)
        const platform::Module module(context.plugin());
    const std::int64_t left = platform::OpenHandles() - before;
    context.Expect(left == 0,
                   "after loading and unloading five times " + std::to_string(left) + " more handles are open");
}

void KeepsFloatState(Context& context) {
    const std::string before = platform::FloatState();
    const platform::Module module(context.plugin());
    context.Expect(platform::FloatState() == before,
                   "loading changes the floating-point settings of the host's thread");
}

void KeepsLocale(Context& context) {
    const std::string before = platform::LocaleName();
    const platform::Module module(context.plugin());
    context.Expect(platform::LocaleName() == before,
                   "the locale was " + before + " and is now " + platform::LocaleName());
}

void KeepsWorkingFolder(Context& context) {
    const std::string before = platform::WorkingFolder();
    const platform::Module module(context.plugin());
    context.Expect(platform::WorkingFolder() == before, "the working folder is now " + platform::WorkingFolder());
}

void KeepsCrashHandlers(Context& context) {
    const std::string before = platform::CrashHandlers();
    const platform::Module module(context.plugin());
    context.Expect(platform::CrashHandlers() == before, "loading takes the host's crash handlers away");
}

constexpr Check kChecks[] = {
    {"loading.loads", "The file loads with every import resolved, so no runtime or other library is missing.",
     Where::compositor, Loads, Kind::gate},
    {"loading.exports", "The file exports EffectMain and PluginDataEntryFunction.", Where::compositor,
     ExportsEntryPoints, Kind::gate},
    {"loading.time", "Loading takes less than 100 ms once the file is in the system's cache.", Where::compositor,
     LoadsQuickly},
    {"loading.unloads", "The file can be unloaded, because nothing in it keeps it in the process.",
     Where::compositor, Unloads},
    {"loading.no-growth", "Loading and unloading 100 times leaves the heap as it was.", Where::compositor,
     DoesNotGrow},
    {"loading.no-growth-in-use", "Scanning, setting up and setting down 100 times leaves the heap as it was.",
     Where::both, DoesNotGrowInUse},
    {"loading.no-thread", "Loading starts no thread.", Where::compositor, StartsNoThread},
    {"loading.no-handle-left", "Loading and unloading leaves no handle or file open.", Where::compositor,
     LeavesNoHandles},
    {"loading.float-state",
     "Loading does not change the rounding, flushing and trapping of floating-point numbers.", Where::compositor,
     KeepsFloatState},
    {"loading.locale", "Loading does not change the process's locale.", Where::compositor, KeepsLocale},
    {"loading.working-folder", "Loading does not change the process's working folder.", Where::compositor,
     KeepsWorkingFolder},
    {"loading.crash-handlers", "Loading leaves the host's crash handlers in place.", Where::compositor,
     KeepsCrashHandlers},
};

}  // namespace

std::span<const Check> LoadingChecks() {
    return kChecks;
}

}  // namespace validator
