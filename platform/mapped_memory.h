// Memory straight from the system.
#pragma once

#include <cstddef>

namespace validator {

// At least so many bytes, all zero, between two pages whose touching ends the process. Pages that nobody writes
// take no memory, so that it may be far larger than the machine's.
class MappedMemory {
public:
    explicit MappedMemory(std::size_t bytes);  // throws std::bad_alloc
    ~MappedMemory();
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    std::byte* begin() const { return base_ + kPage; }
    std::byte* end() const { return begin() + bytes_; }

private:
    static constexpr std::size_t kPage = 65536;  // of every system, and Windows' unit of address space

    std::size_t bytes_;
    std::byte* base_ = nullptr;
};

}  // namespace validator
