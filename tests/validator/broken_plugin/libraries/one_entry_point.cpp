// An effect that registers itself and has no commands.
#include "entry/entry_points.h"

#if defined(_WIN32)
#define NUV_EXPORT extern "C" __declspec(dllexport)
#else
#define NUV_EXPORT extern "C" __attribute__((visibility("default")))
#endif

NUV_EXPORT PF_Err PluginDataEntryFunction(PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*,
                                          const char*, const char*) {
    return nuv::ReportPluginData(inPtr, callback);
}
