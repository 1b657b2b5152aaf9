#include "reference_host/account.h"

#include <algorithm>

#include "reference_host/internal/account_state.h"

namespace refhost {

void Account::State::AddMisuse(std::string sentence) {
    const std::lock_guard lock(mutex);
    misuse.push_back(std::move(sentence));
}

Account::Account() : state_(std::make_shared<State>()) {}

std::vector<std::string> Account::Outstanding() const {
    std::vector<std::string> lines;
    for (const auto& handle : state_->handles.Live()) {
        const bool hosts = handle.owner == HandleStore::Owner::host;
        if (hosts && handle.locks == 0) continue;
        lines.push_back((hosts ? "the host's handle of " : "handle of ") + std::to_string(handle.size) + " bytes" +
                        (handle.locks > 0 ? ", locked" : ""));
    }

    const std::lock_guard lock(state_->mutex);
    for (const auto& [suite, use] : state_->suites) {
        if (use.acquired == use.released) continue;
        lines.push_back("suite \"" + suite.first + "\" " + std::to_string(suite.second) + ": acquired " +
                        std::to_string(use.acquired) + ", released " + std::to_string(use.released));
    }
    for (const auto& [record, checkout] : state_->checkouts) {
        if (!checkout.failed) lines.push_back("parameter " + std::to_string(checkout.index) + ": checked out");
    }
    for (const auto& [record, world] : state_->worlds) {
        lines.push_back("world of " + std::to_string(world.layout().width) + " x " +
                        std::to_string(world.layout().height) + " pixels");
    }
    std::ranges::sort(lines);
    return lines;
}

std::vector<std::string> Account::Misuse() const {
    auto damage = state_->handles.TakeDamage();
    const std::lock_guard lock(state_->mutex);
    state_->misuse.insert(state_->misuse.end(), damage.begin(), damage.end());
    return state_->misuse;
}

std::vector<std::string> Account::MissingSuites() const {
    const std::lock_guard lock(state_->mutex);
    std::vector<std::string> lines;
    for (const auto& [name, version] : state_->missing)
        lines.push_back("\"" + name + "\" " + std::to_string(version));
    return lines;
}

std::vector<CallRecord> Account::Calls() const {
    const std::lock_guard lock(state_->mutex);
    return state_->calls;
}

std::int64_t Account::Count(Call call) const {
    return state_->counts[static_cast<std::size_t>(call)].load(std::memory_order_relaxed);
}

void Account::Reset() {
    state_->handles.TakeDamage();
    const std::lock_guard lock(state_->mutex);
    for (auto& count : state_->counts)
        count.store(0, std::memory_order_relaxed);
    state_->calls.clear();
    state_->misuse.clear();
    for (auto& [suite, use] : state_->suites) {
        use = {std::max<std::int64_t>(use.acquired - use.released, 0), 0};
    }
}

void Account::Reclaim() {
    state_->handles.DisposeAllOfEffect();
    {
        const std::lock_guard lock(state_->mutex);
        state_->suites.clear();
        state_->checkouts.clear();
        state_->worlds.clear();
    }
    Reset();
}

}  // namespace refhost
