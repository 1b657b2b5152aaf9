#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command.h"
#include "reference_host/pixel_formats.h"

namespace refhost {
namespace {

bool HasJob(const Callback& callback) {
    if (callback.command().job) return true;
    callback.Misuse("called outside a render");
    return false;
}

// Returns start + size, limited to what 32 bits can hold.
std::int32_t End(std::int32_t start, std::int32_t size) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(std::int64_t{start} + size, Limits::min(), Limits::max()));
}

bool IsEmpty(const PF_LRect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}

PF_LRect Intersection(const PF_LRect& a, const PF_LRect& b) {
    const PF_LRect both{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                        std::min(a.bottom, b.bottom)};
    return IsEmpty(both) ? PF_LRect{} : both;
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
    if (!callback || !HasJob(callback)) return fate.value_or(PF_Err_BAD_CALLBACK_PARAM);
    auto& job = *callback.command().job;
    if (request) job.inputRequest = *request;
    if (fate) return *fate;
    if (!request || !result) {
        callback.Misuse("no request, or no result to fill");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (index != 0) {
        callback.Misuse("parameter " + std::to_string(index) + " is not a layer");
        return PF_Err_INVALID_INDEX;
    }
    const PF_LRect whole = job.inputRecord ? AreaOf(job.input) : PF_LRect{};
    const PF_LRect part = Intersection(request->rect, whole);
    PF_EffectWorld world = job.input;
    // If the settings contain the answer to the check-out, the effect gets the whole world.
    if (!job.settings.checkoutResult && std::memcmp(&part, &whole, sizeof part) != 0) {
        world = CutOut(job.input, part, BytesPerPixel(job.inputFormat.format));
    }
    if (!job.layers.insert({checkoutId, {RenderJob::Layer::State::announced, world, world}}).second) {
        callback.Misuse("check-out id " + std::to_string(checkoutId) + " is taken");
    }
    *result = {};
    result->result_rect = job.settings.checkoutResult.value_or(part);
    result->max_result_rect = job.settings.checkoutResult.value_or(whole);
    result->par = job.settings.pixelAspect;
    result->ref_width = job.layerWidth;
    result->ref_height = job.layerHeight;
    return PF_Err_NONE;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId, PF_EffectWorld** pixels) {
    const Callback callback(Call::checkoutLayerPixels, ref);
    const auto fate = callback.Fate([&] { return std::to_string(checkoutId); });
    if (pixels) *pixels = nullptr;
    if (fate) return *fate;
    if (!HasJob(callback)) return PF_Err_BAD_CALLBACK_PARAM;
    auto& job = *callback.command().job;
    const auto layer = job.layers.find(checkoutId);
    if (!pixels || layer == job.layers.end()) {
        callback.Misuse(pixels ? "check-out id " + std::to_string(checkoutId) + " was not announced in pre-render"
                               : "nowhere to put the world");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (layer->second.state != RenderJob::Layer::State::announced) {
        callback.Misuse("check-out id " + std::to_string(checkoutId) + " was fetched before");
    }
    layer->second.state = RenderJob::Layer::State::out;
    if (!job.inputRecord) return PF_Err_NONE;
    *pixels = &layer->second.theirs;
    callback.command().worlds[*pixels] = job.inputFormat;
    return PF_Err_NONE;
}

PF_Err CheckinLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId) {
    const Callback callback(Call::checkinLayerPixels, ref);
    if (!callback || !HasJob(callback)) return PF_Err_INVALID_CALLBACK;
    auto& job = *callback.command().job;
    const auto layer = job.layers.find(checkoutId);
    const bool out = layer != job.layers.end() && layer->second.state == RenderJob::Layer::State::out;
    if (out) {
        layer->second.state = RenderJob::Layer::State::in;
        callback.command().worlds.erase(&layer->second.theirs);
    } else {
        callback.Misuse("check-out id " + std::to_string(checkoutId) + " is not checked out");
    }
    const auto fate = callback.Fate([&] { return std::to_string(checkoutId); });
    return fate.value_or(out ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM);
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
    const Callback callback(Call::checkoutOutput, ref);
    const auto fate = callback.Fate();
    if (output) *output = nullptr;
    if (fate) return *fate;
    if (!HasJob(callback)) return PF_Err_BAD_CALLBACK_PARAM;
    if (!output) {
        callback.Misuse("nowhere to put the world");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    auto& job = *callback.command().job;
    *output = job.outputRecord;
    if (job.outputRecord) callback.command().worlds[job.outputRecord] = job.outputFormat;
    return PF_Err_NONE;
}

}  // namespace refhost
