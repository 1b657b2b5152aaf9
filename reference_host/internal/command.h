// A running command, and a callback that the effect makes in it.
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

// What the suites answer when the effect asks for the format of a world.
struct KnownWorld {
    PF_PixelFormat format = 0;
    PF_PixelFormat worldSuiteFormat = 0;
};

// What the callbacks of a render need. Only the command's thread writes it.
struct RunningRender {
    explicit RunningRender(const RenderSettings& renderSettings) : settings(renderSettings) {}

    const RenderSettings& settings;
    std::int32_t layerWidth = 0, layerHeight = 0;

    // The records that the effect sees. They are copies, so the effect cannot change the records in the settings.
    PF_EffectWorld input{}, output{};
    PF_EffectWorld* inputRecord = nullptr;  // null without such a world
    PF_EffectWorld* outputRecord = nullptr;
    KnownWorld inputFormat, outputFormat;

    std::vector<PF_ParamDef> params;  // definitions with the values put in; element 0 is index 1
    std::map<std::pair<std::int32_t, std::int32_t>, ParamValue> overrides;  // by time and index

    PF_RenderRequest inputRequest{};
    struct Layer {
        enum class State { announced, out, in } state;
        PF_EffectWorld theirs, ours;  // the record that the effect sees, and an unchanged copy of it
    };
    std::map<std::int32_t, Layer> layers;  // by check-out id
};

struct Command {
    Host::Impl& host;
    std::shared_ptr<Account::State> state;
    PF_Cmd cmd;
    PF_InData* inData;       // may be null
    RunningRender* running;  // null outside renders
    std::uint64_t serial;
    bool traced;   // whether calls are recorded or may fail by a plan
    bool recycle;  // HostOptions::keepFreedHandles
    // The handles that the record had when the command began. The effect may change the record.
    PF_Handle sequenceData, globalData;
    std::map<const PF_EffectWorld*, KnownWorld> worlds;  // handed to the effect and not given back

    PF_ProgPtr Ref() { return reinterpret_cast<PF_ProgPtr>(this); }
};

// The value of effect_ref in a record that does not belong to a running command.
PF_ProgPtr UnboundRef();

// While this object lives, the calling thread runs this command.
class CommandScope {
public:
    CommandScope(Host::Impl& host, PF_Cmd cmd, PF_InData* inData, RunningRender* running);
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

// While this object lives, the calling thread works for an iteration of this command.
class IterationScope {
public:
    explicit IterationScope(Command& command);
    ~IterationScope();
    IterationScope(const IterationScope&) = delete;
    IterationScope& operator=(const IterationScope&) = delete;
};

// A callback that the effect has just made, on any thread. Reports misuse if the callback is not allowed there.
class Callback {
public:
    // A callback without a reference belongs to the command of its thread. On a thread without a command, it
    // belongs to the command that began last.
    explicit Callback(Call call);
    Callback(Call call, PF_ProgPtr ref);

    // False if no command is running. Then only Fate() may be called.
    explicit operator bool() const { return command_ != nullptr; }
    Command& command() const { return *command_; }
    Account::State& state() const { return *command_->state; }
    void ReportMisuse(const std::string& what) const;  // adds "<callback>: <what>" to the account

    // Counts and records the callback and asks the fault plan. If the result has a value, the callback must return
    // this value. `describe` returns CallRecord::detail. It is called only if calls are recorded or a plan is set.
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
    std::shared_ptr<Command> found_;  // keeps alive a command that is not the thread's own
    Command* command_;
};

}  // namespace refhost
