// The entry points of the broken plug-in.
#include "entry/entry_points.h"
#include "control.h"
#include "entry/exception_state.h"
#include "resources/identity.h"

#if defined(_WIN32)
#define NUV_EXPORT extern "C"  // exports.def lists them
#else
#define NUV_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

using namespace broken;

[[maybe_unused]] const bool g_loaded = [] {
    if (Chosen() && Chosen()->load) Chosen()->load();
    return true;
}();

}  // namespace

NUV_EXPORT PF_Err PluginDataEntryFunction(PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite* basic,
                                          const char*, const char*) {
    RegistrationCall registration{
        inPtr,           callback, basic,           NUV_EFFECT_NAME,    NUV_MATCH_NAME,   NUV_CATEGORY,
        NUV_ENTRY_POINT, NUV_KIND, NUV_API_VERSION, NUV_API_SUBVERSION, NUV_RESERVED_INFO};
    return Chosen() && Chosen()->registration ? Chosen()->registration(registration) : Register(registration);
}

NUV_EXPORT PF_Err EffectMain(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                             PF_LayerDef* output, void* extra) {
    nuv::ExceptionState exceptions;
    MainCall command{cmd, in_data, out_data, params, output, extra};
    return Chosen() && Chosen()->command ? Chosen()->command(command) : Effect(command);
}
