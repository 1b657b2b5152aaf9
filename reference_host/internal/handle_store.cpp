#include "reference_host/internal/handle_store.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace refhost {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kGuard = 64;
constexpr auto kGuardByte = std::byte{0xE5};
constexpr auto kFreshByte = std::byte{0xC9};
constexpr std::size_t kFillWhole = std::size_t{64} << 20;
constexpr std::size_t kFillEnds = std::size_t{1} << 20;
constexpr std::size_t kRetired = 4096;
// No system can give so many bytes. With larger numbers, the sums below could overflow.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 62;

void FillFresh(std::span<std::byte> bytes) {
    if (bytes.size() <= kFillWhole) {
        std::ranges::fill(bytes, kFreshByte);
        return;
    }
    std::ranges::fill(bytes.first(kFillEnds), kFreshByte);
    std::ranges::fill(bytes.last(kFillEnds), kFreshByte);
}

}  // namespace

void HandleStore::AlignedDelete::operator()(std::byte* memory) const {
    ::operator delete (memory, std::align_val_t{kAlignment});
}

std::byte* HandleStore::Block::Data() const {
    return memory.get() + (guarded ? kGuard : 0);
}

std::string HandleStore::Block::Damage() const {
    if (!guarded) return {};
    const auto changed = [](std::byte b) { return b != kGuardByte; };
    const std::string what = " of a handle of " + std::to_string(size) + " bytes was overwritten";

    const std::span before(memory.get(), kGuard);
    if (const auto found = std::ranges::find_if(before, changed); found != before.end()) {
        return "the byte " + std::to_string(before.end() - found) + " before the start" + what;
    }
    const std::span after(Data() + size, kGuard);
    if (const auto found = std::ranges::find_if(after, changed); found != after.end()) {
        return "byte " + std::to_string(found - after.begin()) + " after the end" + what;
    }
    return {};
}

std::optional<HandleStore::Block> HandleStore::Allocate(std::uint64_t size, bool guarded) {
    if (size > kMostBytes) return std::nullopt;
    const std::size_t bytes = static_cast<std::size_t>(size) + (guarded ? 2 * kGuard : 0);
    void* memory = ::operator new (std::max<std::size_t>(bytes, 1), std::align_val_t{kAlignment}, std::nothrow);
    if (!memory) return std::nullopt;

    Block block{std::unique_ptr<std::byte, AlignedDelete>(static_cast<std::byte*>(memory)), size, guarded};
    if (guarded) {
        std::fill_n(block.memory.get(), kGuard, kGuardByte);
        std::fill_n(block.Data() + size, kGuard, kGuardByte);
        FillFresh({block.Data(), static_cast<std::size_t>(size)});
    }
    return block;
}

std::optional<HandleStore::Block> HandleStore::Take(std::uint64_t size, bool recycle) {
    if (recycle) {
        const std::lock_guard lock(mutex_);
        if (auto node = freed_.extract(size)) return std::move(node.mapped());
    }
    return Allocate(size, !recycle);
}

void HandleStore::GiveUp(Block block, bool recycle) {
    auto damage = block.Damage();
    const std::lock_guard lock(mutex_);
    if (!damage.empty()) damage_.push_back(std::move(damage));
    if (recycle && !block.guarded) {
        const auto size = block.size;
        freed_.emplace(size, std::move(block));
    }
}

HandleStore::Record* HandleStore::Live(PF_Handle handle) const {
    const auto found = live_.find(handle);
    return found == live_.end() ? nullptr : found->second.get();
}

PF_Handle HandleStore::New(std::uint64_t size, Owner owner, bool recycle) {
    auto block = Take(size, recycle);
    if (!block) return nullptr;
    auto record = std::make_unique<Record>();
    record->address = block->Data();
    record->block = std::move(*block);
    record->info = {size, 0, owner};

    const PF_Handle handle = &record->address;
    const std::lock_guard lock(mutex_);
    live_.emplace(handle, std::move(record));
    return handle;
}

std::optional<HandleStore::Info> HandleStore::Find(PF_Handle handle) const {
    const std::lock_guard lock(mutex_);
    const Record* record = Live(handle);
    return record ? std::optional(record->info) : std::nullopt;
}

std::span<std::byte> HandleStore::Bytes(PF_Handle handle) const {
    const std::lock_guard lock(mutex_);
    const Record* record = Live(handle);
    if (!record) return {};
    return {record->block.Data(), static_cast<std::size_t>(record->info.size)};
}

void* HandleStore::Lock(PF_Handle handle) {
    const std::lock_guard lock(mutex_);
    Record* record = Live(handle);
    if (!record) return nullptr;
    ++record->info.locks;
    return record->address;
}

void HandleStore::Unlock(PF_Handle handle) {
    const std::lock_guard lock(mutex_);
    Record* record = Live(handle);
    if (record && record->info.locks > 0) --record->info.locks;
}

void HandleStore::SetOwner(PF_Handle handle, Owner owner) {
    const std::lock_guard lock(mutex_);
    if (Record* record = Live(handle)) record->info.owner = owner;
}

bool HandleStore::Resize(PF_Handle handle, std::uint64_t size, bool recycle) {
    if (!Find(handle)) return false;
    auto block = Take(size, recycle);
    if (!block) return false;
    {
        const std::lock_guard lock(mutex_);
        Record* record = Live(handle);
        if (!record) return false;
        std::memcpy(block->Data(), record->address, static_cast<std::size_t>(std::min(size, record->info.size)));
        std::swap(record->block, *block);
        record->address = record->block.Data();
        record->info.size = size;
    }
    GiveUp(std::move(*block), recycle);
    return true;
}

void HandleStore::Dispose(PF_Handle handle, bool recycle) {
    std::unique_ptr<Record> record;
    {
        const std::lock_guard lock(mutex_);
        auto node = live_.extract(handle);
        if (!node) return;
        record = std::move(node.mapped());
    }
    Retire(std::move(record), recycle);
}

void HandleStore::Retire(std::unique_ptr<Record> record, bool recycle) {
    record->address = nullptr;
    GiveUp(std::move(record->block), recycle);
    const std::lock_guard lock(mutex_);
    retired_.push_back(std::move(record));
    if (retired_.size() > kRetired) retired_.pop_front();
}

std::vector<HandleStore::Info> HandleStore::Live() const {
    const std::lock_guard lock(mutex_);
    std::vector<Info> infos;
    for (const auto& [handle, record] : live_)
        infos.push_back(record->info);
    return infos;
}

void HandleStore::DisposeAllOfEffect() {
    std::vector<PF_Handle> handles;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [handle, record] : live_) {
            if (record->info.owner == Owner::effect) handles.push_back(handle);
        }
    }
    for (const PF_Handle handle : handles)
        Dispose(handle, false);
}

std::vector<std::string> HandleStore::TakeDamage() {
    const std::lock_guard lock(mutex_);
    return std::exchange(damage_, {});
}

}  // namespace refhost
