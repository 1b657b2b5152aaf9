// What the library's two exported functions do.
#pragma once

#include "pf_data.h"

namespace nuv {

// Reports the effect's identity: calls `callback` exactly once, and returns its result.
PF_Err ReportPluginData(PF_PluginDataPtr inPtr, PF_PluginDataCB callback);

// Passes one command of the host to its handler and returns the handler's code. A command without a handler returns
// PF_Err_NONE. The function is re-entrant, and any thread may call it. No exception leaves it: a thrown int becomes
// the result, and any other exception becomes PF_Err_INTERNAL_STRUCT_DAMAGED.
PF_Err Dispatch(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) noexcept;

}  // namespace nuv
