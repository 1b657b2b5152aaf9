// The host's blocks of memory. A block may move while it is not locked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "pf_basics.h"

namespace refhost {

// All live handles of one host. It is thread-safe, but does not protect the contents of the blocks.
class HandleStore {
public:
    enum class Owner { effect, host };

    struct Info {
        std::uint64_t size = 0;
        int locks = 0;
        Owner owner = Owner::effect;
    };

    // With `recycle`, here and below, freed blocks are kept, and a new handle gets a freed block of the same size
    // with its old contents, if there is one. Without it every block is filled, guarded and really freed. Returns
    // null if there is no memory.
    PF_Handle New(std::uint64_t size, Owner owner, bool recycle);
    // If the handle is not live, the functions from Find to Dispose do nothing and return an empty result.
    std::optional<Info> Find(PF_Handle handle) const;
    std::span<std::byte> Bytes(PF_Handle handle) const;
    void* Lock(PF_Handle handle);
    void Unlock(PF_Handle handle);
    void SetOwner(PF_Handle handle, Owner owner);
    // Moves the block and keeps the handle. Returns false if there is no memory; then nothing has changed.
    bool Resize(PF_Handle handle, std::uint64_t size, bool recycle);
    void Dispose(PF_Handle handle, bool recycle);

    std::vector<Info> Live() const;
    void DisposeAllOfEffect();
    // Returns one sentence for each block outside of which something was written, and forgets them. The store
    // checks a block when it is freed or resized.
    std::vector<std::string> TakeDamage();

private:
    struct AlignedDelete {
        void operator()(std::byte* memory) const;
    };

    struct Block {
        std::unique_ptr<std::byte, AlignedDelete> memory;
        std::uint64_t size = 0;
        bool guarded = false;

        std::byte* Data() const;
        std::string Damage() const;
    };

    struct Record {
        void* address = nullptr;  // the handle points here
        Block block;
        Info info;
    };

    static std::optional<Block> Allocate(std::uint64_t size, bool guarded);
    std::optional<Block> Take(std::uint64_t size, bool recycle);
    void GiveUp(Block block, bool recycle);
    Record* Live(PF_Handle handle) const;
    void Retire(std::unique_ptr<Record> record, bool recycle);

    mutable std::mutex mutex_;
    std::unordered_map<PF_Handle, std::unique_ptr<Record>> live_;
    std::multimap<std::uint64_t, Block> freed_;
    // The handles that were freed last. While they are kept here, no new handle gets their address. Thus the store
    // notices if the effect still uses one of them.
    std::deque<std::unique_ptr<Record>> retired_;
    std::vector<std::string> damage_;
};

}  // namespace refhost
