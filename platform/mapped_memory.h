// Memory straight from the system.
#pragma once

#include <cstddef>

namespace platform {

// At least so many bytes, all zero, between two pages that end the process when they are touched. Pages that nobody
// writes take no memory, so the block may be far larger than the machine's memory.
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
