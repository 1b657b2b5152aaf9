#include "reference_host/internal/command.h"

#include <algorithm>
#include <mutex>

#include "reference_host/internal/call_rules.h"
#include "reference_host/internal/command_names.h"
#include "reference_host/internal/host_impl.h"

namespace refhost {
namespace {

// What the calling thread is doing for a host.
struct ThreadWork {
    Command* command = nullptr;
    bool iterates = false;  // it works for an iteration of the command, and is not the command's own thread
};
thread_local ThreadWork here;

// All running commands of the process, in the order in which they began. A callback on a thread that no host knows
// finds its command here.
class Running {
public:
    void Add(std::shared_ptr<Command> command) {
        const std::lock_guard lock(mutex_);
        commands_.push_back(std::move(command));
    }

    void Remove(const Command* command) {
        const std::lock_guard lock(mutex_);
        std::erase_if(commands_, [&](const auto& running) { return running.get() == command; });
    }

    std::shared_ptr<Command> Find(PF_ProgPtr ref) {
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find_if(commands_, [&](auto& running) { return running->Ref() == ref; });
        return found == commands_.end() ? nullptr : *found;
    }

    std::shared_ptr<Command> Last() {
        const std::lock_guard lock(mutex_);
        return commands_.empty() ? nullptr : commands_.back();
    }

private:
    std::mutex mutex_;
    std::vector<std::shared_ptr<Command>> commands_;
};

Running& AllRunning() {
    static Running running;
    return running;
}

std::uint64_t NextSerial() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t ThreadNumber() {
    static std::atomic<std::uint64_t> next{1};
    thread_local const std::uint64_t number = next.fetch_add(1, std::memory_order_relaxed);
    return number;
}

}  // namespace

PF_ProgPtr UnboundRef() {
    static char anchor;
    return reinterpret_cast<PF_ProgPtr>(&anchor);
}

CommandScope::CommandScope(Host::Impl& host, PF_Cmd cmd, PF_InData* inData, RunningRender* running)
    : command_(new Command{.host = host,
                           .state = host.SharedState(),
                           .cmd = cmd,
                           .inData = inData,
                           .running = running,
                           .serial = NextSerial(),
                           .traced = host.options.recordCalls || host.options.faults,
                           .recycle = host.options.keepFreedHandles,
                           .sequenceData = inData ? inData->sequence_data : nullptr,
                           .globalData = inData ? inData->global_data : nullptr,
                           .worlds = {}}),
      outer_(here.command),
      outerIterates_(here.iterates),
      bound_(inData && inData->effect_ref == UnboundRef()) {
    if (bound_) inData->effect_ref = command_->Ref();
    AllRunning().Add(command_);
    here = {command_.get(), false};
}

CommandScope::~CommandScope() {
    here = {outer_, outerIterates_};
    AllRunning().Remove(command_.get());
    if (bound_) command_->inData->effect_ref = UnboundRef();

    auto& state = *command_->state;
    const std::lock_guard lock(state.mutex);
    std::erase_if(state.checkouts, [this](const auto& entry) {
        return entry.second.failed && entry.second.command == command_->serial;
    });
}

IterationScope::IterationScope(Command& command) {
    here = {&command, true};
}

IterationScope::~IterationScope() {
    here = {};
}

Callback::Callback(Call call) : call_(call), command_(here.command) {
    if (!command_) {
        found_ = AllRunning().Last();
        command_ = found_.get();
    }
    CheckPlace(found_ != nullptr);
}

Callback::Callback(Call call, PF_ProgPtr ref) : call_(call), command_(here.command) {
    const bool strange = !command_;
    if (!command_ || command_->Ref() != ref) {
        if (auto found = AllRunning().Find(ref)) {
            found_ = std::move(found);
        } else if (!command_) {
            found_ = AllRunning().Last();
        }
        if (found_) command_ = found_.get();
        if (command_ && command_->Ref() != ref)
            ReportMisuse("called with a reference that names no running command");
        else if (command_ && !strange)
            ReportMisuse("called with the reference of another thread's command");
    }
    CheckPlace(strange);
}

void Callback::CheckPlace(bool strange) const {
    if (!command_) return;
    const auto& rule = RuleOf(call_);
    if (strange) {
        ReportMisuse("called on a thread that is not the host's");
    } else if (here.iterates && !rule.onIterationThreads) {
        ReportMisuse("called on an iteration thread");
    }
    if (rule.onlyIn != kAnyCommand && rule.onlyIn != command_->cmd) {
        ReportMisuse("called in " + CommandName(command_->cmd));
    }
}

void Callback::ReportMisuse(const std::string& what) const {
    state().AddMisuse(std::string(RuleOf(call_).name) + ": " + what);
}

std::optional<PF_Err> Callback::Traced(std::string detail) const {
    CallRecord record{call_, 0, std::move(detail), ThreadNumber()};
    {
        auto& account = state();
        const std::lock_guard lock(account.mutex);
        record.index = account.counts[static_cast<std::size_t>(call_)].fetch_add(1, std::memory_order_relaxed);
        if (command_->host.options.recordCalls) account.calls.push_back(record);
    }
    const auto& faults = command_->host.options.faults;
    return faults ? faults(record) : std::nullopt;
}

}  // namespace refhost
