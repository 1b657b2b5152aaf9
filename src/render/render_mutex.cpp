#include "render/render_mutex.h"

namespace nuv {

std::mutex g_renderMutex;

PF_Err RenderUnderMutex(PF_InData* inData, RenderData& job, PF_EffectWorld* source, PF_EffectWorld* output) {
    const std::lock_guard lock(g_renderMutex);
    try {
        return RenderAberration(inData, job, source, output);
    } catch (...) {
        return PF_Err_NONE;
    }
}

}  // namespace nuv
