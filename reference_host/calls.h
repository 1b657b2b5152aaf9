// The callbacks that the host offers, and the record of one call to a callback.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "pf_basics.h"

namespace refhost {

// Every callback that the host offers.
enum class Call {
    acquireSuite,
    releaseSuite,
    newHandle,
    lockHandle,
    unlockHandle,
    disposeHandle,
    getHandleSize,
    resizeHandle,
    checkoutParam,
    checkinParam,
    addParam,
    abort,
    checkoutLayer,
    checkoutLayerPixels,
    checkinLayerPixels,
    checkoutOutput,
    newWorld,
    disposeWorld,
    getPixelFormat,
    clearPixelFormats,
    addPixelFormat,
    iterate,
    iterateGeneric,
    row,  // a row of `iterate` or `iterateGeneric`, just before the host calls the effect's function for it
    copyString,
    formatString,
    count  // no callback; it is their number
};
inline constexpr auto kCallKinds = static_cast<std::size_t>(Call::count);

// The callback's name in the host's tables: "AcquireSuite", "checkout_param", …
std::string_view Name(Call call);

// One call that the effect made.
struct CallRecord {
    Call call;
    std::int64_t index;  // 0 for the first call of this kind since the host was made, or since Account::Reset
    // What the call is about:
    //   AcquireSuite, ReleaseSuite                 name and version: PF World Suite 2
    //   checkout_param, checkin_param, add_param, checkout_layer    parameter index: 3
    //   checkout_layer_pixels, checkin_layer_pixels                 check-out id: 0
    //   handles                                    bytes that are asked for or that the handle has: 8
    //   new_world, dispose_world                   pixels: 1 x 7
    //   GetPixelFormat                             the suite that was asked: PF World Suite
    //   AddSupportedPixelFormat                    the format: 0x61726762
    //   iterate, iterate_generic                   number of rows: 1080
    //   row                                        number of the row: 17
    //   strcpy, sprintf                            the text, or the format
    // Empty for the other callbacks, and when the host does not know the thing that the effect named.
    std::string detail;
    std::uint64_t thread;  // a small number that stands for the calling thread
};

// Decides what happens to one callback. The host asks before it carries the callback out. If the plan returns no
// value, the host carries the callback out. If the plan returns a code, the callback fails with this code:
//   - A callback that returns a pointer (handles, locks) returns null. AcquireSuite sets the pointer to null for
//     every code, even for code 0.
//   - For a row, the effect's function is not called, and the iteration stops with the code.
//   - A callback that gives something back to the host (release, check-in, unlock, dispose) is carried out in any
//     case, and then returns the code. Thus the account never lists something that the effect gave back.
// The host may call the plan from several threads at once. If the plan throws an exception, it goes through the
// callback to the effect. For a row, the iteration stops, and the exception goes through iterate or
// iterate_generic.
using FaultPlan = std::function<std::optional<PF_Err>(const CallRecord&)>;

}  // namespace refhost
