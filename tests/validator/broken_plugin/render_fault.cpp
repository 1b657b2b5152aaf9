#include "render_fault.h"

#include <cstring>

#include "pf_smart_render.h"

namespace broken {
namespace {

thread_local RenderCall* g_render = nullptr;
thread_local const PF_SmartRenderCallbacks* g_theirs = nullptr;

void Keep(RenderCall& render) {
    if (render.output && render.output->data && render.output->width > 0 && render.output->height > 0)
        std::memcpy(render.lastPixel, render.LastPixel(), static_cast<std::size_t>(render.pixelBytes));
}

PF_Err CheckoutInput(PF_ProgPtr ref, std::int32_t id, PF_EffectWorld** pixels) {
    const PF_Err code = g_theirs->checkout_layer_pixels(ref, id, pixels);
    if (code == PF_Err_NONE) g_render->input = *pixels;
    return code;
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
    const PF_Err code = g_theirs->checkout_output(ref, output);
    if (code == PF_Err_NONE) g_render->output = *output;
    Keep(*g_render);
    return code;
}

}  // namespace

std::uint8_t* RenderCall::LastPixel() const {
    return Bytes(output) + std::ptrdiff_t{output->rowbytes} * (output->height - 1) +
           (output->width - 1) * pixelBytes;
}

bool IsRender(const MainCall& command) {
    if (command.cmd != PF_Cmd_SMART_RENDER) return command.cmd == PF_Cmd_RENDER && command.params;
    const auto* const extra = static_cast<const PF_SmartRenderExtra*>(command.extra);
    return extra && extra->input && extra->cb;
}

RenderCall RenderTruly(MainCall& command) {
    RenderCall render{.command = command};
    if (command.cmd == PF_Cmd_RENDER) {
        render.input = command.params[0] ? &command.params[0]->u.ld : nullptr;
        render.output = command.output;
        // In a plain render the compositor tells the depth only by the flag of 16-bit worlds.
        if (render.output && (render.output->world_flags & PF_WorldFlag_DEEP)) render.pixelBytes = 8;
        Keep(render);
        render.result = Effect(command);
        return render;
    }
    auto* const extra = static_cast<PF_SmartRenderExtra*>(command.extra);
    render.pixelBytes = extra->input->bitdepth / 2;
    PF_SmartRenderCallbacks callbacks = *extra->cb;
    callbacks.checkout_layer_pixels = CheckoutInput;
    callbacks.checkout_output = CheckoutOutput;
    PF_SmartRenderExtra own{extra->input, &callbacks};
    MainCall inner = command;
    inner.extra = &own;
    RenderCall* const outer = g_render;
    const PF_SmartRenderCallbacks* const outerTheirs = g_theirs;
    g_render = &render;
    g_theirs = extra->cb;
    render.result = Effect(inner);
    g_render = outer;
    g_theirs = outerTheirs;
    return render;
}

void KeepsLastPixel(RenderCall& render) {
    std::memcpy(render.LastPixel(), render.lastPixel, static_cast<std::size_t>(render.pixelBytes));
}

}  // namespace broken
