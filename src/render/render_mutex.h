// One frame at a time.
#pragma once

#include <mutex>

#include "engine/render_aberration.h"

namespace nuv {

// Held around every run of the driver: a frame already keeps sixteen threads and two float-sized buffers busy,
// so frames that the host starts together take turns in the whole process.
extern std::mutex g_renderMutex;

// Runs the driver under g_renderMutex. Whatever the driver throws is dropped and counts as PF_Err_NONE, so that
// parameters are still checked in and the host goes on. Throws std::system_error if the mutex cannot be locked.
PF_Err RenderUnderMutex(PF_InData* inData, RenderData& job, PF_EffectWorld* output);

}  // namespace nuv
