// Memory between pages that cannot be touched, for kernels that must stay inside their rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

// A block of whole pages, filled with poison. A read or write before or behind it ends the program; a write inside
// of it, but outside of what was placed, is found by looking.
class GuardedMemory {
public:
    explicit GuardedMemory(std::size_t bytes) : bytes_((bytes + kPage - 1) / kPage * kPage) {
#if defined(_WIN32)
        base_ = static_cast<std::byte*>(VirtualAlloc(nullptr, bytes_ + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
        if (base_ == nullptr || VirtualAlloc(base_ + kPage, bytes_, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            throw std::bad_alloc();
        }
#else
        void* const base = mmap(nullptr, bytes_ + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) throw std::bad_alloc();
        base_ = static_cast<std::byte*>(base);
        if (mprotect(base_ + kPage, bytes_, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
#endif
        SetPoison(std::byte{0xA5});
    }
    ~GuardedMemory() {
#if defined(_WIN32)
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, bytes_ + 2 * kPage);
#endif
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    void SetPoison(std::byte poison) {
        poison_ = poison;
        std::fill_n(Begin(), bytes_, poison_);
    }

    // `bytes` bytes, at most the whole size less 64: up against the page behind, or `shift` bytes (0 to 63) behind
    // the page before. Takes back what was placed before.
    std::byte* Place(int bytes, bool atEnd, int shift) {
        std::fill_n(placed_ != nullptr ? placed_ : Begin(), placedBytes_, poison_);
        placedBytes_ = static_cast<std::size_t>(bytes);
        placed_ = atEnd ? Begin() + bytes_ - placedBytes_ : Begin() + shift;
        return placed_;
    }

    bool SurroundingsAreIntact() const {
        return IsPoison(Begin(), placed_) && IsPoison(placed_ + placedBytes_, Begin() + bytes_);
    }

    void Repoison(std::byte* from, int bytes) {
        std::fill_n(from, bytes, poison_);
    }
    bool IsPoison() const {
        return IsPoison(Begin(), Begin() + bytes_);
    }

private:
    static constexpr std::size_t kPage = 4096;

    std::byte* Begin() const {
        return base_ + kPage;
    }
    bool IsPoison(const std::byte* from, const std::byte* end) const {
        return std::all_of(from, end, [this](std::byte byte) { return byte == poison_; });
    }

    std::size_t bytes_;
    std::byte* base_ = nullptr;
    std::byte poison_{};
    std::byte* placed_ = nullptr;
    std::size_t placedBytes_ = 0;
};
