// The host's callbacks throw, one after the other, and the exception must not leave the effect.
#include <array>
#include <new>
#include <stdexcept>

#include "validator/kit/throwing_callbacks.h"
#include "validator/registry.h"

namespace validator {
namespace {

constexpr std::array<throwing::Thrower, 3> kThrowers{
    [] { throw int{signs::kThrown}; },
    [] { throw std::bad_alloc(); },
    [] { throw std::runtime_error("a callback's exception"); },
};

template <void in(Context&, throwing::Throwers)>
void Try(Context& context) {
    in(context, kThrowers);
}

constexpr Check kChecks[] = {
    {"exceptions.set-up",
     "Beyond the protocol: if a callback throws, the exception does not leave global or parameter set-up.",
     Where::both, Try<throwing::InSetUp>},
    {"exceptions.about",
     "Beyond the protocol: if a callback throws, the exception does not leave the about command.",
     Where::compositor, Try<throwing::InAbout>},
    {"exceptions.sequence",
     "Beyond the protocol: if a callback throws, the exception does not leave a sequence command.", Where::both,
     Try<throwing::InSequences>},
    {"exceptions.pre-render",
     "Beyond the protocol: if a callback throws, the exception does not leave a pre-render.", Where::compositor,
     Try<throwing::InPreRender>},
    {"exceptions.smart-render",
     "Beyond the protocol: if a callback throws, the exception does not leave a smart render.", Where::compositor,
     Try<throwing::InSmartRender>},
    {"exceptions.plain-render",
     "Beyond the protocol: if a callback throws, the exception does not leave a plain render.", Where::both,
     Try<throwing::InPlainRender>},
};

}  // namespace

std::span<const Check> ExceptionsChecks() {
    return kChecks;
}

}  // namespace validator
