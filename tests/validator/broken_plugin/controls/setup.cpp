#include "newer_host.h"

namespace broken {
namespace {

constexpr PF_Cmd kGlobal = PF_Cmd_GLOBAL_SETUP;
constexpr PF_Cmd kParams = PF_Cmd_PARAMS_SETUP;

void ForgetVersion(MainCall& c) {
    c.outData->my_version = 0;
}

void ChangeTheSecondTime(MainCall& c) {
    static int times = 0;
    if (++times == 2) c.outData->out_flags &= ~static_cast<std::int32_t>(PF_OutFlag_USE_OUTPUT_EXTENT);
}

void DeclareFloatWithoutSmartRender(MainCall& c) {
    if (InEditor(c)) return;
    c.outData->out_flags2 &= ~static_cast<std::int32_t>(PF_OutFlag2_SUPPORTS_SMART_RENDER);
}

void DeclareFloatWithoutDeep(MainCall& c) {
    if (InEditor(c)) return;
    c.outData->out_flags &= ~static_cast<std::int32_t>(PF_OutFlag_DEEP_COLOR_AWARE);
}

// The details of the interface do not matter here.
PF_Err RegistersItsInterface(MainCall& c) {
    const PF_Err result = Effect(c);
    if (c.cmd == kParams && c.inData != nullptr && c.inData->inter.register_ui != nullptr) {
        c.inData->inter.register_ui(c.inData->effect_ref, nullptr);
    }
    return result;
}

PF_Err RegistersWithoutDeclaring(MainCall& c) {
    const PF_Err result = InNewerHost(c) ? RegistersItsInterface(c) : Effect(c);
    if (InNewerHost(c, kGlobal)) c.outData->out_flags &= ~static_cast<std::int32_t>(PF_OutFlag_CUSTOM_UI);
    return result;
}

void LeaveMessage(MainCall& c) {
    c.outData->return_msg[0] = '!';
}

void ChangeInData(MainCall& c) {
    c.inData->num_params = 99;
}

// Keeps the suite until global set-down.
PF_Err KeepsASuite(MainCall& c) {
    const PF_Err result = Effect(c);
    if (!InNewerHost(c) || c.inData->pica_basicP == nullptr) return result;
    const void* suite = nullptr;
    if (c.cmd == kParams) c.inData->pica_basicP->AcquireSuite("PF Handle Suite", 2, &suite);
    if (c.cmd == PF_Cmd_GLOBAL_SETDOWN) c.inData->pica_basicP->ReleaseSuite("PF Handle Suite", 2);
    return result;
}

PF_Err KeepsAHandle(MainCall& c) {
    static PF_Handle kept = nullptr;
    const PF_Err result = Effect(c);
    if (InNewerHost(c, kParams)) kept = c.inData->utils->host_new_handle(64);
    if (InNewerHost(c, PF_Cmd_GLOBAL_SETDOWN) && kept != nullptr) {
        c.inData->utils->host_dispose_handle(kept);
        kept = nullptr;
    }
    return result;
}

void UnlockWhatIsNotLocked(MainCall& c) {
    const PF_Handle handle = c.inData->utils->host_new_handle(64);
    c.inData->utils->host_unlock_handle(handle);
    c.inData->utils->host_dispose_handle(handle);
}

void MakeGlobalData(MainCall& c) {
    c.outData->global_data = c.inData->utils->host_new_handle(16);
}

// The global data stay locked from global set-up until parameter set-up or global set-down.
PF_Err LocksItsGlobalData(MainCall& c) {
    const PF_Err result = Effect(c);
    if (!InNewerHost(c)) return result;
    const PF_UtilCallbacks& utils = *c.inData->utils;
    const PF_Handle data = c.inData->global_data;
    if (c.cmd == kGlobal) {
        MakeGlobalData(c);
        *static_cast<bool*>(utils.host_lock_handle(c.outData->global_data)) = true;
    }
    if ((c.cmd == kParams || c.cmd == PF_Cmd_GLOBAL_SETDOWN) && data != nullptr) {
        bool& locked = *static_cast<bool*>(*data);
        if (locked) utils.host_unlock_handle(data);
        locked = false;
    }
    if (c.cmd == PF_Cmd_GLOBAL_SETDOWN && data != nullptr) {
        utils.host_dispose_handle(data);
        c.inData->global_data = nullptr;
    }
    return result;
}

const PF_PixelFormatSuite1* FormatSuite(const MainCall& c) {
    const void* suite = nullptr;
    if (c.inData->pica_basicP) c.inData->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
    return static_cast<const PF_PixelFormatSuite1*>(suite);
}

template <PF_PixelFormat format, bool inEditor>
void AddFormat(MainCall& c) {
    if (InEditor(c) != inEditor) return;
    if (const auto* const formats = FormatSuite(c)) {
        formats->AddSupportedPixelFormat(c.inData->effect_ref, format);
        c.inData->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
    }
}

void ClearTheFormats(MainCall& c) {
    if (!InEditor(c)) return;
    if (const auto* const formats = FormatSuite(c)) {
        formats->ClearSupportedPixelFormats(c.inData->effect_ref);
        c.inData->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
    }
}

constexpr Control kControls[] = {
    {.check = "setup.global-succeeds", .fault = "refuses global set-up", .command = Refuses<kGlobal>},
    {.check = "setup.params-succeed", .fault = "refuses parameter set-up", .command = Refuses<kParams>},
    {.check = "setup.version", .fault = "reports version 0", .command = After<kGlobal, ForgetVersion>},
    {.check = "setup.global-repeatable",
     .fault = "has another flag the second time",
     .command = After<kGlobal, ChangeTheSecondTime>},
    {.check = "setup.float-needs-smart-render",
     .fault = "declares float without smart render",
     .command = After<kGlobal, DeclareFloatWithoutSmartRender>},
    {.check = "setup.float-needs-deep",
     .fault = "declares float without 16 bits",
     .command = After<kGlobal, DeclareFloatWithoutDeep>},
    {.check = "setup.custom-ui-used",
     .fault = "registers the interface that it declares",
     .command = RegistersItsInterface,
     .mends = true},
    {.check = "setup.custom-ui-declared",
     .fault = "registers an interface that it does not declare",
     .command = RegistersWithoutDeclaring},
    {.check = "setup.params-update",
     .fault = "asks for updates of the controls and refuses them",
     .command = Refuses<PF_Cmd_UPDATE_PARAMS_UI>},
    {.check = "setup.no-message", .fault = "leaves a message", .command = After<kParams, LeaveMessage>},
    {.check = "setup.own-fields", .fault = "writes a width", .command = After<kParams, WriteAWidth>},
    {.check = "setup.in-data", .fault = "changes a number of the host's", .command = After<kParams, ChangeInData>},
    {.check = "setup.suites-released", .fault = "keeps a suite", .command = KeepsASuite},
    {.check = "setup.handles-freed", .fault = "keeps a handle", .command = KeepsAHandle},
    {.check = "setup.callbacks",
     .fault = "unlocks a handle that is not locked",
     .command = After<kParams, UnlockWhatIsNotLocked>},
    {.check = "setup.global-data", .fault = "leaves its global data locked", .command = LocksItsGlobalData},
    {.check = "setup.global-setdown",
     .fault = "refuses global set-down",
     .command = Refuses<PF_Cmd_GLOBAL_SETDOWN>},
    {.check = "setup.global-setdown-frees",
     .fault = "has global data and keeps them",
     .command = After<kGlobal, MakeGlobalData>},
    {.check = "setup.formats-cleared",
     .fault = "clears the formats again at the end",
     .command = After<kGlobal, ClearTheFormats>},
    {.check = "setup.formats-known",
     .fault = "declares a format that there is not",
     .command = After<kGlobal, AddFormat<0x21212121, true>>},
    {.check = "setup.formats-once",
     .fault = "declares its format twice",
     .command = After<kGlobal, AddFormat<kFormatBgra8, true>>},
    {.check = "setup.formats-in-editor",
     .fault = "declares a format in the compositing host too",
     .command = After<kGlobal, AddFormat<kFormatArgb8, false>>},
};

}  // namespace

std::span<const Control> SetupControls() {
    return kControls;
}

}  // namespace broken
