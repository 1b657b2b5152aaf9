#include <algorithm>
#include <limits>
#include <string>

#include "callbacks.h"
#include "command.h"

namespace refhost {
namespace {

bool HasJob(const Callback& callback) {
    if (callback.command().job) return true;
    callback.Misuse("called outside a render");
    return false;
}

// `size` after `start`, or the last column or row that there can be.
std::int32_t End(std::int32_t start, std::int32_t size) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(std::int64_t{start} + size, Limits::min(), Limits::max()));
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
    if (!job.layers.emplace(checkoutId, RenderJob::Layer::announced).second) {
        callback.Misuse("check-out id " + std::to_string(checkoutId) + " is taken");
    }
    const auto area = job.settings.checkoutResult.value_or(job.inputRecord ? AreaOf(job.input) : PF_LRect{});
    *result = {};
    result->result_rect = area;
    result->max_result_rect = area;
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
    if (layer->second != RenderJob::Layer::announced) {
        callback.Misuse("check-out id " + std::to_string(checkoutId) + " was fetched before");
    }
    layer->second = RenderJob::Layer::out;
    *pixels = job.inputRecord;
    if (job.inputRecord) callback.command().worlds[job.inputRecord] = job.inputFormat;
    return PF_Err_NONE;
}

PF_Err CheckinLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId) {
    const Callback callback(Call::checkinLayerPixels, ref);
    if (!callback || !HasJob(callback)) return PF_Err_INVALID_CALLBACK;
    auto& job = *callback.command().job;
    const auto layer = job.layers.find(checkoutId);
    const bool out = layer != job.layers.end() && layer->second == RenderJob::Layer::out;
    if (out) {
        layer->second = RenderJob::Layer::in;
        callback.command().worlds.erase(job.inputRecord);
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
