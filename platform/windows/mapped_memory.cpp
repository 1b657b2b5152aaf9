#include "platform/mapped_memory.h"

#include <windows.h>

#include <new>

namespace platform {

MappedMemory::MappedMemory(std::size_t bytes) : bytes_((bytes + kPage - 1) / kPage * kPage) {
    base_ = static_cast<std::byte*>(VirtualAlloc(nullptr, bytes_ + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (base_ == nullptr) throw std::bad_alloc();
    if (VirtualAlloc(begin(), bytes_, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        VirtualFree(base_, 0, MEM_RELEASE);
        throw std::bad_alloc();
    }
}

MappedMemory::~MappedMemory() {
    VirtualFree(base_, 0, MEM_RELEASE);
}

}  // namespace platform
