#include "render/parameter_copies.h"
#include "render/render_commands.h"
#include "render/render_mutex.h"

namespace nuv {

PF_Err PlainRender(PF_InData* inData, PF_ParamDef* params[], PF_LayerDef* output) {
    ParameterCopies parameters(inData);
    RenderData job;
    parameters.Fill(job);
    PF_EffectWorld* const source = params[PARAM_INPUT] == nullptr ? nullptr : &params[PARAM_INPUT]->u.ld;
    const PF_Err result = RenderUnderMutex(inData, job, source, output);
    return parameters.CheckIn(result);
}

}  // namespace nuv
