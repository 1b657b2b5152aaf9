#include "reference_host/instance.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command_names.h"
#include "reference_host/internal/host_impl.h"
#include "reference_host/pixel_formats.h"
#include "reference_host/rects.h"

namespace refhost {
namespace {

using Owner = HandleStore::Owner;

ParamValue DefaultOf(const PF_ParamDef& param) {
    switch (param.param_type) {
        case PF_Param_POPUP:
            return PopupValue{param.u.pd.dephault};
        case PF_Param_FLOAT_SLIDER:
            return SliderValue{param.u.fs_d.dephault};
        case PF_Param_POINT:
            return PointValue{param.u.td.x_dephault, param.u.td.y_dephault};
        default:
            return PointValue{};
    }
}

// Returns `percent` percent of `size` pixels, in pixels. The percentage and the result are in 16.16 fixed point.
PF_Fixed PercentOf(PF_Fixed percent, std::int32_t size) {
    return static_cast<PF_Fixed>(std::int64_t{percent} * size / 100);
}

bool SameWorld(const PF_EffectWorld& a, const PF_EffectWorld& b) {
    return a.data == b.data && a.rowbytes == b.rowbytes && a.width == b.width && a.height == b.height;
}

std::int16_t BitDepth(const RenderSettings& settings) {
    const World* world = settings.output ? settings.output : settings.input;
    if (!world) return 8;
    const PixelFormat* const format = FindFormat(world->layout().format);
    return static_cast<std::int16_t>(format ? format->bitsPerChannel : 0);
}

PF_RenderRequest RequestOf(const RenderSettings& settings, const RunningRender& running) {
    PF_RenderRequest request{};
    request.rect = settings.request;
    if (IsEmpty(request.rect) && running.outputRecord) request.rect = AreaOf(running.output);
    request.field = settings.field;
    request.channel_mask = settings.channelMask;
    request.preserve_rgb_of_zero_alpha = settings.preserveRgbOfZeroAlpha ? 1 : 0;
    return request;
}

}  // namespace

struct Instance::Impl {
    struct Param {
        PF_ParamDef definition;
        ParamValue value;
        bool percent = false;  // a point that is still a percentage of the layer
    };

    explicit Impl(Host& theHost) : host(*theHost.impl_) {
        for (const auto& definition : host.parameters) {
            params.push_back({definition, DefaultOf(definition), definition.param_type == PF_Param_POINT});
        }
    }

    Host::Impl& host;
    PF_Handle sequenceData = nullptr;
    PF_OutData out{};

    mutable std::mutex mutex;  // guards all members below
    std::vector<Param> params;
    std::map<std::pair<std::int32_t, std::int32_t>, ParamValue> overrides;  // by time and index

    Param& At(std::int32_t index) {
        if (index < 1 || index > static_cast<std::int32_t>(params.size())) {
            throw std::out_of_range("no parameter " + std::to_string(index));
        }
        return params[static_cast<std::size_t>(index - 1)];
    }

    // Returns the parameter with this index. Throws if the value has another type than the parameter.
    Param& For(std::int32_t index, const ParamValue& value) {
        auto& param = At(index);
        if (param.value.index() != value.index()) {
            throw std::invalid_argument("a value of another type for parameter " + std::to_string(index));
        }
        return param;
    }

    PF_Err SequenceCommand(PF_Cmd cmd);
    RunningRender Prepare(const RenderSettings& settings);
    PF_InData Record(const RenderSettings& settings, const RunningRender& running);
    void CheckRecords(const RunningRender& running, const PF_EffectWorld& input);
    void CheckPreRender(const PF_PreRenderOutput& output, const PF_LRect& request);
    void TakePreRenderData(RenderResult& result);
    void EndPreRenderData(const PF_PreRenderOutput& output);
};

PF_Err Instance::Impl::SequenceCommand(PF_Cmd cmd) {
    out = {};
    PF_InData in = host.InData();
    in.sequence_data = sequenceData;
    const PF_Err code = host.Send(cmd, &in, &out, nullptr, nullptr, nullptr, nullptr);
    auto& handles = host.State().handles;
    // The effect puts the block into the out data. If it has not, the instance keeps the block in the in data.
    sequenceData = handles.Find(out.sequence_data) ? out.sequence_data : in.sequence_data;
    if (!handles.Find(sequenceData)) sequenceData = nullptr;
    return code;
}

RunningRender Instance::Impl::Prepare(const RenderSettings& settings) {
    RunningRender running(settings);
    const auto known = [&](const World* world) {
        const auto format = world ? world->layout().format : kFormatArgb8;
        return KnownWorld{format, settings.worldSuiteFormat.value_or(format)};
    };
    // Several renders may use the settings' worlds at once, so the effect gets copies of their records.
    if (settings.input) running.input = *settings.input->effectWorld();
    if (settings.output) {
        running.output = *settings.output->effectWorld();
        running.output.world_flags |= PF_WorldFlag_WRITEABLE;
    }
    running.input.pix_aspect_ratio = running.output.pix_aspect_ratio = settings.pixelAspect;
    running.inputFormat = known(settings.input);
    running.outputFormat = known(settings.output);
    running.layerWidth = settings.layerWidth != 0 ? settings.layerWidth : running.input.width;
    running.layerHeight = settings.layerHeight != 0 ? settings.layerHeight : running.input.height;

    const std::lock_guard lock(mutex);
    running.overrides = overrides;
    for (auto& param : params) {
        ParamValue value = param.value;
        if (param.percent) {
            const auto& percent = std::get<PointValue>(param.value);
            value = PointValue{PercentOf(percent.x, running.layerWidth), PercentOf(percent.y, running.layerHeight)};
            if (running.layerWidth > 0 && running.layerHeight > 0) param = {param.definition, value, false};
        }
        running.params.push_back(param.definition);
        PutValue(value, running.params.back());
    }
    return running;
}

PF_InData Instance::Impl::Record(const RenderSettings& settings, const RunningRender& running) {
    PF_InData in = host.InData();
    in.current_time = settings.currentTime;
    in.time_step = settings.timeStep;
    in.local_time_step = settings.timeStep;
    in.time_scale = settings.timeScale;
    in.field = settings.field;
    in.width = running.layerWidth;
    in.height = running.layerHeight;
    in.extent_hint = {0, 0, running.layerWidth, running.layerHeight};
    in.output_origin_x = running.output.origin_x;
    in.output_origin_y = running.output.origin_y;
    in.downsample_x = settings.downsampleX;
    in.downsample_y = settings.downsampleY;
    in.pixel_aspect_ratio = settings.pixelAspect;
    in.sequence_data = sequenceData;
    return in;
}

void Instance::Impl::CheckRecords(const RunningRender& running, const PF_EffectWorld& input) {
    const auto& settings = running.settings;
    const bool cutOutChanged = std::ranges::any_of(
        running.layers, [](const auto& layer) { return !SameWorld(layer.second.theirs, layer.second.ours); });
    if (cutOutChanged || (settings.input && !SameWorld(input, *settings.input->effectWorld()))) {
        host.State().AddMisuse("the effect changed the record of the input world");
    }
    if (settings.output && !SameWorld(running.output, *settings.output->effectWorld())) {
        host.State().AddMisuse("the effect changed the record of the output world");
    }
}

void Instance::Impl::CheckPreRender(const PF_PreRenderOutput& output, const PF_LRect& request) {
    if (!IsInside(output.result_rect, output.max_result_rect)) {
        host.State().AddMisuse("pre-render's result rectangle is not inside the maximal one");
    }
    if ((output.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS) == 0 && !IsInside(output.result_rect, request)) {
        host.State().AddMisuse("pre-render's result rectangle exceeds the request without announcing it");
    }
}

void Instance::Impl::TakePreRenderData(RenderResult& result) {
    auto& handles = host.State().handles;
    const auto handle = static_cast<PF_Handle>(result.preRenderOutput.pre_render_data);
    const auto info = handles.Find(handle);
    if (!info) return;
    if (info->locks > 0) host.State().AddMisuse("pre-render left its data locked");
    handles.SetOwner(handle, Owner::host);
    const auto bytes = handles.Bytes(handle);
    result.preRenderData.assign(bytes.begin(), bytes.end());
}

void Instance::Impl::EndPreRenderData(const PF_PreRenderOutput& output) {
    if (!output.pre_render_data) return;
    auto& handles = host.State().handles;
    const auto handle = static_cast<PF_Handle>(output.pre_render_data);
    if (!output.delete_pre_render_data_func) {
        handles.Dispose(handle, host.options.keepFreedHandles);
        return;
    }
    const CommandScope scope(host, kDeletePreRenderData, nullptr, nullptr);
    try {
        output.delete_pre_render_data_func(output.pre_render_data);
    } catch (...) {
        host.State().AddMisuse("an exception left the effect in " + CommandName(kDeletePreRenderData));
    }
    // The function should have freed the handle. If it has not, the account lists the handle as the effect's.
    handles.SetOwner(handle, Owner::effect);
}

Instance::Instance(Host& host) : impl_(std::make_unique<Impl>(host)) {}

Instance::~Instance() = default;

PF_Err Instance::SequenceSetup() {
    return impl_->SequenceCommand(PF_Cmd_SEQUENCE_SETUP);
}

PF_Err Instance::SequenceResetup() {
    return impl_->SequenceCommand(PF_Cmd_SEQUENCE_RESETUP);
}

PF_Err Instance::SequenceSetdown() {
    return impl_->SequenceCommand(PF_Cmd_SEQUENCE_SETDOWN);
}

PF_Handle Instance::sequenceData() const {
    return impl_->sequenceData;
}

void Instance::setSequenceData(PF_Handle handle) {
    impl_->sequenceData = handle;
}

const PF_OutData& Instance::outData() const {
    return impl_->out;
}

void Instance::Set(std::int32_t index, const ParamValue& value) {
    const std::lock_guard lock(impl_->mutex);
    auto& param = impl_->For(index, value);
    param.value = value;
    param.percent = false;
}

ParamValue Instance::Get(std::int32_t index) const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->At(index).value;
}

void Instance::SetAt(std::int32_t time, std::int32_t index, const ParamValue& value) {
    const std::lock_guard lock(impl_->mutex);
    impl_->For(index, value);
    impl_->overrides[{time, index}] = value;
}

SavedInstance Instance::Save() const {
    SavedInstance saved;
    {
        const std::lock_guard lock(impl_->mutex);
        for (const auto& param : impl_->params) {
            const auto id = param.definition.uu.id;
            saved.params[id] = param.value;
            if (param.percent) saved.percentPoints.insert(id);
        }
    }
    const auto bytes = impl_->host.State().handles.Bytes(impl_->sequenceData);
    saved.sequenceData.assign(bytes.begin(), bytes.end());
    return saved;
}

void Instance::Load(const SavedInstance& saved) {
    {
        const std::lock_guard lock(impl_->mutex);
        for (std::size_t i = 0; i < impl_->params.size(); ++i) {
            const auto id = impl_->params[i].definition.uu.id;
            const auto found = saved.params.find(id);
            if (found == saved.params.end()) continue;
            auto& param = impl_->For(static_cast<std::int32_t>(i + 1), found->second);
            param.value = found->second;
            param.percent = saved.percentPoints.contains(id);
        }
    }
    auto& handles = impl_->host.State().handles;
    const bool recycle = impl_->host.options.keepFreedHandles;
    handles.Dispose(impl_->sequenceData, recycle);
    impl_->sequenceData = nullptr;
    if (saved.sequenceData.empty()) return;
    impl_->sequenceData = handles.New(saved.sequenceData.size(), Owner::host, recycle);
    if (!impl_->sequenceData) throw std::bad_alloc();
    std::ranges::copy(saved.sequenceData, handles.Bytes(impl_->sequenceData).begin());
}

RenderResult Instance::SmartRender(const RenderSettings& settings, bool render) {
    auto& host = impl_->host;
    if (const auto& traits = TraitsOf(host.options.personality); !traits.smartRender) {
        throw std::logic_error("the " + std::string(traits.name) + " host has no smart render");
    }
    RenderResult result;
    RunningRender running = impl_->Prepare(settings);
    if (settings.input) running.inputRecord = &running.input;
    if (settings.output) running.outputRecord = &running.output;
    const auto request = RequestOf(settings, running);

    PF_PreRenderInput preInput{};
    preInput.output_request = request;
    preInput.bitdepth = BitDepth(settings);
    result.preRenderOutput.result_rect = settings.initialResultRect;
    result.preRenderOutput.max_result_rect = settings.initialResultRect;
    PF_PreRenderCallbacks preCallbacks{CheckoutLayer, nullptr};
    PF_PreRenderExtra preExtra{&preInput, &result.preRenderOutput, &preCallbacks};
    PF_InData in = impl_->Record(settings, running);
    result.preRender =
        host.Send(PF_Cmd_SMART_PRE_RENDER, &in, &result.outData, nullptr, nullptr, &preExtra, &running);
    result.inputRequest = running.inputRequest;
    impl_->TakePreRenderData(result);
    if (result.preRender == PF_Err_NONE) impl_->CheckPreRender(result.preRenderOutput, request.rect);

    if (render && result.preRender == PF_Err_NONE) {
        PF_SmartRenderInput renderInput{};
        renderInput.output_request = request;
        renderInput.bitdepth = preInput.bitdepth;
        renderInput.pre_render_data = result.preRenderOutput.pre_render_data;
        PF_SmartRenderCallbacks callbacks{CheckoutLayerPixels, CheckinLayerPixels, CheckoutOutput};
        PF_SmartRenderExtra extra{&renderInput, &callbacks};
        in = impl_->Record(settings, running);
        result.outData = {};
        result.rendered = true;
        result.render = host.Send(PF_Cmd_SMART_RENDER, &in, &result.outData, nullptr, nullptr, &extra, &running);
        impl_->CheckRecords(running, running.input);
    }
    impl_->EndPreRenderData(result.preRenderOutput);
    return result;
}

RenderResult Instance::PlainRender(const RenderSettings& settings) {
    RenderResult result;
    RunningRender running = impl_->Prepare(settings);

    PF_ParamDef layer{};
    layer.param_type = PF_Param_LAYER;
    layer.u.ld = running.input;
    std::vector<PF_ParamDef*> params{&layer};
    params.insert(params.end(), settings.plainParams.begin(), settings.plainParams.end());
    params.resize(std::max(params.size(), running.params.size() + 1));

    PF_InData in = impl_->Record(settings, running);
    result.rendered = true;
    result.render = impl_->host.Send(PF_Cmd_RENDER, &in, &result.outData, params.data(),
                                     settings.output ? &running.output : nullptr, nullptr, &running);
    impl_->CheckRecords(running, layer.u.ld);
    return result;
}

RenderResult Instance::Render(RenderPath path, const RenderSettings& settings) {
    return path == RenderPath::smart ? SmartRender(settings) : PlainRender(settings);
}

}  // namespace refhost
