// One command under way, and one callback made in it.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "reference_host/host.h"
#include "reference_host/internal/account_state.h"

namespace refhost {

// A world that the effect may ask the format of.
struct KnownWorld {
    PF_PixelFormat format = 0;
    PF_PixelFormat worldSuiteFormat = 0;
};

// What the callbacks of a render need. Written by the command's thread only.
struct RenderJob {
    explicit RenderJob(const RenderSettings& renderSettings) : settings(renderSettings) {}

    const RenderSettings& settings;
    std::int32_t layerWidth = 0, layerHeight = 0;

    // The records that the effect sees; those that the settings have stay as they are.
    PF_EffectWorld input{}, output{};
    PF_EffectWorld* inputRecord = nullptr;  // null where there is no such world
    PF_EffectWorld* outputRecord = nullptr;
    KnownWorld inputFormat, outputFormat;

    std::vector<PF_ParamDef> params;  // definitions with the values put in; element 0 is index 1
    std::map<std::pair<std::int32_t, std::int32_t>, ParamValue> overrides;  // by time and index

    PF_RenderRequest inputRequest{};
    struct Layer {
        enum class State { announced, out, in } state;
        PF_EffectWorld theirs, ours;  // the record that the effect sees, and what it was
    };
    std::map<std::int32_t, Layer> layers;  // by check-out id
};

struct Command {
    Host::Impl& host;
    std::shared_ptr<Account::State> state;
    PF_Cmd cmd;
    PF_InData* inData;  // may be null
    RenderJob* job;     // null outside renders
    std::uint64_t serial;
    bool traced;   // whether calls are recorded or may be made to fail
    bool recycle;  // HostOptions::keepFreedHandles
    // As they came with the command; the effect may give up these in their commands.
    PF_Handle sequenceData, globalData;
    std::map<const PF_EffectWorld*, KnownWorld> worlds;  // handed over and not given back

    PF_ProgPtr Ref() { return reinterpret_cast<PF_ProgPtr>(this); }
};

// What effect_ref holds until its command runs.
PF_ProgPtr UnboundRef();

// Makes a command the calling thread's own for as long as this lives.
class CommandScope {
public:
    CommandScope(Host::Impl& host, PF_Cmd cmd, PF_InData* inData, RenderJob* job);
    ~CommandScope();
    CommandScope(const CommandScope&) = delete;
    CommandScope& operator=(const CommandScope&) = delete;

    Command& command() { return *command_; }

private:
    std::shared_ptr<Command> command_;
    Command* outer_;
    bool outerIterates_;
    bool bound_;
};

// Lends a command to an iteration thread for as long as this lives.
class IterationScope {
public:
    explicit IterationScope(Command& command);
    ~IterationScope();
    IterationScope(const IterationScope&) = delete;
    IterationScope& operator=(const IterationScope&) = delete;
};

// A callback that the effect has just made, on any thread. Reports it if it has no business there.
class Callback {
public:
    // Callbacks without a reference belong to the thread's command, or else to the one that was begun last.
    explicit Callback(Call call);
    Callback(Call call, PF_ProgPtr ref);

    // False if no command is running; nothing but Fate() makes sense then.
    explicit operator bool() const { return command_ != nullptr; }
    Command& command() const { return *command_; }
    Account::State& state() const { return *command_->state; }
    void Misuse(const std::string& what) const;  // "<callback>: <what>"

    // Counts and records the callback and asks the fault plan. A value: answer with it. `describe` gives
    // CallRecord::detail, and is only called if somebody wants to know.
    template <typename Describe>
    std::optional<PF_Err> Fate(Describe describe) const {
        if (!command_) return PF_Err_INVALID_CALLBACK;
        if (command_->traced) return Traced(describe());
        state().counts[static_cast<std::size_t>(call_)].fetch_add(1, std::memory_order_relaxed);
        return std::nullopt;
    }
    std::optional<PF_Err> Fate() const {
        return Fate([] { return std::string(); });
    }

private:
    void CheckPlace(bool strange) const;
    std::optional<PF_Err> Traced(std::string detail) const;

    Call call_;
    std::shared_ptr<Command> found_;  // holds a command that is not the thread's own
    Command* command_;
};

}  // namespace refhost
