#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command.h"
#include "reference_host/pixel_formats.h"
#include "reference_host/rects.h"

namespace refhost {
namespace {

bool InRender(const Callback& callback) {
    if (callback.command().running) return true;
    callback.ReportMisuse("called outside a render");
    return false;
}

// Returns start + size, limited to what 32 bits can hold.
std::int32_t End(std::int32_t start, std::int32_t size) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(std::int64_t{start} + size, Limits::min(), Limits::max()));
}

// A part of a world. If the world has no pixels, neither has the part.
PF_EffectWorld CutOut(const PF_EffectWorld& whole, const PF_LRect& part, int bytesPerPixel) {
    PF_EffectWorld cut = whole;
    if (!IsEmpty(part) && whole.data) {
        const auto x = part.left - whole.origin_x, y = part.top - whole.origin_y;
        cut.data =
            reinterpret_cast<PF_Pixel*>(reinterpret_cast<std::byte*>(whole.data) +
                                        std::ptrdiff_t{whole.rowbytes} * y + std::ptrdiff_t{x} * bytesPerPixel);
    }
    cut.origin_x = part.left;
    cut.origin_y = part.top;
    cut.width = part.right - part.left;
    cut.height = part.bottom - part.top;
    cut.extent_hint = {0, 0, cut.width, cut.height};
    return cut;
}

}  // namespace

PF_LRect AreaOf(const PF_EffectWorld& world) {
    return {world.origin_x, world.origin_y, End(world.origin_x, world.width), End(world.origin_y, world.height)};
}

PF_Err Abort(PF_ProgPtr ref) {
    return Callback(Call::abort, ref).Fate().value_or(PF_Err_NONE);
}

PF_Err CheckoutLayer(PF_ProgPtr ref, std::int32_t index, std::int32_t checkoutId, const PF_RenderRequest* request,
                     std::int32_t, std::int32_t, std::uint32_t, PF_CheckoutResult* result) {
    const Callback callback(Call::checkoutLayer, ref);
    const auto fate = callback.Fate([&] { return std::to_string(index); });
    if (!callback || !InRender(callback)) return fate.value_or(PF_Err_BAD_CALLBACK_PARAM);
    auto& running = *callback.command().running;
    if (request) running.inputRequest = *request;
    if (fate) return *fate;
    if (!request || !result) {
        callback.ReportMisuse("no request, or no result to fill");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (index != 0) {
        callback.ReportMisuse("parameter " + std::to_string(index) + " is not a layer");
        return PF_Err_INVALID_INDEX;
    }
    const PF_LRect whole = running.inputRecord ? AreaOf(running.input) : PF_LRect{};
    PF_LRect part = Intersection(request->rect, whole);
    if (IsEmpty(part)) part = {};
    PF_EffectWorld world = running.input;
    // If the settings contain the answer to the check-out, the effect gets the whole world.
    if (!running.settings.checkoutResult && std::memcmp(&part, &whole, sizeof part) != 0) {
        world = CutOut(running.input, part, BytesPerPixel(running.inputFormat.format));
    }
    if (!running.layers.insert({checkoutId, {RunningRender::Layer::State::announced, world, world}}).second) {
        callback.ReportMisuse("check-out id " + std::to_string(checkoutId) + " is taken");
    }
    *result = {};
    result->result_rect = running.settings.checkoutResult.value_or(part);
    result->max_result_rect = running.settings.checkoutResult.value_or(whole);
    result->par = running.settings.pixelAspect;
    result->ref_width = running.layerWidth;
    result->ref_height = running.layerHeight;
    return PF_Err_NONE;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId, PF_EffectWorld** pixels) {
    const Callback callback(Call::checkoutLayerPixels, ref);
    const auto fate = callback.Fate([&] { return std::to_string(checkoutId); });
    if (pixels) *pixels = nullptr;
    if (fate) return *fate;
    if (!InRender(callback)) return PF_Err_BAD_CALLBACK_PARAM;
    auto& running = *callback.command().running;
    const auto layer = running.layers.find(checkoutId);
    if (!pixels || layer == running.layers.end()) {
        callback.ReportMisuse(pixels ? "check-out id " + std::to_string(checkoutId) +
                                           " was not announced in pre-render"
                                     : "nowhere to put the world");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (layer->second.state != RunningRender::Layer::State::announced) {
        callback.ReportMisuse("check-out id " + std::to_string(checkoutId) + " was fetched before");
    }
    layer->second.state = RunningRender::Layer::State::out;
    if (!running.inputRecord) return PF_Err_NONE;
    *pixels = &layer->second.theirs;
    callback.command().worlds[*pixels] = running.inputFormat;
    return PF_Err_NONE;
}

PF_Err CheckinLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId) {
    const Callback callback(Call::checkinLayerPixels, ref);
    if (!callback || !InRender(callback)) return PF_Err_INVALID_CALLBACK;
    auto& running = *callback.command().running;
    const auto layer = running.layers.find(checkoutId);
    const bool out = layer != running.layers.end() && layer->second.state == RunningRender::Layer::State::out;
    if (out) {
        layer->second.state = RunningRender::Layer::State::in;
        callback.command().worlds.erase(&layer->second.theirs);
    } else {
        callback.ReportMisuse("check-out id " + std::to_string(checkoutId) + " is not checked out");
    }
    const auto fate = callback.Fate([&] { return std::to_string(checkoutId); });
    return fate.value_or(out ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM);
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
    const Callback callback(Call::checkoutOutput, ref);
    const auto fate = callback.Fate();
    if (output) *output = nullptr;
    if (fate) return *fate;
    if (!InRender(callback)) return PF_Err_BAD_CALLBACK_PARAM;
    if (!output) {
        callback.ReportMisuse("nowhere to put the world");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    auto& running = *callback.command().running;
    *output = running.outputRecord;
    if (running.outputRecord) callback.command().worlds[running.outputRecord] = running.outputFormat;
    return PF_Err_NONE;
}

}  // namespace refhost
