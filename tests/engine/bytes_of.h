// Values from bytes, and bytes from values.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

template <class T>
std::vector<T> As(std::span<const std::byte> bytes) {
    std::vector<T> values(bytes.size() / sizeof(T));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
    return values;
}

template <class T>
std::vector<std::byte> Bytes(const std::vector<T>& values) {
    std::vector<std::byte> bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}
