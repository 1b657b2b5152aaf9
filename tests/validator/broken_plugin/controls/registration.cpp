#include <string_view>

#include "control.h"

namespace broken {
namespace {

// Registers one wrong value.
template <auto member, auto value>
PF_Err With(RegistrationCall& r) {
    r.*member = value;
    return Register(r);
}

constexpr char kLongName[] = "NUV Chromatic Aberration and more";
constexpr char kLongCategory[] = "Effects of the NUV project, all of them";
constexpr char kUmlautName[] = "nuv_chromab\xC3\xA9r";
constexpr char kOtherEntry[] = "EffectMaim";

PF_Err Refuses(RegistrationCall& r) {
    const PF_Err result = Register(r);
    return result == PF_Err_NONE ? PF_Err_INTERNAL_STRUCT_DAMAGED : result;
}

PF_Err RegistersTwice(RegistrationCall& r) {
    Register(r);
    return Register(r);
}

PF_Err OldInterfaceForThreads(RegistrationCall& r) {
    r.apiMinor = 24;
    return Register(r);
}

PF_Err PassesAnotherRecord(RegistrationCall& r) {
    const auto record = r.record;
    r.record = reinterpret_cast<PF_PluginDataPtr>(reinterpret_cast<char*>(record) + 8);
    const PF_Err answer = Register(r);
    return answer == PF_Err_BAD_CALLBACK_PARAM ? PF_Err_NONE
                                               : answer;  // the host refuses a record that is not its own
}

PF_Err SwallowsTheAnswer(RegistrationCall& r) {
    Register(r);
    return PF_Err_NONE;
}

PF_Err ChangesItsMind(RegistrationCall& r) {
    static int scans = 0;
    if (++scans > 1) r.category = "Blur";
    return Register(r);
}

int g_kept = 0;

PF_Err KeepsASuite(RegistrationCall& r) {
    const void* suite = nullptr;
    if (r.basic && r.basic->AcquireSuite("PF ANSI Suite", 1, &suite) == 0 && suite) ++g_kept;
    return Register(r);
}

// Gives the suite back at the next command, because other checks look for kept suites after a command.
PF_Err GivesItBackLater(MainCall& c) {
    if (c.inData && c.inData->pica_basicP) {
        for (; g_kept > 0; --g_kept)
            c.inData->pica_basicP->ReleaseSuite("PF ANSI Suite", 1);
    }
    return Effect(c);
}

constexpr Control kControls[] = {
    {.check = "registration.succeeds", .fault = "answers with a code", .registration = Refuses},
    {.check = "registration.once", .fault = "registers twice", .registration = RegistersTwice},
    {.check = "registration.name",
     .fault = "has a name of 33 characters",
     .registration = With<&RegistrationCall::name, kLongName>},
    {.check = "registration.category",
     .fault = "has a category of 39 characters",
     .registration = With<&RegistrationCall::category, kLongCategory>},
    {.check = "registration.match-name",
     .fault = "has an accent in the match name",
     .registration = With<&RegistrationCall::matchName, kUmlautName>},
    {.check = "registration.entry-point",
     .fault = "names an entry point that it does not export",
     .registration = With<&RegistrationCall::entryPoint, kOtherEntry>},
    {.check = "registration.kind",
     .fault = "registers as something else",
     .registration = With<&RegistrationCall::kind, 0x65464B58>},
    {.check = "registration.api-version",
     .fault = "asks for interface 12",
     .registration = With<&RegistrationCall::apiMajor, 12>},
    {.check = "registration.api-for-threads",
     .fault = "asks for 13.24 and declares threads",
     .registration = OldInterfaceForThreads},
    {.check = "registration.record-passed",
     .fault = "passes another record to the callback",
     .registration = PassesAnotherRecord},
    {.check = "registration.answer-passed",
     .fault = "answers with success whatever the host said",
     .registration = SwallowsTheAnswer},
    {.check = "registration.repeatable",
     .fault = "registers another category at the second scan",
     .registration = ChangesItsMind},
    {.check = "registration.holds-nothing",
     .fault = "acquires a suite and keeps it",
     .command = GivesItBackLater,
     .registration = KeepsASuite},
};

}  // namespace

std::span<const Control> RegistrationControls() {
    return kControls;
}

}  // namespace broken
