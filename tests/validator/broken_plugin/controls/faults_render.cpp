#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <string_view>

#include "fault_watch.h"

#if defined(__linux__)
#include <pthread.h>
#endif

namespace broken {
namespace {

// The checks of this family render frames of this width; others do not.
constexpr std::int32_t kWidth = 7;

bool IsOfThisFamily(const Command& command) {
    return command.inData != nullptr && command.inData->width == kWidth;
}

// Whether a command is one in which the fault shows.
using Moment = bool (*)(const Command& command);

bool InSetUp(const Command& command) {
    return command.inData != nullptr && command.cmd <= PF_Cmd_SEQUENCE_SETDOWN;
}

template <PF_Cmd cmd>
bool In(const Command& command) {
    return command.cmd == cmd && IsOfThisFamily(command);
}
constexpr Moment InPreRender = In<PF_Cmd_SMART_PRE_RENDER>;
constexpr Moment InSmartRender = In<PF_Cmd_SMART_RENDER>;
constexpr Moment InPlainRender = In<PF_Cmd_RENDER>;

// Forgets a handle when something has failed.
template <Moment in, Seen seen>
PF_Err Leaks(Command& command) {
    if (!in(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    if (watch.Saw(seen)) OwnRecords::Host().utils->host_new_handle(24);
    return result;
}

// Succeeds whatever the host says.
template <Moment in, Seen seen>
PF_Err Swallows(Command& command) {
    if (!in(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    return watch.Saw(seen) ? PF_Err_NONE : result;
}

#if defined(__linux__)

// Without an allocation, which may fail as well.
template <Moment in>
PF_Err StartsThread(Command& command) {
    if (in(command)) {
        pthread_t thread;
        if (::pthread_create(
                &thread, nullptr, [](void* memory) { return memory; }, nullptr) != 0)
            throw 1;
        ::pthread_join(thread, nullptr);
    }
    return Effect(command);
}

enum class Form { usual, aligned, nothrow };

template <Moment in, Form form>
PF_Err Allocates(Command& command) {
    constexpr std::align_val_t kAlignment{64};
    if (in(command)) {
        if constexpr (form == Form::usual) ::operator delete(::operator new(100));
        if constexpr (form == Form::aligned) ::operator delete(::operator new(100, kAlignment), kAlignment);
        if constexpr (form == Form::nothrow) {
            void* const memory = ::operator new(100, std::nothrow);
            if (memory == nullptr) throw 1;
            ::operator delete(memory);
        }
    }
    return Effect(command);
}

#endif

// ---- The effect without a habit -------------------------------------------------------------------------------

// What is owed to the host, kept without allocations, which may fail.
template <class Thing>
class Owed {
public:
    void Add(const Thing& thing) {
        if (count_ < things_.size()) things_[count_++] = thing;
    }
    // Whether there was one like this.
    bool Remove(const Thing& thing) {
        const auto end = things_.begin() + static_cast<std::ptrdiff_t>(count_);
        const auto found = std::find(things_.begin(), end, thing);
        if (found == end) return false;
        *found = things_[--count_];
        return true;
    }
    void Clear() { count_ = 0; }
    std::span<const Thing> All() const { return {things_.data(), count_}; }

private:
    std::array<Thing, 16> things_{};
    std::size_t count_ = 0;
};

struct Suite {
    std::string_view name;
    std::int32_t version;
    bool operator==(const Suite&) const = default;
};
Owed<Suite> g_suites;

PF_Err GivesSuitesBack(Command& command) {
    if (!IsOfThisFamily(command)) return Effect(command);
    g_suites.Clear();
    OwnRecords own(command);
    own.basic.AcquireSuite = [](const char* name, std::int32_t version, const void** suite) {
        const std::int32_t code = OwnRecords::Host().pica_basicP->AcquireSuite(name, version, suite);
        if (code == 0 && *suite != nullptr) g_suites.Add({name, version});
        return code;
    };
    own.basic.ReleaseSuite = [](const char* name, std::int32_t version) {
        g_suites.Remove({name, version});
        return OwnRecords::Host().pica_basicP->ReleaseSuite(name, version);
    };
    const PF_Err result = Effect(command);
    for (const auto& [name, version] : g_suites.All())
        OwnRecords::Host().pica_basicP->ReleaseSuite(name.data(), version);
    return result;
}

Owed<PF_Handle> g_locked;

void* Lock(PF_Handle handle) {
    void* const memory = OwnRecords::Host().utils->host_lock_handle(handle);
    if (memory != nullptr) g_locked.Add(handle);
    return memory;
}

void Unlock(PF_Handle handle) {
    if (g_locked.Remove(handle)) OwnRecords::Host().utils->host_unlock_handle(handle);
}

PF_Err UnlocksItsLocks(Command& command) {
    if (!IsOfThisFamily(command)) return Effect(command);
    g_locked.Clear();
    OwnRecords own(command);
    own.utils.host_lock_handle = Lock;
    own.utils.host_unlock_handle = Unlock;
    own.basic.AcquireSuite = [](const char* name, std::int32_t version, const void** suite) {
        static PF_HandleSuite1 handles;
        const std::int32_t code = OwnRecords::Host().pica_basicP->AcquireSuite(name, version, suite);
        if (code == 0 && *suite != nullptr && std::string_view(name) == "PF Handle Suite") {
            handles = *static_cast<const PF_HandleSuite1*>(*suite);
            handles.host_lock_handle = Lock;
            handles.host_unlock_handle = Unlock;
            *suite = &handles;
        }
        return code;
    };
    return Effect(command);
}

PF_Err TellsOfFailure(Command& command) {
    if (!IsOfThisFamily(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    if (result != PF_Err_NONE) return result;
    constexpr unsigned kAny = suiteRefused | suiteNull | handleNull | lockNull | formatUnknown | parameterOut;
    return watch.Saw(kAny) ? PF_Err_INTERNAL_STRUCT_DAMAGED : PF_Err_NONE;
}

constexpr Control kControls[] = {
    {.check = "faults.setup-suite-refused",
     .fault = "forgets a handle when a suite is refused",
     .command = Leaks<InSetUp, suiteRefused>},
    {.check = "faults.setup-suite-null",
     .fault = "forgets a handle when a suite is null",
     .command = Leaks<InSetUp, suiteNull>},
    {.check = "faults.setup-parameter",
     .fault = "does not mind that a parameter is refused",
     .command = Swallows<InSetUp, parameterRefused>},
    {.check = "faults.setup-handle",
     .fault = "forgets a handle when another is refused",
     .command = Leaks<InSetUp, handleNull>},
    {.check = "faults.setup-other",
     .fault = "forgets a handle when a suite's release fails",
     .command = Leaks<InSetUp, releaseRefused>},
    {.check = "faults.setup-handle-told",
     .fault = "does not mind that there is no memory for its data",
     .command = Swallows<InSetUp, handleNull>},
    {.check = "faults.setup-formats",
     .fault = "forgets a handle when a format is refused",
     .command = Leaks<InSetUp, formatRefused>},

    {.check = "faults.prerender-suite-refused",
     .fault = "forgets a handle when a suite is refused",
     .command = Leaks<InPreRender, suiteRefused>},
    {.check = "faults.prerender-suite-null",
     .fault = "forgets a handle when a suite is null",
     .command = Leaks<InPreRender, suiteNull>},
    {.check = "faults.prerender-handle",
     .fault = "forgets a handle when another is refused",
     .command = Leaks<InPreRender, handleNull>},
    {.check = "faults.prerender-lock",
     .fault = "forgets a handle when another cannot be locked",
     .command = Leaks<InPreRender, lockNull>},
    {.check = "faults.prerender-other",
     .fault = "forgets a handle when a suite's release fails",
     .command = Leaks<InPreRender, releaseRefused>},
    {.check = "faults.prerender-layer",
     .fault = "does not mind that there is no layer",
     .command = Swallows<InPreRender, layerOut>},

    {.check = "faults.smart-suite-refused",
     .fault = "forgets a handle when a suite is refused",
     .command = Leaks<InSmartRender, suiteRefused>},
    {.check = "faults.smart-suite-null",
     .fault = "forgets a handle when a suite is null",
     .command = Leaks<InSmartRender, suiteNull>},
    {.check = "faults.smart-handle",
     .fault = "forgets a handle when another is refused",
     .command = Leaks<InSmartRender, handleNull>},
    {.check = "faults.smart-lock",
     .fault = "forgets a handle when another cannot be locked",
     .command = Leaks<InSmartRender, lockNull>},
    {.check = "faults.smart-parameter-out",
     .fault = "forgets a handle when a parameter is refused",
     .command = Leaks<InSmartRender, parameterOut>},
    {.check = "faults.smart-parameter-in",
     .fault = "forgets a handle when a parameter's check-in fails",
     .command = Leaks<InSmartRender, parameterIn>},
    {.check = "faults.smart-layer",
     .fault = "does not mind that there is no layer",
     .command = Swallows<InSmartRender, layerOut>},
    {.check = "faults.smart-output",
     .fault = "does not mind that there is no output",
     .command = Swallows<InSmartRender, outputOut>},
    {.check = "faults.smart-rows",
     .fault = "does not mind that an iteration is stopped",
     .command = Swallows<InSmartRender, rowStopped>},
    {.check = "faults.smart-abort", .fault = "does not mind an abort", .command = Swallows<InSmartRender, aborted>},
    {.check = "faults.smart-other",
     .fault = "forgets a handle when a suite's release fails",
     .command = Leaks<InSmartRender, releaseRefused>},
    {.check = "faults.smart-format",
     .fault = "forgets a handle when a format is unknown",
     .command = Leaks<InSmartRender, formatUnknown>},
    {.check = "faults.smart-world",
     .fault = "forgets a handle when a world is refused",
     .command = Leaks<InSmartRender, worldRefused>},

    {.check = "faults.plain-suite-refused",
     .fault = "forgets a handle when a suite is refused",
     .command = Leaks<InPlainRender, suiteRefused>},
    {.check = "faults.plain-suite-null",
     .fault = "forgets a handle when a suite is null",
     .command = Leaks<InPlainRender, suiteNull>},
    {.check = "faults.plain-handle",
     .fault = "forgets a handle when another is refused",
     .command = Leaks<InPlainRender, handleNull>},
    {.check = "faults.plain-lock",
     .fault = "forgets a handle when another cannot be locked",
     .command = Leaks<InPlainRender, lockNull>},
    {.check = "faults.plain-parameter-out",
     .fault = "forgets a handle when a parameter is refused",
     .command = Leaks<InPlainRender, parameterOut>},
    {.check = "faults.plain-parameter-in",
     .fault = "forgets a handle when a parameter's check-in fails",
     .command = Leaks<InPlainRender, parameterIn>},
    {.check = "faults.plain-rows",
     .fault = "does not mind that an iteration is stopped",
     .command = Swallows<InPlainRender, rowStopped>},
    {.check = "faults.plain-abort", .fault = "does not mind an abort", .command = Swallows<InPlainRender, aborted>},
    {.check = "faults.plain-other",
     .fault = "forgets a handle when a suite's release fails",
     .command = Leaks<InPlainRender, releaseRefused>},
    {.check = "faults.plain-format",
     .fault = "forgets a handle when a format is unknown",
     .command = Leaks<InPlainRender, formatUnknown>},
    {.check = "faults.plain-world",
     .fault = "forgets a handle when a world is refused",
     .command = Leaks<InPlainRender, worldRefused>},

#if defined(__linux__)
    {.check = "faults.session-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InSetUp>},
    {.check = "faults.session-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InSetUp, Form::usual>},
    {.check = "faults.smart-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InSmartRender>},
    {.check = "faults.smart-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InSmartRender, Form::aligned>},
    {.check = "faults.plain-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InPlainRender>},
    {.check = "faults.plain-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InPlainRender, Form::nothrow>},
#endif

    {.check = "faults.suites-given-back",
     .fault = "the effect without its early exit's suites",
     .command = GivesSuitesBack,
     .mends = true},
    {.check = "faults.unlocks-its-locks",
     .fault = "the effect without its unlocking of what is not locked",
     .command = UnlocksItsLocks,
     .mends = true},
    {.check = "faults.failure-told",
     .fault = "the effect with a code for what it drops",
     .command = TellsOfFailure,
     .mends = true},
};

}  // namespace

std::span<const Control> FaultsControls() {
    return kControls;
}

}  // namespace broken
