// The host's callbacks fail while a frame is rendered. What becomes of set-up commands is in faults_setup.cpp, what
// the system refuses in faults_system.cpp.
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

template <RenderCommand command, Look look, Call... calls>
void Each(Context& context) {
    static constexpr Call kCalls[] = {calls...};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls}, look);
    trial.End(kNoSuchCall);
}

template <RenderCommand command, Call... others>
void EachBut(Context& context) {
    std::vector<Call> calls;
    std::ranges::copy_if(kEveryCall, std::back_inserter(calls),
                         [](Call call) { return (... && (call != others)); });
    Trial trial(context);
    TryEach(trial, command, {.calls = calls}, UsualLook);
    trial.End(kNoSuchCall);
}

template <RenderCommand command>
void NullSuite(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls, .code = PF_Err_NONE}, UsualLook);
    trial.End(kNoSuchCall);
}

// Hosts that iterate over pixels only are where effects make worlds of their own.
template <RenderCommand command>
void World(Context& context) {
    static constexpr Call kCalls[] = {Call::newWorld};
    Trial trial(context);
    TryEach(trial, command, {.calls = kCalls, .generic = false}, UsualLook);
    trial.End(kNoSuchCall);
}

// ---- Promises of their own ------------------------------------------------------------------------------------

// Every callback of every command, in hosts of both ways to iterate.
template <Look look>
void EachOfAll(Context& context) {
    static constexpr Call kSuites[] = {Call::acquireSuite};
    Trial trial(context);
    for (const RenderCommand command : CommandsOf(context)) {
        for (const bool generic : {true, false}) {
            TryEach(trial, command, {.calls = kEveryCall, .generic = generic}, look);
            TryEach(trial, command, {.calls = kSuites, .code = PF_Err_NONE, .generic = generic}, look);
        }
    }
    trial.End("the effect calls nothing in the host");
}

Lines ToldLook(const FrameOutcome& outcome) {
    if (outcome.code != PF_Err_NONE || outcome.difference.empty()) return {};
    return {"the effect answers with success, and the picture is not right"};
}

constexpr Check kChecks[] = {
    {"faults.prerender-suite-refused", "Pre-render survives each suite that the host refuses.", Where::compositing,
     Each<kPre, UsualLook, Call::acquireSuite>},
    {"faults.prerender-suite-null", "Pre-render survives each suite that the host answers with a null pointer.",
     Where::compositing, NullSuite<kPre>},
    {"faults.prerender-handle", "Pre-render, and the render after it, survive each handle that the host refuses.",
     Where::compositing, Each<kPre, UsualLook, Call::newHandle>},
    {"faults.prerender-lock", "Pre-render, and the render after it, survive each handle that cannot be locked.",
     Where::compositing, Each<kPre, UsualLook, Call::lockHandle>},
    {"faults.prerender-layer", "The code of a layer that cannot be checked out is pre-render's code.",
     Where::compositing, Each<kPre, PassesOnLook, Call::checkoutLayer>},

    {"faults.prerender-other", "Pre-render, and the render after it, survive the failure of any other callback.",
     Where::compositing, EachBut<kPre, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutLayer>},

    {"faults.smart-suite-refused", "A smart render survives each suite that the host refuses.", Where::compositing,
     Each<kSmart, UsualLook, Call::acquireSuite>},
    {"faults.smart-suite-null", "A smart render survives each suite that the host answers with a null pointer.",
     Where::compositing, NullSuite<kSmart>},
    {"faults.smart-handle", "A smart render survives each handle that the host refuses.", Where::compositing,
     Each<kSmart, UsualLook, Call::newHandle>},
    {"faults.smart-lock", "A smart render survives each handle that cannot be locked.", Where::compositing,
     Each<kSmart, UsualLook, Call::lockHandle>},
    {"faults.smart-parameter-out", "A smart render survives each parameter that cannot be checked out.",
     Where::compositing, Each<kSmart, UsualLook, Call::checkoutParam>},
    {"faults.smart-parameter-in",
     "The code of a parameter's check-in is a smart render's code, if nothing has failed before.",
     Where::compositing, Each<kSmart, PassesOnLook, Call::checkinParam>},
    {"faults.smart-layer", "The code of a layer whose pixels cannot be checked out is a smart render's code.",
     Where::compositing, Each<kSmart, PassesOnLook, Call::checkoutLayerPixels>},
    {"faults.smart-output", "The code of an output that cannot be checked out is a smart render's code.",
     Where::compositing, Each<kSmart, PassesOnLook, Call::checkoutOutput>},
    {"faults.smart-rows", "The code that stops an iteration, at whatever row, is a smart render's code.",
     Where::compositing, Each<kSmart, PassesOnLook, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.smart-abort", "The code of an abort, whenever it comes, is a smart render's code.", Where::compositing,
     Each<kSmart, PassesOnLook, Call::abort>},
    {"faults.smart-format", "A smart render survives each pixel format that the host does not tell.",
     Where::compositing, Each<kSmart, UsualLook, Call::getPixelFormat>},
    {"faults.smart-world", "A smart render survives each world that the host does not make.", Where::compositing,
     World<kSmart>},
    {"faults.smart-other", "A smart render survives the failure of any other callback.", Where::compositing,
     EachBut<kSmart, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutParam, Call::checkinParam,
             Call::checkoutLayerPixels, Call::checkoutOutput, Call::iterate, Call::iterateGeneric, Call::row,
             Call::abort, Call::getPixelFormat, Call::newWorld>},

    {"faults.plain-suite-refused", "A plain render survives each suite that the host refuses.", Where::both,
     Each<kPlain, UsualLook, Call::acquireSuite>},
    {"faults.plain-suite-null", "A plain render survives each suite that the host answers with a null pointer.",
     Where::both, NullSuite<kPlain>},
    {"faults.plain-handle", "A plain render survives each handle that the host refuses.", Where::both,
     Each<kPlain, UsualLook, Call::newHandle>},
    {"faults.plain-lock", "A plain render survives each handle that cannot be locked.", Where::both,
     Each<kPlain, UsualLook, Call::lockHandle>},
    {"faults.plain-parameter-out", "A plain render survives each parameter that cannot be checked out.",
     Where::both, Each<kPlain, UsualLook, Call::checkoutParam>},
    {"faults.plain-parameter-in",
     "The code of a parameter's check-in is a plain render's code, if nothing has failed before.", Where::both,
     Each<kPlain, PassesOnLook, Call::checkinParam>},
    {"faults.plain-rows", "The code that stops an iteration, at whatever row, is a plain render's code.",
     Where::both, Each<kPlain, PassesOnLook, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.plain-abort", "The code of an abort, whenever it comes, is a plain render's code.", Where::both,
     Each<kPlain, PassesOnLook, Call::abort>},
    {"faults.plain-format", "A plain render survives each pixel format that the host does not tell.", Where::both,
     Each<kPlain, UsualLook, Call::getPixelFormat>},
    {"faults.plain-world", "A plain render survives each world that the host does not make.", Where::both,
     World<kPlain>},
    {"faults.plain-other", "A plain render survives the failure of any other callback.", Where::both,
     EachBut<kPlain, Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::checkoutParam, Call::checkinParam,
             Call::iterate, Call::iterateGeneric, Call::row, Call::abort, Call::getPixelFormat, Call::newWorld>},

    {"faults.suites-given-back", "Whatever fails, a render command gives back the suites that it got.", Where::both,
     EachOfAll<SuitesLook>},
    {"faults.unlocks-its-locks", "Whatever fails, a render command unlocks only what it has locked.", Where::both,
     EachOfAll<UnlocksLook>},
    {"faults.failure-told", "Whatever fails, the effect does not answer with success and a wrong picture.",
     Where::both, EachOfAll<ToldLook>},
};

}  // namespace

std::span<const Check> FaultsRenderChecks() {
    return kChecks;
}

}  // namespace validator
