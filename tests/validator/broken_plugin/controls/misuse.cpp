#include <atomic>
#include <cstdlib>
#include <utility>

#include "newer_host.h"
#include "pf_smart_render.h"

namespace broken {
namespace {

PF_Err KnowsItsCommandsOnly(MainCall& c) {
    return c.cmd >= signs::kUnknownCommands ? PF_Err_BAD_CALLBACK_PARAM : Effect(c);
}

PF_Err WritesForAnyCommand(MainCall& c) {
    if (c.cmd >= signs::kUnknownCommands && c.outData != nullptr) c.outData->width = 1;
    return Effect(c);
}

PF_Err RefusesNegativeCommands(MainCall& c) {
    return c.cmd < 0 ? PF_Err_BAD_CALLBACK_PARAM : Effect(c);
}

bool InStrangeHost(const MainCall& c, PF_Cmd cmd) {
    return c.cmd == cmd && c.inData != nullptr && c.inData->appl_id == signs::kStrangeHost;
}

PF_Err RefusesStrangers(MainCall& c) {
    return InStrangeHost(c, PF_Cmd_GLOBAL_SETUP) ? PF_Err_BAD_CALLBACK_PARAM : Effect(c);
}

// Adds no parameter, but reports no error.
PF_Err OffersStrangersNothing(MainCall& c) {
    return InStrangeHost(c, PF_Cmd_PARAMS_SETUP) ? PF_Err_NONE : Effect(c);
}

PF_Err WritesItsAnswerAnyhow(MainCall& c) {
    if (c.outData == nullptr && c.cmd == PF_Cmd_GLOBAL_SETDOWN) std::abort();
    return Effect(c);
}

PF_Err NeedsSuites(MainCall& c) {
    const bool none = c.inData != nullptr && c.inData->pica_basicP == nullptr;
    return none && c.cmd == PF_Cmd_SEQUENCE_SETUP ? PF_Err_BAD_CALLBACK_PARAM : Effect(c);
}

bool IsSmart(const MainCall& c) {
    return c.cmd == PF_Cmd_SMART_PRE_RENDER || c.cmd == PF_Cmd_SMART_RENDER;
}

PF_Err AcceptsNoRecord(MainCall& c) {
    return IsSmart(c) && c.extra == nullptr ? PF_Err_NONE : Effect(c);
}

PF_Err LooksIntoEmptyRecords(MainCall& c) {
    if (c.cmd == PF_Cmd_SMART_RENDER && c.extra != nullptr) {
        if (static_cast<PF_SmartRenderExtra*>(c.extra)->cb == nullptr) std::abort();
    }
    return Effect(c);
}

PF_Err AcceptsNoParams(MainCall& c) {
    return c.cmd == PF_Cmd_RENDER && c.params == nullptr ? PF_Err_NONE : Effect(c);
}

// Other checks leave parts of a frame out, too, but in frames of another size.
bool IsOfOwnSize(const PF_LayerDef* world) {
    return world != nullptr && world->width == OwnSize().width && world->height == OwnSize().height;
}
const PF_LayerDef* InputOf(const MainCall& c) {
    return c.cmd == PF_Cmd_RENDER && c.params != nullptr && c.params[0] != nullptr ? &c.params[0]->u.ld : nullptr;
}

PF_Err NeedsAnInput(MainCall& c) {
    if (InputOf(c) != nullptr && InputOf(c)->data == nullptr && IsOfOwnSize(c.output)) std::abort();
    return Effect(c);
}

PF_Err NeedsAnOutput(MainCall& c) {
    if (IsOfOwnSize(InputOf(c)) && c.output == nullptr) std::abort();
    return Effect(c);
}

PF_Err NeedsGlobalSetup(MainCall& c) {
    static bool seen = false;
    seen = seen || c.cmd == PF_Cmd_GLOBAL_SETUP;
    if (!seen && c.cmd == PF_Cmd_SEQUENCE_SETUP) std::abort();
    return Effect(c);
}

// Counts only sessions with one instance that renders nothing, because other checks begin a new session after a
// refusal.
PF_Err IsSetUpTwiceAtMost(MainCall& c) {
    static int ends = 0, instances = 0;
    static bool rendered = false;
    if (c.inData == nullptr || InNewerHost(c)) return Effect(c);
    rendered = rendered || c.cmd == PF_Cmd_RENDER || c.cmd == PF_Cmd_SMART_PRE_RENDER;
    if (c.cmd == PF_Cmd_SEQUENCE_SETUP && ends >= signs::kSessions - 1 && !rendered)
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    instances += c.cmd == PF_Cmd_SEQUENCE_SETUP;
    if (c.cmd == PF_Cmd_GLOBAL_SETDOWN) ends += std::exchange(instances, 0) == 1;
    return Effect(c);
}

PF_Err EndsOnce(MainCall& c) {
    static bool ended = false;
    const bool again = ended && c.cmd == PF_Cmd_GLOBAL_SETDOWN;
    ended = c.cmd == PF_Cmd_GLOBAL_SETDOWN;
    return again ? PF_Err_INTERNAL_STRUCT_DAMAGED : Effect(c);
}

PF_Err IsBusy(MainCall& c) {
    static std::atomic<bool> busy{false};
    if (c.cmd == PF_Cmd_ABOUT && busy) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    if (c.cmd != PF_Cmd_PARAMS_SETUP) return Effect(c);
    busy = true;
    const PF_Err result = Effect(c);
    busy = false;
    return result;
}

constexpr Control kControls[] = {
    {.check = "misuse.unknown-commands", .fault = "refuses what it does not know", .command = KnowsItsCommandsOnly},
    {.check = "misuse.unknown-untouched", .fault = "writes before it looks", .command = WritesForAnyCommand},
    {.check = "misuse.negative-commands", .fault = "refuses negative ones", .command = RefusesNegativeCommands},
    {.check = "misuse.unknown-host", .fault = "refuses an unknown host", .command = RefusesStrangers},
    {.check = "misuse.unknown-host-params",
     .fault = "has no parameters in an unknown host",
     .command = OffersStrangersNothing},
    {.check = "misuse.no-out-data", .fault = "writes into a null record", .command = WritesItsAnswerAnyhow},
    {.check = "misuse.no-suites", .fault = "needs suites for its instances", .command = NeedsSuites},
    {.check = "misuse.no-extra", .fault = "succeeds without a record", .command = AcceptsNoRecord},
    {.check = "misuse.empty-extra", .fault = "looks into an empty record", .command = LooksIntoEmptyRecords},
    {.check = "misuse.no-params", .fault = "succeeds without parameters", .command = AcceptsNoParams},
    {.check = "misuse.no-input", .fault = "falls over a layer without pixels", .command = NeedsAnInput},
    {.check = "misuse.no-output", .fault = "falls over a null output", .command = NeedsAnOutput},
    {.check = "misuse.before-global-setup",
     .fault = "falls over an instance before global set-up",
     .command = NeedsGlobalSetup},
    {.check = "misuse.set-up-again", .fault = "works for two sessions only", .command = IsSetUpTwiceAtMost},
    {.check = "misuse.set-down-twice", .fault = "refuses a second set-down", .command = EndsOnce},
    {.check = "misuse.nested-command", .fault = "refuses while it is busy", .command = IsBusy},
};

}  // namespace

std::span<const Control> MisuseControls() {
    return kControls;
}

}  // namespace broken
