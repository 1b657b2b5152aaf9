#include "platform/mapped_memory.h"

#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace validator {

MappedMemory::MappedMemory(std::size_t bytes) : bytes_((bytes + kPage - 1) / kPage * kPage) {
#if defined(_WIN32)
    base_ = static_cast<std::byte*>(VirtualAlloc(nullptr, bytes_ + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (base_ == nullptr) throw std::bad_alloc();
    if (VirtualAlloc(begin(), bytes_, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        VirtualFree(base_, 0, MEM_RELEASE);
        throw std::bad_alloc();
    }
#else
    constexpr int kKind = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* const base = mmap(nullptr, bytes_ + 2 * kPage, PROT_NONE, kKind, -1, 0);
    if (base == MAP_FAILED) throw std::bad_alloc();
    base_ = static_cast<std::byte*>(base);
    if (mprotect(begin(), bytes_, PROT_READ | PROT_WRITE) != 0) {
        munmap(base_, bytes_ + 2 * kPage);
        throw std::bad_alloc();
    }
#endif
}

MappedMemory::~MappedMemory() {
#if defined(_WIN32)
    VirtualFree(base_, 0, MEM_RELEASE);
#else
    munmap(base_, bytes_ + 2 * kPage);
#endif
}

}  // namespace validator
