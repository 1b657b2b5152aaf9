// The broken plug-in: the effect with one fault, which is chosen at run time. docs/contributing/check.md says how
// to add one.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "pf_data.h"
#include "validator/families.h"
#include "validator/signs.h"

namespace broken {

// One call of EffectMain. A hook may change it and pass it on to the effect.
struct MainCall {
    PF_Cmd cmd;
    PF_InData* inData;
    PF_OutData* outData;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};
// Passes a command to the true effect and returns its answer.
PF_Err Effect(const MainCall& command);

// One call of PluginDataEntryFunction, and what it will register.
struct RegistrationCall {
    PF_PluginDataPtr record;
    PF_PluginDataCB callback;
    SPBasicSuite* basic;
    const char *name, *matchName, *category, *entryPoint;
    std::int32_t kind, apiMajor, apiMinor, reserved;
};
// Calls the callback once, as the true effect does.
PF_Err Register(const RegistrationCall& registration);

// A fault. Where a hook is null, the effect works as usual. Hooks of render commands run on several threads.
struct Control {
    std::string_view check;                                 // the id of the check that must fail
    std::string_view fault;                                 // what it does wrong: "registers twice"
    PF_Err (*command)(MainCall& command) = nullptr;         // in place of EffectMain
    PF_Err (*registration)(RegistrationCall& r) = nullptr;  // in place of PluginDataEntryFunction
    void (*load)() = nullptr;                               // when the library is loaded, before anything else
    // The name, without extension, of another library beside the broken plug-in, if the file itself is broken.
    std::string_view file = "";
    // What a machine may lack. The check then does not apply, neither here nor on the effect itself.
    std::string_view needs = "";
    // The effect itself breaks the promise on purpose, and this is the effect without that habit. The check must
    // hold.
    bool mends = false;
};

// The table of each family: std::span<const Control> LoadingControls() and so on.
#define NUV_DECLARE(family) std::span<const Control> family##Controls();
NUV_FAMILIES(NUV_DECLARE)
#undef NUV_DECLARE

// All of them. try_controls links them as well.
std::span<const Control> AllControls();

// The environment variable that holds the id of the check whose control is wanted.
inline constexpr char kChoice[] = "NUV_BROKEN";
// The control that it names; null: no fault.
const Control* Chosen();

// The size of the frames that only the chosen control's check renders.
signs::Size OwnSize();
// Whether a command is about a layer of this size.
bool IsOfSize(const MainCall& command, signs::Size size);
inline bool IsOfOwnSize(const MainCall& command) {
    return IsOfSize(command, OwnSize());
}

// A copy of the host's records for one command, for a hook that puts functions of its own in place of the host's:
//
//     PF_Err NoSecondParameter(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* definition) {
//         return definition->uu.id == 3 ? 0 : OwnRecords::Host().inter.add_param(ref, index, definition);
//     }
//     PF_Err Hook(MainCall& command) {
//         OwnRecords own(command);
//         own.inData.inter.add_param = NoSecondParameter;
//         return Effect(command);
//     }
//
// The host may call the functions on any thread while the command runs.
class OwnRecords {
public:
    explicit OwnRecords(MainCall& command);  // points the command to the copies
    ~OwnRecords();                           // writes in_data's handles back
    OwnRecords(const OwnRecords&) = delete;
    OwnRecords& operator=(const OwnRecords&) = delete;

    // The host's own records of the command that began last and has not ended.
    static const PF_InData& Host();

    PF_InData inData;
    PF_UtilCallbacks utils;
    SPBasicSuite basic;

private:
    MainCall& command_;
    PF_InData* theirs_;
    const PF_InData* outer_;
};

}  // namespace broken
