// Memory between pages that cannot be touched, for kernels that must stay inside their rows.
#pragma once

#include <algorithm>
#include <cstddef>

#include "platform/mapped_memory.h"

// A block of whole pages, filled with poison. A read or write before or behind the block ends the program. A write
// inside the block, but outside what was placed, shows because the poison is gone.
class GuardedMemory {
public:
    explicit GuardedMemory(std::size_t bytes) : memory_(bytes) { SetPoison(std::byte{0xA5}); }

    void SetPoison(std::byte poison) {
        poison_ = poison;
        std::fill(Begin(), End(), poison_);
    }

    // Returns `bytes` bytes at the end of the block, or `shift` bytes (0 to 63) after its start. `bytes` is at most
    // the block's size less 64. The bytes that were placed before hold poison again.
    std::byte* Place(int bytes, bool atEnd, int shift) {
        std::fill_n(placed_ != nullptr ? placed_ : Begin(), placedBytes_, poison_);
        placedBytes_ = static_cast<std::size_t>(bytes);
        placed_ = atEnd ? End() - placedBytes_ : Begin() + shift;
        return placed_;
    }

    bool SurroundingsAreIntact() const {
        return IsPoison(Begin(), placed_) && IsPoison(placed_ + placedBytes_, End());
    }

    void Repoison(std::byte* from, int bytes) { std::fill_n(from, bytes, poison_); }
    bool IsPoison() const { return IsPoison(Begin(), End()); }

private:
    std::byte* Begin() const { return memory_.begin(); }
    std::byte* End() const { return memory_.end(); }
    bool IsPoison(const std::byte* from, const std::byte* end) const {
        return std::all_of(from, end, [this](std::byte byte) { return byte == poison_; });
    }

    platform::MappedMemory memory_;
    std::byte poison_{};
    std::byte* placed_ = nullptr;
    std::size_t placedBytes_ = 0;
};
