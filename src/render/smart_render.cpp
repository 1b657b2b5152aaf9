#include <algorithm>
#include <cstring>

#include "host/host_call.h"
#include "host/host_suite_handler.h"
#include "render/parameter_copies.h"
#include "render/render_commands.h"
#include "render/render_mutex.h"

namespace nuv {
namespace {

constexpr std::int32_t kInputCheckout = 0;

bool IsEmpty(const PF_LRect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}

// If `into` is empty, it becomes `other`, even if that is empty as well. Otherwise it grows until it holds both.
void Merge(PF_LRect& into, const PF_LRect& other) {
    if (IsEmpty(into)) {
        into = other;
    } else if (!IsEmpty(other)) {
        into = {std::min(into.left, other.left), std::min(into.top, other.top), std::max(into.right, other.right),
                std::max(into.bottom, other.bottom)};
    }
}

// Puts the handle into `output` before it uses the handle, so that the host frees the handle even if a callback
// throws. If there is no memory for a handle, the frame is rendered without an offset. The handle is unlocked even
// if it could not be locked, because the host's view must not change (see `faults.unlocks-its-locks` in
// nuv_chromaber.deviations.json).
void LeavePreRenderData(const PF_HandleSuite1& handles, const PreRenderData& data, PF_PreRenderOutput& output) {
    const PF_Handle handle = CallHost(handles.host_new_handle, sizeof data);
    if (handle == nullptr) return;
    output.pre_render_data = handle;
    if (void* memory = CallHost(handles.host_lock_handle, handle)) std::memcpy(memory, &data, sizeof data);
    CallHost(handles.host_unlock_handle, handle);
}

// Locks the handle even if pre-render got none. Hosts answer that with null.
PreRenderData ReadPreRenderData(const PF_HandleSuite1& handles, void* preRenderData) {
    PreRenderData data{};
    const auto handle = static_cast<PF_Handle>(preRenderData);
    if (const void* memory = CallHost(handles.host_lock_handle, handle)) {
        std::memcpy(&data, memory, sizeof data);
        CallHost(handles.host_unlock_handle, handle);
    }
    return data;
}

}  // namespace

PF_Err SmartPreRender(PF_InData* inData, PF_PreRenderExtra* extra) {
    HostSuiteHandler suites(inData->pica_basicP);

    // Any pixel of the result may come from any place in the layer, so the effect asks for the whole layer and
    // renders all of it.
    const PF_LRect layer{0, 0, inData->width, inData->height};
    PF_RenderRequest request = extra->input->output_request;
    request.rect = layer;
    PF_CheckoutResult checkout{};
    const PF_Err error = CallHost(extra->cb->checkout_layer, inData->effect_ref, PARAM_INPUT, kInputCheckout,
                                  &request, inData->current_time, inData->time_step, inData->time_scale, &checkout);

    PF_PreRenderOutput& output = *extra->output;
    Merge(output.result_rect, checkout.result_rect);
    Merge(output.max_result_rect, checkout.max_result_rect);
    output.flags = PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS;
    LeavePreRenderData(*suites.Suite<"PF Handle Suite", 2>(), {output.result_rect.left, output.result_rect.top},
                       output);
    output.result_rect = layer;
    output.max_result_rect = layer;
    return error;
}

PF_Err SmartRender(PF_InData* inData, PF_SmartRenderExtra* extra) {
    HostSuiteHandler suites(inData->pica_basicP);

    PF_EffectWorld* source = nullptr;
    if (const PF_Err error =
            CallHost(extra->cb->checkout_layer_pixels, inData->effect_ref, kInputCheckout, &source)) {
        return error;
    }
    PF_EffectWorld* output = nullptr;
    if (const PF_Err error = CallHost(extra->cb->checkout_output, inData->effect_ref, &output)) return error;

    ParameterCopies parameters(inData);
    const PreRenderData offset =
        ReadPreRenderData(*suites.Suite<"PF Handle Suite", 2>(), extra->input->pre_render_data);
    RenderData job;
    job.sourceOffsetX = static_cast<float>(offset.offsetX);
    job.sourceOffsetY = static_cast<float>(offset.offsetY);
    parameters.Fill(job);
    const PF_Err result = RenderUnderMutex(inData, job, source, output);
    return parameters.CheckIn(result);
}

}  // namespace nuv
