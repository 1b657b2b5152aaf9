// The host's relocatable memory blocks.
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

// Every handle that is live in one host. Thread-safe; what is inside the blocks is their users' business.
class HandleStore {
public:
    enum class Owner { effect, host };

    struct Info {
        std::uint64_t size = 0;
        int locks = 0;
        Owner owner = Owner::effect;
    };

    // `recycle` here and below: take a freed block of the same size if there is one, leave the memory as it is,
    // and keep blocks for that. Without it blocks are filled, guarded and really freed. Null without memory.
    PF_Handle New(std::uint64_t size, Owner owner, bool recycle);
    // Nothing if the handle is not live; so for all that follow.
    std::optional<Info> Find(PF_Handle handle) const;
    std::span<std::byte> Bytes(PF_Handle handle) const;
    void* Lock(PF_Handle handle);
    void Unlock(PF_Handle handle);
    void SetOwner(PF_Handle handle, Owner owner);
    // The block moves, the handle stays. False without memory, and all is as before.
    bool Resize(PF_Handle handle, std::uint64_t size, bool recycle);
    void Dispose(PF_Handle handle, bool recycle);

    std::vector<Info> Live() const;
    void DisposeAllOfEffect();
    // Writes outside blocks, as found when the blocks were given up; forgets them.
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
    // Disposed of lately: while they stand here, no new handle has their address, and their use is noticed.
    std::deque<std::unique_ptr<Record>> retired_;
    std::vector<std::string> damage_;
};

}  // namespace refhost
