#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include "control.h"
#include "render/render_mutex.h"
#include "system.h"

#include <immintrin.h>

namespace broken {
namespace {

using namespace std::chrono_literals;

// The callbacks below may run on several threads at once. So they use what the host passes with every command, and
// do not ask OwnRecords::Host.
bool IsOwnRender(const MainCall& command) {
    return (command.cmd == PF_Cmd_RENDER || command.cmd == PF_Cmd_SMART_RENDER) && IsOfOwnSize(command);
}

// Detects two commands that run at once.
class Clash {
public:
    // Waits a moment for another command of the same instance, or of another one. Returns whether two have ever
    // met.
    bool Meets(PF_Handle instance, bool same) {
        std::unique_lock lock(mutex_);
        if (inside_ > 0 && (instance_ == instance) == same) met_ = true;
        instance_ = instance;
        ++inside_;
        changed_.notify_all();
        changed_.wait_for(lock, 20ms, [this] { return met_; });
        --inside_;
        return met_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    PF_Handle instance_ = nullptr;
    int inside_ = 0;
    bool met_ = false;
};

template <bool same>
PF_Err FailsBesideAnother(MainCall& command) {
    static Clash clash;
    if (IsOwnRender(command) && clash.Meets(command.inData->sequence_data, same)) return PF_Err_OUT_OF_MEMORY;
    return Effect(command);
}

PF_Err FailsBesideSetUp(MainCall& command) {
    static std::atomic<int> setUps{0};
    if (command.cmd == PF_Cmd_SEQUENCE_SETUP) ++setUps;
    if (!IsOwnRender(command)) return Effect(command);
    const int before = setUps;
    for (int i = 0; i < 20 && setUps == before; ++i)
        std::this_thread::sleep_for(1ms);
    return setUps == before ? Effect(command) : PF_Err{PF_Err_OUT_OF_MEMORY};
}

// ---- In place of the host's functions -------------------------------------------------------------------------

std::atomic<PF_Err (*)(PF_ProgPtr)> g_abort{nullptr};
std::atomic<bool> g_aborted{false};

PF_Err AbortsOthersToo(MainCall& command) {
    if (!IsOwnRender(command)) return Effect(command);
    if (g_aborted) return PF_Err_OUT_OF_MEMORY;
    g_abort = command.inData->inter.abort;
    PF_InData inData = *command.inData;
    inData.inter.abort = [](PF_ProgPtr ref) {
        const PF_Err code = g_abort.load()(ref);
        if (code != PF_Err_NONE) g_aborted = true;
        return code;
    };
    MainCall own = command;
    own.inData = &inData;
    return Effect(own);
}

using IterateGeneric = PF_Err (*)(std::int32_t, void*, PF_IterateRowFunc);
using Acquire = std::int32_t (*)(const char*, std::int32_t, const void**);
std::atomic<Acquire> g_acquire{nullptr};
IterateGeneric g_iterate = nullptr;
struct RowCall {
    PF_IterateRowFunc function;
    void* refcon;
    bool begun;
};

// The host's iteration suite with another iterate_generic.
template <IterateGeneric iterate>
std::int32_t AcquireWith(const char* name, std::int32_t version, const void** suite) {
    static PF_Iterate8Suite1 own;
    const std::int32_t code = g_acquire.load()(name, version, suite);
    if (code != 0 || *suite == nullptr || std::string_view(name) != "PF Iterate8 Suite") return code;
    own = *static_cast<const PF_Iterate8Suite1*>(*suite);
    g_iterate = own.iterate_generic;
    own.iterate_generic = iterate;
    *suite = &own;
    return code;
}

template <IterateGeneric iterate>
PF_Err Iterates(MainCall& command) {
    if (!IsOwnRender(command)) return Effect(command);
    g_acquire = command.inData->pica_basicP->AcquireSuite;
    OwnRecords own(command);
    own.basic.AcquireSuite = AcquireWith<iterate>;
    return Effect(command);
}

PF_Err FromTheTop(std::int32_t iterations, void* refcon, PF_IterateRowFunc function) {
    RowCall rows{function, refcon, false};
    return g_iterate(iterations, &rows,
                     [](void* memory, std::int32_t thread, std::int32_t row, std::int32_t count) {
                         auto& own = *static_cast<RowCall*>(memory);
                         if (thread == 0 && !std::exchange(own.begun, true) && row != 0)
                             return PF_Err{PF_Err_OUT_OF_MEMORY};
                         return own.function(own.refcon, thread, row, count);
                     });
}

constexpr int kRoom = 5;
static_assert(kRoom < signs::kRowThreads);

PF_Err OnFewThreads(std::int32_t iterations, void* refcon, PF_IterateRowFunc function) {
    RowCall rows{function, refcon, false};
    return g_iterate(iterations, &rows,
                     [](void* memory, std::int32_t thread, std::int32_t row, std::int32_t count) {
                         const auto& own = *static_cast<const RowCall*>(memory);
                         if (thread >= kRoom) return PF_Err{PF_Err_OUT_OF_MEMORY};
                         return own.function(own.refcon, thread, row, count);
                     });
}

PF_Err AllocatesElsewhere(MainCall& command) {
    if (!IsOwnRender(command)) return Effect(command);
    std::thread([utils = command.inData->utils] { utils->host_dispose_handle(utils->host_new_handle(24)); }).join();
    return Effect(command);
}

// ---- Threads --------------------------------------------------------------------------------------------------

PF_Err StaysOnItsThread(MainCall& command) {
    static std::atomic<std::thread::id> setUp;
    if (command.cmd == PF_Cmd_SEQUENCE_SETUP) setUp = std::this_thread::get_id();
    if (IsOwnRender(command) && setUp.load() != std::this_thread::get_id()) return PF_Err_OUT_OF_MEMORY;
    return Effect(command);
}

PF_Err LeavesThread(MainCall& command) {
    if (IsOwnRender(command)) LeaveThread();
    return Effect(command);
}

void FlushToZero() {
    _mm_setcsr(_mm_getcsr() | _MM_FLUSH_ZERO_ON);
}

template <void (*change)()>
PF_Err Changes(MainCall& command) {
    const PF_Err result = Effect(command);
    if (IsOwnRender(command)) change();
    return result;
}

PF_Err LeaksOnEachThread(MainCall& command) {
    thread_local bool known = false;
    if (IsOwnRender(command) && !std::exchange(known, true)) {
        [[maybe_unused]] static void* volatile leaked;
        leaked = std::malloc(100);
    }
    return Effect(command);
}

// ---- The effect without its render mutex ----------------------------------------------------------------------

struct Basic {
    Acquire acquire;
    std::int32_t (*release)(const char*, std::int32_t);
};
std::atomic<const Basic*> g_basic{nullptr};

// Unlocks the mutex in the render's first callback, and locks it again in the last one.
PF_Err RendersUnlocked(MainCall& command) {
    if (!IsOwnRender(command)) return Effect(command);
    static const Basic basic{command.inData->pica_basicP->AcquireSuite, command.inData->pica_basicP->ReleaseSuite};
    g_basic = &basic;
    SPBasicSuite own = *command.inData->pica_basicP;
    own.AcquireSuite = [](const char* name, std::int32_t version, const void** suite) {
        if (std::string_view(name) == "PF Pixel Format Suite") nuv::g_renderMutex.unlock();
        return g_basic.load()->acquire(name, version, suite);
    };
    own.ReleaseSuite = [](const char* name, std::int32_t version) {
        const std::int32_t code = g_basic.load()->release(name, version);
        if (std::string_view(name) == "PF Iterate8 Suite") nuv::g_renderMutex.lock();
        return code;
    };
    PF_InData inData = *command.inData;
    inData.pica_basicP = &own;
    MainCall unlocked = command;
    unlocked.inData = &inData;
    return Effect(unlocked);
}

constexpr Control kControls[] = {
    {.check = "threads.several-instances",
     .fault = "fails when another instance renders",
     .command = FailsBesideAnother<false>},
    {.check = "threads.one-instance",
     .fault = "fails when the instance renders another frame",
     .command = FailsBesideAnother<true>},
    {.check = "threads.set-up-meanwhile",
     .fault = "fails when an instance is set up meanwhile",
     .command = FailsBesideSetUp},
    {.check = "threads.abort-alone", .fault = "takes one render's abort for all", .command = AbortsOthersToo},
    {.check = "threads.shuffled-rows", .fault = "wants the first row first", .command = Iterates<FromTheTop>},
    {.check = "threads.many-row-threads", .fault = "has room for five threads", .command = Iterates<OnFewThreads>},
    {.check = "threads.own-thread",
     .fault = "makes a handle on a thread of its own",
     .command = AllocatesElsewhere},
    {.check = "threads.any-thread", .fault = "renders where it was set up only", .command = StaysOnItsThread},
    {.check = "threads.none-left", .fault = "leaves a thread at work", .command = LeavesThread},
    {.check = "threads.name", .fault = "renames the host's thread", .command = Changes<RenameThread>},
    {.check = "threads.priority",
     .fault = "changes the priority of the host's thread",
     .command = Changes<ChangePriority>},
    {.check = "threads.affinity",
     .fault = "keeps the host's thread on one processor",
     .command = Changes<TakeOneProcessor>,
     .needs = "two processors"},
    {.check = "threads.float-state",
     .fault = "flushes denormals to zero from then on",
     .command = Changes<FlushToZero>},
    {.check = "threads.no-lock-in-callbacks",
     .fault = "the effect without its render mutex",
     .command = RendersUnlocked,
     .mends = true},
    {.check = "threads.come-and-go", .fault = "forgets 100 bytes on each thread", .command = LeaksOnEachThread},
};
static_assert(signs::EachHasSize(kControls, &Control::check));

}  // namespace

std::span<const Control> ThreadsControls() {
    return kControls;
}

}  // namespace broken
