// A whole conversation between a host and the effect, made of a fuzzer's input: set-up in any order, sequence data
// of any origin, frames of any shape, faults at any callback. A promise is broken when the effect writes outside
// the output's pixels, changes the input, keeps something, misuses the host, lets an exception out, returns a wrong
// code, or gives another picture than the model although no callback failed. The order in which iteration threads
// take their rows is left to chance.
#include "play.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "entry/entry_points.h"
#include "faults.h"
#include "frame.h"
#include "params/params.h"
#include "seams.h"

namespace fuzz {
namespace {

using refhost::Call;
using refhost::ParamValue;
using refhost::RenderPath;

[[noreturn]] void Trap(const std::string& what) {
    std::fprintf(stderr, "broken promise: %s\n", what.c_str());
    std::abort();
}

refhost::PluginLibrary Effect() {
    return {nuv::Dispatch, [](PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*, const char*,
                              const char*) { return nuv::ReportPluginData(inPtr, callback); }};
}

// A pointer to no memory: the effect must not read what it points to.
template <class Pointer>
Pointer Nowhere() {
    return reinterpret_cast<Pointer>(std::uintptr_t{64});
}

struct Player {
    std::unique_ptr<refhost::Instance> instance;
    bool complete = false;                                           // the effect had its five parameters
    std::map<std::pair<std::int32_t, std::int32_t>, ParamValue> at;  // overrides by time and index
};

class Conversation {
public:
    explicit Conversation(std::span<const std::uint8_t> data) : input_(data), host_(Effect(), Options(input_)) {
        if (input_.Below(8) != 7) {
            SetUp();
            for (Player& player : players_)
                MakePlayer(player);
        }
    }

    void Run() {
        using Step = void (Conversation::*)();
        static constexpr Step kSteps[] = {
            &Conversation::RenderFrame,      &Conversation::RenderFrame,   &Conversation::RenderFrame,
            &Conversation::RenderFrame,      &Conversation::SetUpCommand,  &Conversation::SequenceCommand,
            &Conversation::GiveSequenceData, &Conversation::Restore,       &Conversation::ChangeFaults,
            &Conversation::ChangeFaults,     &Conversation::ChangeOptions, &Conversation::Anything,
            &Conversation::Replace,
        };
        while (!input_.empty())
            (this->*input_.Pick(kSteps))();
        host_.options().faults = nullptr;
        RefuseThread(0);
        for (Player& player : players_) {
            if (player.instance) Sequence(player, &refhost::Instance::SequenceSetdown);
        }
    }

private:
    static refhost::HostOptions Options(FuzzInput& input) {
        refhost::HostOptions options;
        options.personality = input.Flag() ? refhost::Personality::editor : refhost::Personality::compositor;
        options.iterationThreads = 1;
        return options;
    }

    bool Editor() { return host_.options().personality == refhost::Personality::editor; }

    // Call this after every command. `own`: this host has passed nonsense, so that misuse may be its own fault.
    void Check(bool own) {
        auto& account = host_.account();
        const auto held = account.Outstanding();
        // The driver's early exit does not release the one suite that it acquired.
        const bool mayKeep = faults_.Fired(Call::acquireSuite) && held.size() == 1 &&
                             (held[0] == "suite \"PF Pixel Format Suite\" 1: acquired 1, released 0" ||
                              held[0] == "suite \"PF World Suite\" 2: acquired 1, released 0");
        if (!held.empty() && !mayKeep) Trap("kept " + held[0]);
        for (const std::string& line : account.Misuse()) {
            if (line.starts_with("an exception left the effect in ")) Trap(line);
            if (own || faults_.Unruly()) continue;
            // The effect unlocks pre-render's data even if they could not be locked, and the driver's early exit
            // unlocks the sequence data and the global data.
            constexpr std::string_view kUnlock = "host_unlock_handle: ";
            const bool afterLock =
                faults_.Fired(Call::lockHandle) && line == "host_unlock_handle: a handle of 8 bytes is not locked";
            const bool early = faults_.Fired(Call::acquireSuite) && line.starts_with(kUnlock) &&
                               (line.ends_with(" is null") || line.ends_with(" is not locked"));
            // A render without pre-render data locks null.
            const bool noData = faults_.Fired(Call::newHandle) && line == "host_lock_handle: the handle is null";
            if (!afterLock && !early && !noData) Trap("misuse: " + line);
        }
        if (held.empty()) {
            account.Reset();
        } else {
            account.Reclaim();
        }
        faults_.Forget();
    }

    void Expect(PF_Err expected, PF_Err code, const char* command) {
        if (faults_.Fired() || code == expected) return;
        Trap(std::string(command) + " gave " + std::to_string(code) + " instead of " + std::to_string(expected));
    }

    // ---- Set-up ------------------------------------------------------------------------------------------------

    void SetUp() {
        for (int command = 0; command < 3; ++command)
            SetUpCommand(command);
    }

    void SetUpCommand() { SetUpCommand(input_.Below(6)); }

    void SetUpCommand(int command) {
        static constexpr PF_Err (*kCommands[])(refhost::Host&) = {
            [](refhost::Host& host) { return host.Scan().result; },
            [](refhost::Host& host) { return host.GlobalSetup(); },
            [](refhost::Host& host) { return host.ParamsSetup(); },
            [](refhost::Host& host) { return host.About(); },
            [](refhost::Host& host) { return host.GlobalSetdown(); },
        };
        if (command == 5) return SetUp();
        Expect(PF_Err_NONE, kCommands[command](host_), "a set-up command");
        Check(false);
    }

    // ---- Instances ---------------------------------------------------------------------------------------------

    Player& AnyPlayer() {
        return players_[static_cast<std::size_t>(input_.Below(static_cast<int>(players_.size())))];
    }

    void MakePlayer(Player& player) {
        static constexpr std::array kTypes = {PF_Param_POINT, PF_Param_POPUP, PF_Param_POPUP, PF_Param_FLOAT_SLIDER,
                                              PF_Param_POPUP};
        player = {};
        player.instance = std::make_unique<refhost::Instance>(host_);
        const auto& added = host_.parameters();
        player.complete = std::ranges::equal(added, kTypes, {}, &PF_ParamDef::param_type);
    }

    void Replace() { MakePlayer(AnyPlayer()); }

    // Whether the sequence data are null or a handle that the host knows.
    bool HasSoundData(const Player& player) {
        const PF_Handle handle = player.instance->sequenceData();
        return handle == nullptr || host_.IsLive(handle);
    }

    void Sequence(Player& player, PF_Err (refhost::Instance::*command)()) {
        const bool own = !HasSoundData(player);
        Expect(PF_Err_NONE, (*player.instance.*command)(), "a sequence command");
        // If a callback threw or lied during set-down, the effect may not have freed the block.
        if (faults_.Unruly() && command == &refhost::Instance::SequenceSetdown) {
            host_.DisposeHandle(player.instance->sequenceData());
        }
        Check(own);
        if (!HasSoundData(player)) player.instance->setSequenceData(nullptr);
    }

    void SequenceCommand() {
        static constexpr PF_Err (refhost::Instance::*kCommands[])() = {&refhost::Instance::SequenceSetup,
                                                                       &refhost::Instance::SequenceResetup,
                                                                       &refhost::Instance::SequenceSetdown};
        Player& player = AnyPlayer();
        const auto command = input_.Pick(kCommands);
        if (player.instance) Sequence(player, command);
    }

    PF_Handle AnyHandle() {
        Player& other = AnyPlayer();
        switch (input_.Below(4)) {
            case 0:
                return nullptr;
            case 1:
                return host_.NewHandle(static_cast<std::uint64_t>(input_.Below(40)));
            case 2:
                return other.instance ? other.instance->sequenceData() : nullptr;
            default:
                return Nowhere<PF_Handle>();
        }
    }

    void GiveSequenceData() {
        Player& player = AnyPlayer();
        const PF_Handle handle = AnyHandle();
        if (player.instance) player.instance->setSequenceData(handle);
    }

    // Saves an instance, and loads it with other sequence data into the same or another instance.
    void Restore() {
        Player& from = AnyPlayer();
        Player& to = AnyPlayer();
        if (!from.instance || !to.instance) return;
        refhost::SavedInstance saved = from.instance->Save();
        saved.sequenceData.resize(static_cast<std::size_t>(input_.Below(16)));
        for (std::byte& byte : saved.sequenceData)
            byte = input_.Take<std::byte>();
        to.instance->Load(saved);
        Sequence(to, &refhost::Instance::SequenceResetup);
    }

    // ---- Frames ------------------------------------------------------------------------------------------------

    ParamValue AnyValue(std::int32_t index, const FuzzFrame& frame) {
        if (index == nuv::PARAM_AMOUNT) return refhost::SliderValue{input_.Real()};
        if (index != nuv::PARAM_FRAME_CENTER) {
            const int choice = input_.Below(8);
            return refhost::PopupValue{choice == 7 ? input_.Number() : choice};
        }
        if (input_.Flag()) {
            const std::int32_t x = input_.Number();
            return refhost::PointValue{x, input_.Number()};
        }
        const auto within = [this](int size) { return input_.Below(std::max(size, 1)) * 65536; };
        const PF_Fixed x = within(frame.scene.output.width);
        return refhost::PointValue{x, within(frame.scene.output.height)};
    }

    template <class Value>
    static Value ValueOf(const Player& player, std::int32_t time, std::int32_t index) {
        const auto found = player.at.find({time, index});
        return std::get<Value>(found != player.at.end() ? found->second : player.instance->Get(index));
    }

    // Changes some parameters, and gives the model the values of all.
    void SetParameters(Player& player, FuzzFrame& frame) {
        const int which = input_.Take<std::uint8_t>();
        const std::int32_t time = frame.settings.currentTime;
        for (std::int32_t index = 1; index < nuv::PARAM_COUNT; ++index) {
            if ((which >> index & 1) == 0) continue;
            const ParamValue value = AnyValue(index, frame);
            player.instance->Set(index, value);
            if ((which & 1) != 0)
                player.instance->SetAt(time, index, player.at[{time, index}] = AnyValue(index, frame));
        }
        support::Scene& scene = frame.scene;
        scene.center = ValueOf<refhost::PointValue>(player, time, nuv::PARAM_FRAME_CENTER);
        scene.mode = ValueOf<refhost::PopupValue>(player, time, nuv::PARAM_MODE).choice;
        scene.scaling = ValueOf<refhost::PopupValue>(player, time, nuv::PARAM_SCALING).choice;
        scene.amount = ValueOf<refhost::SliderValue>(player, time, nuv::PARAM_AMOUNT).value;
        scene.show = ValueOf<refhost::PopupValue>(player, time, nuv::PARAM_SHOW).choice;
    }

    void RenderFrame() {
        Player& player = AnyPlayer();
        ChooseKernels(static_cast<std::size_t>(input_.Below(10)) - 1);
        FuzzFrame frame(input_);
        if (!player.instance) return;
        if (player.complete) SetParameters(player, frame);
        // In the editing host, only the Pixel Format Suite decides, so that the World Suite may answer anything.
        // That holds as long as no call fails.
        if (Editor() && faults_.empty() && input_.Below(4) == 3) frame.settings.worldSuiteFormat = input_.Number();

        // For a negative height, the effect may ask for a scratch world of that height. The host takes that as
        // misuse.
        const bool own = !HasSoundData(player) || frame.HasNegativeSize();
        const bool told = !own && player.complete && player.instance->Save().percentPoints.empty();
        const auto path = Editor() ? RenderPath::plain : frame.scene.path;
        if (path == RenderPath::plain) frame.scene.offsetX = frame.scene.offsetY = 0;
        const refhost::RenderResult result =
            path == RenderPath::plain ? player.instance->PlainRender(frame.settings)
                                      : player.instance->SmartRender(frame.settings, !frame.preRenderOnly);
        Expect(PF_Err_NONE, result.preRender, "pre-render");
        if (result.rendered && !frame.HasNegativeSize()) Expect(frame.ExpectedCode(), result.render, "a render");
        for (const refhost::World* world : {&frame.source, &frame.output}) {
            if (const std::string written = world->Surroundings(); !written.empty()) Trap(written);
        }
        if (frame.source.Pixels() != frame.sourcePixels) Trap("the input changed");
        if (!faults_.Fired()) CheckPicture(frame, result, told);
        Check(own);
    }

    void CheckPicture(const FuzzFrame& frame, const refhost::RenderResult& result, bool told) {
        const bool untouched = !frame.settings.output || !result.rendered || result.render != PF_Err_NONE;
        if (untouched && !frame.OutputUntouched()) Trap("an output was written without a success");
        if (untouched || !told) return;
        if (!KernelsAsked()) Trap("the kernels are no longer chosen where this test stands between");
        const auto expected = frame.ExpectedPixels();
        if (expected && *expected != frame.output.Pixels()) {
            Trap("another picture than the model's: " + support::Describe(frame.scene));
        }
    }

    // ---- The host ----------------------------------------------------------------------------------------------

    void ChangeFaults() {
        faults_.Plan(input_);
        host_.options().faults = nullptr;
        if (!faults_.empty()) {
            host_.options().faults = [this](const refhost::CallRecord& record) { return faults_.Decide(record); };
        }
    }

    void ChangeOptions() {
        refhost::HostOptions& options = host_.options();
        options.iterationThreads = 1 + input_.Below(3);
        options.genericIteration = input_.Flag();
        options.rowOrder = input_.Take<std::uint16_t>();
        options.keepFreedHandles = input_.Below(4) == 3;
    }

    // Sends any command, with records that are missing, empty or wrong for it.
    void Anything() {
        const PF_Cmd cmd = input_.Flag() ? input_.Below(PF_Cmd_SMART_RENDER + 5) : input_.Number();
        const auto there = input_.Take<std::uint16_t>();
        const auto is = [there](int bit) { return (there >> bit & 1) != 0; };

        PF_InData in = host_.InData();
        const PF_Handle handles[] = {AnyHandle(), AnyHandle()};
        in.sequence_data = handles[0];
        in.global_data = handles[1];
        in.width = input_.Number();
        in.height = input_.Number();
        in.time_scale = static_cast<std::uint32_t>(input_.Number());
        if (!is(0)) in.pica_basicP = nullptr;
        if (!is(1)) in.appl_id = input_.Number();
        PF_OutData out{};

        PF_ParamDef layer{};
        layer.u.ld.width = input_.Number();
        layer.u.ld.height = input_.Number();
        PF_ParamDef* params[nuv::PARAM_COUNT];
        std::ranges::fill(params, Nowhere<PF_ParamDef*>());
        params[0] = is(2) ? &layer : nullptr;
        PF_LayerDef output = layer.u.ld;

        PF_PreRenderInput preInput{};
        PF_PreRenderOutput preOutput{};
        PF_SmartRenderInput renderInput{};
        PF_PreRenderCallbacks preCallbacks{CheckOutLayer, nullptr};
        PF_SmartRenderCallbacks renderCallbacks{CheckOutPixels, nullptr, CheckOutOutput};
        PF_PreRenderExtra pre{is(3) ? &preInput : nullptr, is(4) ? &preOutput : nullptr,
                              is(5) ? &preCallbacks : nullptr};
        PF_SmartRenderExtra smart{is(3) ? &renderInput : nullptr, is(5) ? &renderCallbacks : nullptr};
        void* extra = cmd == PF_Cmd_SMART_RENDER       ? static_cast<void*>(&smart)
                      : cmd == PF_Cmd_SMART_PRE_RENDER ? static_cast<void*>(&pre)
                                                       : Nowhere<void*>();
        given_ = is(6) ? &layer.u.ld : nullptr;

        host_.Send(cmd, is(7) ? &in : nullptr, is(8) ? &out : nullptr, is(9) ? params : nullptr,
                   is(10) ? &output : nullptr, is(11) ? extra : nullptr);
        // Without proper records, the effect need not take over the handles that it would own otherwise.
        for (const PF_Handle handle : handles)
            host_.DisposeHandle(handle);
        if (preOutput.pre_render_data) host_.DisposeHandle(static_cast<PF_Handle>(preOutput.pre_render_data));
        Check(true);
    }

    // The callbacks of a host without worlds, for Anything().
    static PF_Err CheckOutLayer(PF_ProgPtr, std::int32_t, std::int32_t, const PF_RenderRequest* request,
                                std::int32_t, std::int32_t, std::uint32_t, PF_CheckoutResult* result) {
        result->result_rect = result->max_result_rect = request->rect;
        return PF_Err_NONE;
    }
    static PF_Err CheckOutPixels(PF_ProgPtr, std::int32_t, PF_EffectWorld** pixels) {
        *pixels = given_;
        return PF_Err_NONE;
    }
    static PF_Err CheckOutOutput(PF_ProgPtr, PF_EffectWorld** output) {
        *output = given_;
        return PF_Err_NONE;
    }

    static inline PF_EffectWorld* given_ = nullptr;

    FuzzInput input_;
    Faults faults_;
    refhost::Host host_;
    std::array<Player, 3> players_;
};

}  // namespace

void Play(std::span<const std::uint8_t> input) {
    Conversation(input).Run();
}

}  // namespace fuzz
