#include <algorithm>
#include <atomic>
#include <cstring>

#include "pf_smart_render.h"
#include "render_fault.h"

namespace broken {
namespace {

// One pre-render: its records, and what the effect returned.
struct PreRender {
    MainCall& command;
    PF_PreRenderExtra& extra;
    PF_PreRenderOutput& out;
    PF_LRect before;  // the result rectangle on entry
    PF_Err result = PF_Err_NONE;

    const PF_LRect& Request() const { return extra.input->output_request.rect; }
};

// Whether the command is a pre-render with a complete record.
bool IsPreRender(const MainCall& command) {
    if (command.cmd != PF_Cmd_SMART_PRE_RENDER || !command.extra) return false;
    const auto& extra = *static_cast<const PF_PreRenderExtra*>(command.extra);
    return extra.input && extra.output && extra.cb;
}

// A hook that runs the fault after the effect's pre-render, if the layer has the check's own size.
template <void (*fault)(PreRender&)>
PF_Err After(MainCall& command) {
    if (!IsPreRender(command)) return Effect(command);
    auto& extra = *static_cast<PF_PreRenderExtra*>(command.extra);
    PreRender pre{command, extra, *extra.output, extra.output->result_rect};
    pre.result = Effect(command);
    if (IsOfOwnSize(command)) fault(pre);
    return pre.result;
}

void ExceedsMaximum(PreRender& pre) {
    pre.out.result_rect.right = pre.out.max_result_rect.right + 1;
}
void AnnouncesNothing(PreRender& pre) {
    pre.out.flags = 0;
}
void WidensMaximum(PreRender& pre) {
    pre.out.max_result_rect.right = std::max(pre.out.max_result_rect.right, pre.Request().right);
}
void AddsOldRectangle(PreRender& pre) {
    pre.out.max_result_rect.left = std::min(pre.out.max_result_rect.left, pre.before.left);
}
void CountsPixelsIn32Bits(PreRender& pre) {
    const std::uint32_t width =
        static_cast<std::uint32_t>(pre.Request().right) - static_cast<std::uint32_t>(pre.Request().left);
    pre.out.result_rect.right = std::min(pre.out.result_rect.right, static_cast<std::int32_t>(width));
}
void Refuses(PreRender& pre) {
    pre.result = PF_Err_INTERNAL_STRUCT_DAMAGED;
}
void ChangesItsMind(PreRender& pre) {
    static int calls = 0;
    if (++calls % 2 == 0) pre.out.max_result_rect.bottom += 1;
}

// ---- The request ----------------------------------------------------------------------------------------------

thread_local const PF_PreRenderCallbacks* g_theirs = nullptr;

template <void (*change)(PF_RenderRequest&)>
PF_Err Checkout(PF_ProgPtr ref, std::int32_t index, std::int32_t id, const PF_RenderRequest* request,
                std::int32_t time, std::int32_t step, std::uint32_t scale, PF_CheckoutResult* result) {
    PF_RenderRequest changed = *request;
    change(changed);
    return g_theirs->checkout_layer(ref, index, id, &changed, time, step, scale, result);
}

// A hook that changes the effect's request, if the layer has the check's own size.
template <void (*change)(PF_RenderRequest&)>
PF_Err Asking(MainCall& command) {
    if (!IsOfOwnSize(command) || !IsPreRender(command)) return Effect(command);
    PF_PreRenderExtra extra = *static_cast<PF_PreRenderExtra*>(command.extra);
    PF_PreRenderCallbacks callbacks = *extra.cb;
    g_theirs = extra.cb;
    callbacks.checkout_layer = Checkout<change>;
    extra.cb = &callbacks;
    MainCall inner = command;
    inner.extra = &extra;
    return Effect(inner);
}

void ForWholeFrames(PF_RenderRequest& request) {
    request.field = 0;
}
void ForAlpha(PF_RenderRequest& request) {
    request.channel_mask = 1;
}
void ForVisibleColour(PF_RenderRequest& request) {
    request.preserve_rgb_of_zero_alpha = 0;
}

void AnnouncesTwice(PreRender& pre) {
    const auto& in = *pre.command.inData;
    PF_CheckoutResult result{};
    pre.extra.cb->checkout_layer(in.effect_ref, 0, 0, &pre.extra.input->output_request, in.current_time,
                                 in.time_step, in.time_scale, &result);
}

// ---- What is left behind --------------------------------------------------------------------------------------

// Writes into the output of the previous render.
PF_Err WritesOldOutput(MainCall& command) {
    static std::atomic<std::uint8_t*> output{nullptr};
    if (IsRender(command)) {
        const RenderCall render = RenderTruly(command);
        if (render.OutputIs(OwnSize())) output = Bytes(render.output);
        return render.result;
    }
    if (command.cmd == PF_Cmd_SMART_PRE_RENDER && output && IsOfOwnSize(command)) *output ^= 1;
    return Effect(command);
}

void KeepsAParameter(PreRender& pre) {
    static PF_ParamDef kept;
    const auto& in = *pre.command.inData;
    in.inter.checkout_param(in.effect_ref, 1, in.current_time, in.time_step, in.time_scale, &kept);
}
void KeepsASuite(PreRender& pre) {
    const void* suite = nullptr;
    pre.command.inData->pica_basicP->AcquireSuite("PF ANSI Suite", 1, &suite);
}
void LeavesItLocked(PreRender& pre) {
    pre.command.inData->utils->host_lock_handle(static_cast<PF_Handle>(pre.out.pre_render_data));
}

std::atomic<void (*)(PF_Handle)> g_dispose{nullptr};

void Delete(void* data) {
    try {
        g_dispose.load()(static_cast<PF_Handle>(data));
    } catch (...) {  // some hosts throw after they have freed the handle
    }
}
PF_Err DeletesItsData(MainCall& command) {
    const PF_Err result = Effect(command);
    if (command.cmd == PF_Cmd_SMART_PRE_RENDER && result == PF_Err_NONE) {
        g_dispose = command.inData->utils->host_dispose_handle;
        static_cast<PF_PreRenderExtra*>(command.extra)->output->delete_pre_render_data_func = Delete;
    }
    return result;
}

void ForgetsMemory(PreRender& pre) {
    pre.command.inData->utils->host_new_handle(40);
}
void LeavesAMessage(PreRender& pre) {
    std::strcpy(pre.command.outData->return_msg, "ready");
}

// ---- The render that follows ----------------------------------------------------------------------------------

// The number of pre-renders since the last render, and the height of the last pre-render.
std::atomic<int> g_preRenders{0};
std::atomic<std::int32_t> g_lastHeight{0};

template <bool (*when)()>
PF_Err ChangesAPixelWhen(MainCall& command) {
    if (command.cmd == PF_Cmd_SMART_PRE_RENDER) {
        ++g_preRenders;
        g_lastHeight = command.inData->height;
    }
    if (!IsRender(command)) return Effect(command);
    RenderCall render = RenderTruly(command);
    if (render.OutputIs(OwnSize()) && when()) ChangesAPixel(render);
    g_preRenders = 0;
    return render.result;
}

bool AfterSeveral() {
    return g_preRenders > 1;
}
bool AfterAnothers() {
    return g_lastHeight != OwnSize().height;
}

// Fetches a layer's pixels once more after the effect.
template <std::int32_t id>
void Fetches(RenderCall& render) {
    const auto& extra = *static_cast<const PF_SmartRenderExtra*>(render.command.extra);
    PF_EffectWorld* pixels = nullptr;
    extra.cb->checkout_layer_pixels(render.command.inData->effect_ref, id, &pixels);
}

constexpr Control kControls[] = {
    {.check = "prerender.result-in-maximum",
     .fault = "answers a result wider than the maximum",
     .command = After<ExceedsMaximum>},
    {.check = "prerender.result-in-request",
     .fault = "does not announce extra pixels",
     .command = After<AnnouncesNothing>},
    {.check = "prerender.maximum-fixed",
     .fault = "widens the maximum to the request",
     .command = After<WidensMaximum>},
    {.check = "prerender.old-rectangles",
     .fault = "adds the rectangle that was there",
     .command = After<AddsOldRectangle>},
    {.check = "prerender.far-request",
     .fault = "counts the request's pixels in 32 bits",
     .command = After<CountsPixelsIn32Bits>},
    {.check = "prerender.empty-request", .fault = "refuses the frame", .command = After<Refuses>},
    {.check = "prerender.empty-layer", .fault = "refuses the frame", .command = After<Refuses>},
    {.check = "prerender.repeatable",
     .fault = "answers something else the second time",
     .command = After<ChangesItsMind>},
    {.check = "prerender.field", .fault = "asks for whole frames always", .command = Asking<ForWholeFrames>},
    {.check = "prerender.channels", .fault = "asks for alpha only", .command = Asking<ForAlpha>},
    {.check = "prerender.colour-of-clear",
     .fault = "asks for no colour under zero alpha",
     .command = Asking<ForVisibleColour>},
    {.check = "prerender.one-id",
     .fault = "announces a layer twice under one id",
     .command = After<AnnouncesTwice>},
    {.check = "prerender.no-pixel", .fault = "writes the last output", .command = WritesOldOutput},
    {.check = "prerender.parameters",
     .fault = "checks a parameter out and keeps it",
     .command = After<KeepsAParameter>},
    {.check = "prerender.suites", .fault = "acquires a suite and keeps it", .command = After<KeepsASuite>},
    {.check = "prerender.unlocked", .fault = "leaves its data locked", .command = After<LeavesItLocked>},
    {.check = "prerender.delete-function",
     .fault = "has a function that deletes its data",
     .command = DeletesItsData,
     .mends = true},
    {.check = "prerender.no-render",
     .fault = "forgets 40 bytes at each pre-render",
     .command = After<ForgetsMemory>},
    {.check = "prerender.no-message", .fault = "leaves a message", .command = After<LeavesAMessage>},
    {.check = "prerender.thrice",
     .fault = "draws another picture after several pre-renders",
     .command = ChangesAPixelWhen<AfterSeveral>},
    {.check = "prerender.order",
     .fault = "takes the last pre-render for its own",
     .command = ChangesAPixelWhen<AfterAnothers>},
    {.check = "prerender.announced",
     .fault = "reads a layer that it has not announced",
     .command = With<Fetches<7>>},
    {.check = "prerender.read-once", .fault = "reads its layer twice", .command = With<Fetches<0>>},
};
static_assert(signs::EachHasSize(kControls, &Control::check));

}  // namespace

std::span<const Control> PrerenderControls() {
    return kControls;
}

}  // namespace broken
