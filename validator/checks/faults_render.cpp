// The host's callbacks fail while the effect renders a frame. In faults_setup.cpp they fail during the set-up
// commands. In linux/faults_system.cpp the operating system refuses threads and memory.
#include <algorithm>
#include <array>
#include <iterator>

#include "reference_host/calls.h"
#include "validator/kit/fault_points.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace faults;
using refhost::Call;

constexpr char kNoSuchCall[] = "the effect makes no such call";

constexpr auto kEveryCall = [] {
    std::array<Call, refhost::kCallKinds> calls{};
    for (std::size_t i = 0; i < calls.size(); ++i)
        calls[i] = static_cast<Call>(i);
    return calls;
}();

constexpr auto kPre = RenderCommand::preRender;
constexpr auto kSmart = RenderCommand::smartRender;
constexpr auto kPlain = RenderCommand::plainRender;

template <RenderCommand command, Flaws flaws, Call... calls>
void Each(Context& context) {
    static constexpr Call kCalls[] = {calls...};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls}, flaws);
    trial.End(kNoSuchCall);
}

template <RenderCommand command, Call... others>
void EachBut(Context& context) {
    std::vector<Call> calls;
    std::ranges::copy_if(kEveryCall, std::back_inserter(calls),
                         [](Call call) { return (... && (call != others)); });
    Trial trial(context);
    TryEach(trial, command, {.calls = calls}, UsualFlaws);
    trial.End(kNoSuchCall);
}

template <RenderCommand command>
void NullSuite(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls, .code = PF_Err_NONE}, UsualFlaws);
    trial.End(kNoSuchCall);
}

// Plays a host without iterate_generic, because an effect may need worlds of its own only there.
template <RenderCommand command>
void World(Context& context) {
    static constexpr Call kCalls[] = {Call::newWorld};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls, .generic = false}, UsualFlaws);
    trial.End(kNoSuchCall);
}

// ---- Promises about every callback ----------------------------------------------------------------------------

// Fails every callback of every render command in turn, in hosts with and without iterate_generic.
template <Flaws flaws>
void EachOfAll(Context& context) {
    static constexpr Call kSuites[] = {Call::acquireSuite};
    Trial trial(context);
    for (const RenderCommand command : CommandsOf(context)) {
        for (const bool generic : {true, false}) {
            TryEach(trial, command, {.calls = kEveryCall, .generic = generic}, flaws);
            TryEach(trial, command, {.calls = kSuites, .code = PF_Err_NONE, .generic = generic}, flaws);
        }
    }
    trial.End("the effect calls nothing in the host");
}

Lines ToldFlaws(const FrameOutcome& outcome) {
    if (outcome.code != PF_Err_NONE || outcome.difference.empty()) return {};
    return {"the effect answers with success, and the picture is not right"};
}

constexpr Check kChecks[] = {
    {"faults.prerender-suite-refused", "Pre-render survives each suite that the host refuses.", Where::compositor,
     Each<kPre, UsualFlaws, Call::acquireSuite>},
    {"faults.prerender-suite-null", "Pre-render survives each suite that the host answers with a null pointer.",
     Where::compositor, NullSuite<kPre>},
    {"faults.prerender-handle", "Pre-render, and the render after it, survive each handle that the host refuses.",
     Where::compositor, Each<kPre, UsualFlaws, Call::newHandle>},
    {"faults.prerender-lock", "Pre-render, and the render after it, survive each handle that cannot be locked.",
     Where::compositor, Each<kPre, UsualFlaws, Call::lockHandle>},
    {"faults.prerender-layer", "If a layer cannot be checked out, pre-render returns the host's code.",
     Where::compositor, Each<kPre, PassesOnFlaws, Call::checkoutLayer>},

    {"faults.prerender-other", "Pre-render, and the render after it, survive the failure of any other callback.",
     Where::compositor, EachBut<kPre, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutLayer>},

    {"faults.smart-suite-refused", "A smart render survives each suite that the host refuses.", Where::compositor,
     Each<kSmart, UsualFlaws, Call::acquireSuite>},
    {"faults.smart-suite-null", "A smart render survives each suite that the host answers with a null pointer.",
     Where::compositor, NullSuite<kSmart>},
    {"faults.smart-handle", "A smart render survives each handle that the host refuses.", Where::compositor,
     Each<kSmart, UsualFlaws, Call::newHandle>},
    {"faults.smart-lock", "A smart render survives each handle that cannot be locked.", Where::compositor,
     Each<kSmart, UsualFlaws, Call::lockHandle>},
    {"faults.smart-parameter-out", "A smart render survives each parameter that cannot be checked out.",
     Where::compositor, Each<kSmart, UsualFlaws, Call::checkoutParam>},
    {"faults.smart-parameter-in",
     "If the first failure is that of a parameter's check-in, a smart render returns the host's code.",
     Where::compositor, Each<kSmart, PassesOnFlaws, Call::checkinParam>},
    {"faults.smart-layer", "If a layer's pixels cannot be checked out, a smart render returns the host's code.",
     Where::compositor, Each<kSmart, PassesOnFlaws, Call::checkoutLayerPixels>},
    {"faults.smart-output", "If the output cannot be checked out, a smart render returns the host's code.",
     Where::compositor, Each<kSmart, PassesOnFlaws, Call::checkoutOutput>},
    {"faults.smart-rows", "If the host stops an iteration at any row, a smart render returns the host's code.",
     Where::compositor, Each<kSmart, PassesOnFlaws, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.smart-abort", "If the host aborts at any time, a smart render returns the host's code.",
     Where::compositor, Each<kSmart, PassesOnFlaws, Call::abort>},
    {"faults.smart-format",
     "A smart render survives each question about a pixel format that the host does not answer.", Where::compositor,
     Each<kSmart, UsualFlaws, Call::getPixelFormat>},
    {"faults.smart-world", "A smart render survives each world that the host does not make.", Where::compositor,
     World<kSmart>},
    {"faults.smart-other", "A smart render survives the failure of any other callback.", Where::compositor,
     EachBut<kSmart, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutParam, Call::checkinParam,
             Call::checkoutLayerPixels, Call::checkoutOutput, Call::iterate, Call::iterateGeneric, Call::row,
             Call::abort, Call::getPixelFormat, Call::newWorld>},

    {"faults.plain-suite-refused", "A plain render survives each suite that the host refuses.", Where::both,
     Each<kPlain, UsualFlaws, Call::acquireSuite>},
    {"faults.plain-suite-null", "A plain render survives each suite that the host answers with a null pointer.",
     Where::both, NullSuite<kPlain>},
    {"faults.plain-handle", "A plain render survives each handle that the host refuses.", Where::both,
     Each<kPlain, UsualFlaws, Call::newHandle>},
    {"faults.plain-lock", "A plain render survives each handle that cannot be locked.", Where::both,
     Each<kPlain, UsualFlaws, Call::lockHandle>},
    {"faults.plain-parameter-out", "A plain render survives each parameter that cannot be checked out.",
     Where::both, Each<kPlain, UsualFlaws, Call::checkoutParam>},
    {"faults.plain-parameter-in",
     "If the first failure is that of a parameter's check-in, a plain render returns the host's code.", Where::both,
     Each<kPlain, PassesOnFlaws, Call::checkinParam>},
    {"faults.plain-rows", "If the host stops an iteration at any row, a plain render returns the host's code.",
     Where::both, Each<kPlain, PassesOnFlaws, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.plain-abort", "If the host aborts at any time, a plain render returns the host's code.", Where::both,
     Each<kPlain, PassesOnFlaws, Call::abort>},
    {"faults.plain-format",
     "A plain render survives each question about a pixel format that the host does not answer.", Where::both,
     Each<kPlain, UsualFlaws, Call::getPixelFormat>},
    {"faults.plain-world", "A plain render survives each world that the host does not make.", Where::both,
     World<kPlain>},
    {"faults.plain-other", "A plain render survives the failure of any other callback.", Where::both,
     EachBut<kPlain, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutParam, Call::checkinParam,
             Call::iterate, Call::iterateGeneric, Call::row, Call::abort, Call::getPixelFormat, Call::newWorld>},

    {"faults.suites-given-back", "Whatever fails, a render command gives back the suites that it has acquired.",
     Where::both, EachOfAll<SuitesFlaws>},
    {"faults.unlocks-its-locks", "Whatever fails, a render command unlocks only what it has locked.", Where::both,
     EachOfAll<UnlocksFlaws>},
    {"faults.locks-handles", "Whatever fails, a render command locks no null handle.", Where::both,
     EachOfAll<LocksFlaws>},
    {"faults.failure-told", "Whatever fails, the effect never reports success with a wrong picture.", Where::both,
     EachOfAll<ToldFlaws>},
};

}  // namespace

std::span<const Check> FaultsRenderChecks() {
    return kChecks;
}

}  // namespace validator
