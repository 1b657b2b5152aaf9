#include <windows.h>

#include "control.h"

namespace broken {
namespace {

// The effect turns what the checks throw into a code. In this command the fault throws as other compilers do.
template <PF_Cmd cmd>
PF_Err LetsItPass(MainCall& c) {
    const PF_Err result = Effect(c);
    constexpr DWORD kThrow = 0xE06D7363;
    if (result == signs::kThrownForeign && c.cmd == cmd)
        RaiseException(kThrow, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    return result;
}

constexpr Control kControls[] = {
    {.check = "foreign-exceptions.set-up",
     .fault = "lets one pass at parameter set-up",
     .command = LetsItPass<PF_Cmd_PARAMS_SETUP>},
    {.check = "foreign-exceptions.about", .fault = "lets one pass in about", .command = LetsItPass<PF_Cmd_ABOUT>},
    {.check = "foreign-exceptions.sequence",
     .fault = "lets one pass when an instance begins",
     .command = LetsItPass<PF_Cmd_SEQUENCE_SETUP>},
    {.check = "foreign-exceptions.pre-render",
     .fault = "lets one pass in pre-render",
     .command = LetsItPass<PF_Cmd_SMART_PRE_RENDER>},
    {.check = "foreign-exceptions.smart-render",
     .fault = "lets one pass in smart render",
     .command = LetsItPass<PF_Cmd_SMART_RENDER>},
    {.check = "foreign-exceptions.plain-render",
     .fault = "lets one pass in a plain render",
     .command = LetsItPass<PF_Cmd_RENDER>},
};

}  // namespace

std::span<const Control> ForeignExceptionsControls() {
    return kControls;
}

}  // namespace broken
