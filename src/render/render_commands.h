// Handlers of the host's render commands. They run on host threads, several at once for different frames, and
// return the code for the host; a thrown int is a code as well.
#pragma once

#include "pf_data.h"
#include "pf_smart_render.h"

namespace nuv {

// Asks for the whole input layer, announces an output of the layer's own size, and leaves the host a handle with
// the left and top of what there is to see (PreRenderData). Returns the code of the layer's check-out, having
// answered all the same.
PF_Err SmartPreRender(PF_InData* inData, PF_PreRenderExtra* extra);

// Renders the announced layer into the output world that the host hands out, at current_time's parameters.
PF_Err SmartRender(PF_InData* inData, PF_SmartRenderExtra* extra);

// Renders params[PARAM_INPUT] into `output`. Entries 1 and up of `params` are never read: the values are checked
// out, as in SmartRender.
PF_Err PlainRender(PF_InData* inData, PF_ParamDef* params[], PF_LayerDef* output);

// Contents of the handle that pre-render leaves for the render: the shift of the output against the source
// layer, in pixels. Nothing of ours frees the handle; it is the host's once pre-render returns.
struct PreRenderData {
    std::int32_t offsetX;
    std::int32_t offsetY;
};
static_assert(sizeof(PreRenderData) == 8);

}  // namespace nuv
