// The driver: one frame from the source layer to the output world.
#pragma once

#include "engine/kernels/render_data.h"
#include "pf_data.h"

namespace nuv {

// Renders `job`, whose source world, offsets, centre, mode, scaling, amount and show the caller has set, into
// `output`, which is written by the last pass alone and keeps what it holds on any earlier exit. Command thread;
// one at a time in the process (the caller holds g_renderMutex).
//
// Returns PF_Err_NONE, the host's abort code, what the host's iteration returned, PF_Err_OUT_OF_MEMORY when the
// host gives no buffer, or PF_Err_BAD_CALLBACK_PARAM when there is no output. A world of a format that the engine
// does not know is not converted, which is no error. Throws the int PF_Err_BAD_CALLBACK_PARAM without a basic
// suite or an iteration suite, and std::system_error when a worker thread cannot be started. All that was
// acquired is given back on every path but one, which RenderAberration's source names.
PF_Err RenderAberration(PF_InData* inData, RenderData& job, PF_EffectWorld* output);

}  // namespace nuv
