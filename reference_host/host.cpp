#include "reference_host/host.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command_names.h"
#include "reference_host/internal/host_impl.h"

namespace refhost {
namespace {

constexpr PF_Err kEscaped = -1;  // the code of a command that an exception has ended

// The plug-in data pointer of the scan. The effect must hand it back, but cannot use it.
PF_PluginDataPtr ScanToken() {
    static char anchor;
    return reinterpret_cast<PF_PluginDataPtr>(&anchor);
}

std::string Text(const std::uint8_t* text) {
    return text ? reinterpret_cast<const char*>(text) : "";
}

// The registration that this thread's scan fills.
thread_local Registration* scanned = nullptr;

PF_Err Register(PF_PluginDataPtr inPtr, const std::uint8_t* name, const std::uint8_t* matchName,
                const std::uint8_t* category, const std::uint8_t* entryPoint, std::int32_t kind,
                std::int32_t apiMajor, std::int32_t apiMinor, std::int32_t reserved) {
    if (!scanned) return PF_Err_INVALID_CALLBACK;
    ++scanned->calls;
    scanned->name = Text(name);
    scanned->matchName = Text(matchName);
    scanned->category = Text(category);
    scanned->entryPoint = Text(entryPoint);
    scanned->kind = kind;
    scanned->apiMajor = apiMajor;
    scanned->apiMinor = apiMinor;
    scanned->reserved = reserved;
    return inPtr == ScanToken() ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

bool IsSequenceCommand(PF_Cmd cmd) {
    return cmd == PF_Cmd_SEQUENCE_SETUP || cmd == PF_Cmd_SEQUENCE_RESETUP || cmd == PF_Cmd_SEQUENCE_SETDOWN;
}

bool IsGlobalCommand(PF_Cmd cmd) {
    return cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_GLOBAL_SETDOWN;
}

}  // namespace

PF_InData Host::Impl::InData() {
    PF_InData in{};
    in.inter = InteractTable();
    in.utils = UtilTable();
    in.effect_ref = UnboundRef();
    in.quality = 1;
    in.version = {13, 27};
    in.appl_id = TraitsOf(options.personality).applicationId;
    in.num_params = static_cast<std::int32_t>(parameters.size()) + 1;
    in.time_step = 1;
    in.local_time_step = 1;
    in.time_scale = 25;
    in.downsample_x = {1, 1};
    in.downsample_y = {1, 1};
    in.pixel_aspect_ratio = {1, 1};
    in.global_data = globalData;
    in.pica_basicP = BasicSuite();
    return in;
}

PF_Err Host::Impl::Send(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                        PF_LayerDef* output, void* extra, RunningRender* running) {
    CommandScope scope(*this, cmd, inData, running);
    if (running && cmd == PF_Cmd_RENDER) {
        if (params && params[0]) scope.command().worlds[&params[0]->u.ld] = running->inputFormat;
        if (output) scope.command().worlds[output] = running->outputFormat;
    }
    PF_Err code = kEscaped;
    try {
        code = library.effectMain(cmd, inData, outData, params, output, extra);
    } catch (...) {
        State().AddMisuse("an exception left the effect in " + CommandName(cmd));
    }
    MoveOwnership(scope.command(), outData);
    return code;
}

void Host::Impl::MoveOwnership(const Command& command, const PF_OutData* outData) {
    using Owner = HandleStore::Owner;
    auto& handles = State().handles;
    if (outData && IsSequenceCommand(command.cmd)) handles.SetOwner(outData->sequence_data, Owner::host);
    if (outData && IsGlobalCommand(command.cmd)) handles.SetOwner(outData->global_data, Owner::host);
    // The effect should have freed these by now. If it has not, the account lists them as the effect's.
    if (command.cmd == PF_Cmd_SEQUENCE_SETDOWN) handles.SetOwner(command.sequenceData, Owner::effect);
    if (command.cmd == PF_Cmd_GLOBAL_SETDOWN) handles.SetOwner(command.globalData, Owner::effect);
}

PF_Err Host::Impl::SetUpCommand(PF_Cmd cmd) {
    out = {};
    PF_InData in = InData();
    const PF_Err code = Send(cmd, &in, &out, nullptr, nullptr, nullptr, nullptr);
    if (IsGlobalCommand(cmd)) globalData = State().handles.Find(out.global_data) ? out.global_data : in.global_data;
    if (!State().handles.Find(globalData)) globalData = nullptr;
    return code;
}

Host::Host(PluginLibrary library, HostOptions options)
    : impl_(std::make_unique<Impl>(std::move(library), std::move(options))) {}

Host::~Host() = default;

HostOptions& Host::options() {
    return impl_->options;
}

Account& Host::account() {
    return impl_->account;
}

const PluginLibrary& Host::library() const {
    return impl_->library;
}

Registration Host::Scan() {
    Registration registration;
    const PersonalityTraits& host = TraitsOf(impl_->options.personality);
    CommandScope scope(*impl_, kScan, nullptr, nullptr);
    auto* const outer = std::exchange(scanned, &registration);
    try {
        registration.result =
            impl_->library.pluginDataEntryFunction(ScanToken(), Register, BasicSuite(), host.scanName, "1.0");
    } catch (...) {
        impl_->State().AddMisuse("an exception left the effect in " + CommandName(kScan));
        registration.result = kEscaped;
    }
    scanned = outer;
    return registration;
}

PF_Err Host::GlobalSetup() {
    return impl_->SetUpCommand(PF_Cmd_GLOBAL_SETUP);
}

PF_Err Host::ParamsSetup() {
    impl_->parameters.clear();
    const PF_Err code = impl_->SetUpCommand(PF_Cmd_PARAMS_SETUP);
    const auto added = static_cast<std::int32_t>(impl_->parameters.size());
    if (code == PF_Err_NONE && impl_->out.num_params != added + 1) {
        impl_->State().AddMisuse("parameter set-up reports " + std::to_string(impl_->out.num_params) +
                                 " parameters, but has added " + std::to_string(added) + " beside the input layer");
    }
    return code;
}

PF_Err Host::GlobalSetdown() {
    return impl_->SetUpCommand(PF_Cmd_GLOBAL_SETDOWN);
}

PF_Err Host::About() {
    return impl_->SetUpCommand(PF_Cmd_ABOUT);
}

const PF_OutData& Host::outData() const {
    return impl_->out;
}

void Host::SetUp() {
    const auto require = [](PF_Cmd cmd, PF_Err code) {
        if (code != PF_Err_NONE) {
            throw std::runtime_error("the effect's " + CommandName(cmd) + " fails with code " +
                                     std::to_string(code));
        }
    };
    require(kScan, Scan().result);
    require(PF_Cmd_GLOBAL_SETUP, GlobalSetup());
    require(PF_Cmd_PARAMS_SETUP, ParamsSetup());
}

const std::vector<PF_ParamDef>& Host::parameters() const {
    return impl_->parameters;
}

std::vector<PF_PixelFormat> Host::supportedFormats() const {
    auto& state = impl_->State();
    const std::lock_guard lock(state.mutex);
    return state.formats;
}

PF_Err Host::Send(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], PF_LayerDef* output,
                  void* extra) {
    return impl_->Send(cmd, inData, outData, params, output, extra, nullptr);
}

PF_InData Host::InData() {
    return impl_->InData();
}

PF_Handle Host::NewHandle(std::uint64_t size) {
    return impl_->State().handles.New(size, HandleStore::Owner::host, impl_->options.keepFreedHandles);
}

void Host::DisposeHandle(PF_Handle handle) {
    impl_->State().handles.Dispose(handle, impl_->options.keepFreedHandles);
}

bool Host::IsLive(PF_Handle handle) const {
    return impl_->State().handles.Find(handle).has_value();
}

std::uint64_t Host::HandleSize(PF_Handle handle) const {
    const auto info = impl_->State().handles.Find(handle);
    return info ? info->size : 0;
}

std::span<std::byte> Host::HandleBytes(PF_Handle handle) {
    return impl_->State().handles.Bytes(handle);
}

}  // namespace refhost
