#include "reference_host/internal/command_names.h"

namespace refhost {
namespace {

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

std::string CommandName(PF_Cmd cmd) {
    for (const auto& command : kCommands) {
        if (command.cmd == cmd) return command.name;
    }
    return "command " + std::to_string(cmd);
}

}  // namespace refhost
