#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "callback_fault.h"

namespace broken {
namespace {

// ---- The effect without a habit -------------------------------------------------------------------------------

// What must be given back to the host. Works without allocations, because these may fail.
template <class Thing>
class Owed {
public:
    void Add(const Thing& thing) {
        if (count_ < things_.size()) things_[count_++] = thing;
    }
    // Returns whether there was such a thing.
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

PF_Err GivesSuitesBack(MainCall& command) {
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

void* LockUnlessNull(PF_Handle handle) {
    return handle != nullptr ? OwnRecords::Host().utils->host_lock_handle(handle) : nullptr;
}

void UnlockAny(PF_Handle handle) {
    OwnRecords::Host().utils->host_unlock_handle(handle);
}

template <auto lock, auto unlock>
PF_Err LocksAndUnlocksBy(MainCall& command) {
    if (!IsOfThisFamily(command)) return Effect(command);
    g_locked.Clear();
    OwnRecords own(command);
    own.utils.host_lock_handle = lock;
    own.utils.host_unlock_handle = unlock;
    own.basic.AcquireSuite = [](const char* name, std::int32_t version, const void** suite) {
        static PF_HandleSuite1 handles;
        const std::int32_t code = OwnRecords::Host().pica_basicP->AcquireSuite(name, version, suite);
        if (code == 0 && *suite != nullptr && std::string_view(name) == "PF Handle Suite") {
            handles = *static_cast<const PF_HandleSuite1*>(*suite);
            handles.host_lock_handle = lock;
            handles.host_unlock_handle = unlock;
            *suite = &handles;
        }
        return code;
    };
    return Effect(command);
}

PF_Err TellsOfFailure(MainCall& command) {
    if (!IsOfThisFamily(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    if (result != PF_Err_NONE) return result;
    // After a pre-render that got no handle, the render tells: it locks null.
    const unsigned handle = command.cmd == PF_Cmd_SMART_PRE_RENDER ? 0u : unsigned{handleNull};
    return watch.Saw(suiteRefused | suiteNull | handle | lockNull | nullLocked | formatUnknown | parameterOut)
               ? PF_Err_INTERNAL_STRUCT_DAMAGED
               : PF_Err_NONE;
}

constexpr Control kControls[] = {
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

    {.check = "faults.suites-given-back",
     .fault = "the effect without its early exit's suites",
     .command = GivesSuitesBack,
     .mends = true},
    {.check = "faults.unlocks-its-locks",
     .fault = "the effect without its unlocking of what is not locked",
     .command = LocksAndUnlocksBy<Lock, Unlock>,
     .mends = true},
    {.check = "faults.locks-handles",
     .fault = "the effect without its locking of null",
     .command = LocksAndUnlocksBy<LockUnlessNull, UnlockAny>,
     .mends = true},
    {.check = "faults.failure-told",
     .fault = "the effect with a code for what it drops",
     .command = TellsOfFailure,
     .mends = true},
};

}  // namespace

std::span<const Control> FaultsRenderControls() {
    return kControls;
}

}  // namespace broken
