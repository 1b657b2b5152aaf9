// The driver: one frame from the source layer to the output world.
#pragma once

#include "engine/kernels/render_data.h"
#include "pf_data.h"

namespace nuv {

// Renders `sourceWorld` into `output`. The caller has set the offsets, centre, mode, scaling, amount and show in
// `job`; the driver sets the rest of it. If `sourceWorld` is null or has no memory, `job.input` stays empty, as the
// caller made it, and all pixels lie outside the source. Only the last pass writes `output`: an earlier exit leaves
// it as it was. The driver runs on the command thread. The caller holds g_renderMutex, so only one frame is
// rendered at a time in the whole process.
//
// Returns PF_Err_NONE, the host's abort code, what the host's iteration returned, PF_Err_OUT_OF_MEMORY when the
// host gives no buffer, or PF_Err_BAD_CALLBACK_PARAM when there is no output. A world whose format the engine does
// not know is not converted; that is no error. Throws the int PF_Err_BAD_CALLBACK_PARAM when the basic suite or the
// iteration suite is missing, and std::system_error when a worker thread cannot be started. Every exit gives back
// what the driver acquired, except the early exit that a comment in the function describes.
PF_Err RenderAberration(PF_InData* inData, RenderData& job, PF_EffectWorld* sourceWorld, PF_EffectWorld* output);

}  // namespace nuv
