// The host's callbacks fail while a frame is rendered. What becomes of set-up commands is in faults_setup.cpp, what
// the system refuses in faults_system.cpp.
#include <algorithm>

#include "fault_points.h"
#include "registry.h"

namespace nuvhost::validate {
namespace {

using refhost::Call;

template <Command command, Look look, Call... calls>
void Each(Context& context) {
    static constexpr Call kCalls[] = {calls...};
    TryEach(context, command, {.calls = kCalls}, look);
}

template <Command command>
void NullSuite(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite};
    TryEach(context, command, {.calls = kCalls, .code = PF_Err_NONE}, UsualLook);
}

// Hosts that iterate over pixels only are where effects make worlds of their own.
template <Command command>
void World(Context& context) {
    static constexpr Call kCalls[] = {Call::newWorld};
    TryEach(context, command, {.calls = kCalls, .generic = false}, UsualLook);
}

constexpr auto kPre = Command::preRender;
constexpr auto kSmart = Command::smartRender;
constexpr auto kPlain = Command::plainRender;

// ---- Promises of their own ------------------------------------------------------------------------------------

std::vector<Command> CommandsOf(Context& context) {
    return Scene(context).way() == Way::smart ? std::vector{kPre, kSmart, kPlain} : std::vector{kPlain};
}

template <Look look>
void EverySuite(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite};
    for (const Command command : CommandsOf(context)) {
        for (const PF_Err code : {kRefused, PF_Err{PF_Err_NONE}})
            TryEach(context, command, {.calls = kCalls, .code = code}, look);
    }
}

Lines SuitesLook(const Outcome& outcome) {
    Lines lines;
    std::ranges::copy_if(outcome.kept, std::back_inserter(lines),
                         [](const std::string& line) { return line.starts_with("suite "); });
    return lines;
}

Lines UnlockLook(const Outcome& outcome) {
    if (outcome.unlocked <= outcome.locked) return {};
    return {"handles are locked " + std::to_string(outcome.locked) + " times and unlocked " +
            std::to_string(outcome.unlocked) + " times"};
}

Lines ToldLook(const Outcome& outcome) {
    if (outcome.code != PF_Err_NONE || outcome.written) return {};
    return {"the effect answers with success and has written nothing"};
}

void UnlocksWhatItLocked(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite, Call::newHandle, Call::lockHandle};
    for (const Command command : CommandsOf(context))
        TryEach(context, command, {.calls = kCalls}, UnlockLook);
}

void TellsOfFailure(Context& context) {
    static constexpr Call kCalls[] = {Call::acquireSuite, Call::newHandle, Call::lockHandle, Call::getPixelFormat};
    const bool smart = Scene(context).way() == Way::smart;
    TryEach(context, smart ? kSmart : kPlain, {.calls = kCalls}, ToldLook);
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
    {"faults.prerender-layer", "Pre-render fails when a layer cannot be checked out.", Where::compositing,
     Each<kPre, FailsLook, Call::checkoutLayer>},

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
    {"faults.smart-parameter-in", "A smart render survives each parameter whose check-in fails.",
     Where::compositing, Each<kSmart, UsualLook, Call::checkinParam>},
    {"faults.smart-layer", "A smart render fails when a layer's pixels cannot be checked out.", Where::compositing,
     Each<kSmart, FailsLook, Call::checkoutLayerPixels>},
    {"faults.smart-output", "A smart render fails when the output cannot be checked out.", Where::compositing,
     Each<kSmart, FailsLook, Call::checkoutOutput>},
    {"faults.smart-rows", "The code that stops an iteration, at whatever row, is a smart render's code.",
     Where::compositing, Each<kSmart, PassesOnLook, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.smart-abort", "The code of an abort, whenever it comes, is a smart render's code.", Where::compositing,
     Each<kSmart, PassesOnLook, Call::abort>},
    {"faults.smart-format", "A smart render survives each pixel format that the host does not tell.",
     Where::compositing, Each<kSmart, UsualLook, Call::getPixelFormat>},
    {"faults.smart-world", "A smart render survives each world that the host does not make.", Where::compositing,
     World<kSmart>},

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
    {"faults.plain-parameter-in", "A plain render survives each parameter whose check-in fails.", Where::both,
     Each<kPlain, UsualLook, Call::checkinParam>},
    {"faults.plain-rows", "The code that stops an iteration, at whatever row, is a plain render's code.",
     Where::both, Each<kPlain, PassesOnLook, Call::iterate, Call::iterateGeneric, Call::row>},
    {"faults.plain-abort", "The code of an abort, whenever it comes, is a plain render's code.", Where::both,
     Each<kPlain, PassesOnLook, Call::abort>},
    {"faults.plain-format", "A plain render survives each pixel format that the host does not tell.", Where::both,
     Each<kPlain, UsualLook, Call::getPixelFormat>},
    {"faults.plain-world", "A plain render survives each world that the host does not make.", Where::both,
     World<kPlain>},

    {"faults.suites-given-back", "A command that is refused one suite gives back those that it got.", Where::both,
     EverySuite<SuitesLook>},
    {"faults.unlocks-its-locks", "After a failure the effect unlocks only what it has locked.", Where::both,
     UnlocksWhatItLocked},
    {"faults.failure-told",
     "A render that has written nothing for want of a suite, memory or format does not succeed.", Where::both,
     TellsOfFailure},
};

}  // namespace

std::span<const Check> FaultsChecks() {
    return kChecks;
}

}  // namespace nuvhost::validate
