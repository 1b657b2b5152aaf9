#include "render/parameter_copies.h"
#include "render/render_commands.h"
#include "render/render_mutex.h"

namespace nuv {

PF_Err PlainRender(PF_InData* inData, PF_ParamDef* params[], PF_LayerDef* output) {
    ParameterCopies parameters(inData);
    RenderData job;
    parameters.Fill(job);
    const bool hasLayer = params != nullptr && params[PARAM_INPUT] != nullptr;
    PF_EffectWorld* const source = hasLayer ? &params[PARAM_INPUT]->u.ld : nullptr;
    const PF_Err result = RenderUnderMutex(inData, job, source, output);
    return parameters.CheckIn(result);
}

}  // namespace nuv
