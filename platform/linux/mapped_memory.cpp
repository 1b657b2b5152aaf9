#include "platform/mapped_memory.h"

#include <sys/mman.h>

#include <new>

namespace platform {

MappedMemory::MappedMemory(std::size_t bytes) : bytes_((bytes + kPage - 1) / kPage * kPage) {
    constexpr int kKind = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* const base = ::mmap(nullptr, bytes_ + 2 * kPage, PROT_NONE, kKind, -1, 0);
    if (base == MAP_FAILED) throw std::bad_alloc();
    base_ = static_cast<std::byte*>(base);
    if (::mprotect(begin(), bytes_, PROT_READ | PROT_WRITE) != 0) {
        ::munmap(base_, bytes_ + 2 * kPage);
        throw std::bad_alloc();
    }
}

MappedMemory::~MappedMemory() {
    ::munmap(base_, bytes_ + 2 * kPage);
}

}  // namespace platform
