// Memory straight from the system.
#pragma once

#include <cstddef>

namespace platform {

// A block of at least `bytes` bytes, all zero. It lies between two guard pages: an access to them ends the process.
// Pages that nobody writes take no memory. On Linux, the block may therefore be far larger than the machine's
// memory. On Windows, memory and page file together must have room for it.
class MappedMemory {
public:
    explicit MappedMemory(std::size_t bytes);  // throws std::bad_alloc
    ~MappedMemory();
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    std::byte* begin() const { return base_ + kPage; }
    std::byte* end() const { return begin() + bytes_; }

private:
    static constexpr std::size_t kPage = 4096;

    std::size_t bytes_;  // whole pages
    std::byte* base_ = nullptr;
};

}  // namespace platform
