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
//
// On Windows exceptions of another compiler's runtime, and the system's own, pass this library's frames without
// running a destructor or a handler. A host that lets one fly out of its callback and catches it beyond the effect
// leaves the mutex locked, and the next render waits for ever.
PF_Err RenderUnderMutex(PF_InData* inData, RenderData& job, PF_EffectWorld* source, PF_EffectWorld* output);

}  // namespace nuv
