#include "reference_host/calls.h"

#include <array>

namespace refhost {
namespace {

constexpr std::array<CallRule, kCallKinds> kRules{{
    {"AcquireSuite"},
    {"ReleaseSuite"},
    {"host_new_handle"},
    {"host_lock_handle"},
    {"host_unlock_handle"},
    {"host_dispose_handle"},
    {"host_get_handle_size"},
    {"host_resize_handle"},
    {"checkout_param"},
    {"checkin_param"},
    {"add_param", PF_Cmd_PARAMS_SETUP},
    {"abort", kAnyCommand, true},
    {"checkout_layer", PF_Cmd_SMART_PRE_RENDER},
    {"checkout_layer_pixels", PF_Cmd_SMART_RENDER},
    {"checkin_layer_pixels", PF_Cmd_SMART_RENDER},
    {"checkout_output", PF_Cmd_SMART_RENDER},
    {"new_world"},
    {"dispose_world"},
    {"GetPixelFormat"},
    {"ClearSupportedPixelFormats", PF_Cmd_GLOBAL_SETUP},
    {"AddSupportedPixelFormat", PF_Cmd_GLOBAL_SETUP},
    {"iterate"},
    {"iterate_generic"},
    {"row", kAnyCommand, true},
    {"strcpy", kAnyCommand, true},
    {"sprintf", kAnyCommand, true},
}};
static_assert(kRules.back().name == "sprintf");

struct NamedCommand {
    PF_Cmd cmd;
    const char* name;
};

constexpr NamedCommand kCommands[] = {
    {kScan, "scan"},
    {kDeletePreRenderData, "deletion of the pre-render data"},
    {PF_Cmd_ABOUT, "about"},
    {PF_Cmd_GLOBAL_SETUP, "global set-up"},
    {PF_Cmd_GLOBAL_SETDOWN, "global set-down"},
    {PF_Cmd_PARAMS_SETUP, "parameter set-up"},
    {PF_Cmd_SEQUENCE_SETUP, "sequence set-up"},
    {PF_Cmd_SEQUENCE_RESETUP, "sequence re-set-up"},
    {PF_Cmd_SEQUENCE_FLATTEN, "sequence flatten"},
    {PF_Cmd_SEQUENCE_SETDOWN, "sequence set-down"},
    {PF_Cmd_RENDER, "render"},
    {PF_Cmd_SMART_PRE_RENDER, "smart pre-render"},
    {PF_Cmd_SMART_RENDER, "smart render"},
};

}  // namespace

const CallRule& RuleOf(Call call) {
    return kRules[static_cast<std::size_t>(call)];
}

std::string_view Name(Call call) {
    return RuleOf(call).name;
}

std::string CommandName(PF_Cmd cmd) {
    for (const auto& command : kCommands) {
        if (command.cmd == cmd) return command.name;
    }
    return "command " + std::to_string(cmd);
}

}  // namespace refhost
