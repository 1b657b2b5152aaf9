// The mutex that lets the effect render one frame at a time.
#pragma once

#include <mutex>

#include "engine/render_aberration.h"

namespace nuv {

// Every run of the driver holds it, so all frames of the process are rendered one after another. One frame already
// needs sixteen threads and two buffers of up to 16 bytes a pixel; several frames at once would need several times
// as much.
extern std::mutex g_renderMutex;

// Runs the driver under g_renderMutex and returns its code. If the driver throws, the exception is dropped and the
// result is PF_Err_NONE, so that the parameters are still checked in and the host goes on. Throws std::system_error
// if the mutex cannot be locked.
PF_Err RenderUnderMutex(PF_InData* inData, RenderData& job, PF_EffectWorld* source, PF_EffectWorld* output);

}  // namespace nuv
