#include "render/parameter_copies.h"
#include "render/render_commands.h"
#include "render/render_mutex.h"

namespace nuv {

PF_Err PlainRender(PF_InData* inData, PF_ParamDef* params[], PF_LayerDef* output) {
    ParameterCopies parameters(inData);
    RenderData job;
    job.sourceWorld = params[PARAM_INPUT] == nullptr ? nullptr : &params[PARAM_INPUT]->u.ld;
    parameters.Fill(job);
    const PF_Err result = RenderUnderMutex(inData, job, output);
    return parameters.CheckIn(result);
}

}  // namespace nuv
