// Faults in the property list, which only Windows has.
#include "control.h"

namespace broken {
namespace {

PF_Err RegistersAnotherName(RegistrationCall& r) {
    r.name = "NUV Aberration";
    return Register(r);
}

// The file exports this entry point, but the property list names another one.
PF_Err RegistersAnotherEntryPoint(RegistrationCall& r) {
    r.entryPoint = "PluginDataEntryFunction";
    return Register(r);
}

PF_Err ReportsAnotherVersion(MainCall& command) {
    const PF_Err result = Effect(command);
    if (command.cmd == PF_Cmd_GLOBAL_SETUP) command.outData->my_version += 1;
    return result;
}

constexpr Control kControls[] = {
    {.check = "property-list.once", .fault = "has two property lists", .file = "broken_with_two_lists"},
    {.check = "property-list.well-formed",
     .fault = "lacks a property that it counts",
     .file = "broken_with_short_list"},
    {.check = "property-list.registration",
     .fault = "registers another name",
     .registration = RegistersAnotherName},
    {.check = "property-list.entry-point",
     .fault = "registers another entry point",
     .registration = RegistersAnotherEntryPoint},
    {.check = "property-list.global-setup",
     .fault = "reports another version at global set-up",
     .command = ReportsAnotherVersion},
};

}  // namespace

std::span<const Control> PropertyListControls() {
    return kControls;
}

}  // namespace broken
