// Handlers of the host's render commands. They run on the host's threads, several at the same time for different
// frames. Each returns the code for the host, or throws it as an int.
#pragma once

#include "pf_data.h"
#include "pf_smart_render.h"

namespace nuv {

// Checks out the whole input layer, announces an output of the layer's size, and gives the host a handle to the
// left and top of the layer's visible part (PreRenderData). It does all this even if the check-out fails, and
// returns the check-out's code.
PF_Err SmartPreRender(PF_InData* inData, PF_PreRenderExtra* extra);

// Renders the announced layer into the output world that the host gives. The parameters are those at
// current_time.
PF_Err SmartRender(PF_InData* inData, PF_SmartRenderExtra* extra);

// Renders the layer params[PARAM_INPUT] into `output`; without it, or without an array, an empty layer. It never
// reads the other entries of `params`: it checks the parameters out, as SmartRender does.
PF_Err PlainRender(PF_InData* inData, PF_ParamDef* params[], PF_LayerDef* output);

// The contents of the handle that pre-render leaves for the render: how far the output is shifted against the
// source layer, in pixels. The handle belongs to the host when pre-render returns, and the effect never frees it.
struct PreRenderData {
    std::int32_t offsetX;
    std::int32_t offsetY;
};
static_assert(sizeof(PreRenderData) == 8);

}  // namespace nuv
