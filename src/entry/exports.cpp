// The library's two exported functions, under the names that the host looks up.
#include <type_traits>

#include "entry/entry_points.h"
#include "entry/exception_state.h"

#if defined(_WIN32)
#define NUV_EXPORT extern "C"  // exports.def names the exported functions
#else
#define NUV_EXPORT extern "C" __attribute__((visibility("default")))
#endif

NUV_EXPORT PF_Err PluginDataEntryFunction(PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*,
                                          const char*, const char*) {
    return nuv::ReportPluginData(inPtr, callback);
}

NUV_EXPORT PF_Err EffectMain(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                             PF_LayerDef* output, void* extra) {
    nuv::ExceptionState exceptions;
    return nuv::Dispatch(cmd, in_data, out_data, params, output, extra);
}

static_assert(std::is_same_v<decltype(&PluginDataEntryFunction), PluginDataEntryFunctionType>);
static_assert(std::is_same_v<decltype(&EffectMain), EffectMainType>);
