// As in exceptions.cpp, but the callbacks throw what the C++ runtime of the real hosts throws. If such an exception
// leaves the effect, it ends the check's process.
#include <array>

#include "reference_host/windows/other_runtime.h"
#include "validator/kit/throwing_callbacks.h"
#include "validator/registry.h"

namespace validator {
namespace {

constexpr std::array<throwing::Thrower, 3> kThrowers{
    [] { refhost::ThrowForeign(signs::kThrownForeign); },
    [] { refhost::ThrowForeign(".?AVbad_alloc@std@@"); },
    [] { refhost::RaiseForeign({}); },
};

template <void in(Context&, throwing::Throwers)>
void Try(Context& context) {
    in(context, kThrowers);
}

constexpr Check kChecks[] = {
    {"foreign-exceptions.set-up",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave global or "
     "parameter set-up.",
     Where::both, Try<throwing::InSetUp>},
    {"foreign-exceptions.about",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave the about "
     "command.",
     Where::compositor, Try<throwing::InAbout>},
    {"foreign-exceptions.sequence",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave a sequence "
     "command.",
     Where::both, Try<throwing::InSequences>},
    {"foreign-exceptions.pre-render",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave a pre-render.",
     Where::compositor, Try<throwing::InPreRender>},
    {"foreign-exceptions.smart-render",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave a smart "
     "render.",
     Where::compositor, Try<throwing::InSmartRender>},
    {"foreign-exceptions.plain-render",
     "Beyond the protocol: if a callback throws as other compilers do, the exception does not leave a plain "
     "render.",
     Where::both, Try<throwing::InPlainRender>},
};

}  // namespace

std::span<const Check> ForeignExceptionsChecks() {
    return kChecks;
}

}  // namespace validator
