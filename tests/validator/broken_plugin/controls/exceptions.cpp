#include "control.h"

namespace broken {
namespace {

// The effect turns what the checks throw into a code. In these commands the fault throws it again.
template <PF_Cmd... cmds>
PF_Err LetsItPass(MainCall& c) {
    const PF_Err result = Effect(c);
    if (result == signs::kThrown && ((c.cmd == cmds) || ...)) throw int{signs::kThrown};
    return result;
}

constexpr Control kControls[] = {
    {.check = "exceptions.set-up",
     .fault = "lets one pass at parameter set-up",
     .command = LetsItPass<PF_Cmd_PARAMS_SETUP>},
    {.check = "exceptions.about", .fault = "lets one pass in about", .command = LetsItPass<PF_Cmd_ABOUT>},
    {.check = "exceptions.sequence",
     .fault = "lets one pass when an instance begins",
     .command = LetsItPass<PF_Cmd_SEQUENCE_SETUP>},
    {.check = "exceptions.pre-render",
     .fault = "lets one pass in pre-render",
     .command = LetsItPass<PF_Cmd_SMART_PRE_RENDER>},
    {.check = "exceptions.smart-render",
     .fault = "lets one pass in smart render",
     .command = LetsItPass<PF_Cmd_SMART_RENDER>},
    {.check = "exceptions.plain-render",
     .fault = "lets one pass in a plain render",
     .command = LetsItPass<PF_Cmd_RENDER>},
};

}  // namespace

std::span<const Control> ExceptionsControls() {
    return kControls;
}

}  // namespace broken
