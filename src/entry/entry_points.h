// What the library's two exported functions do.
#pragma once

#include "pf_data.h"

namespace nuv {

// Reports the effect's identity by exactly one call of `callback`, and returns its result.
PF_Err ReportPluginData(PF_PluginDataPtr inPtr, PF_PluginDataCB callback);

// Routes one host command to its handler; commands without a handler are answered with PF_Err_NONE. Re-entrant,
// callable from any thread. No exception leaves it: a thrown int becomes the result, anything else
// PF_Err_INTERNAL_STRUCT_DAMAGED.
PF_Err Dispatch(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) noexcept;

}  // namespace nuv
