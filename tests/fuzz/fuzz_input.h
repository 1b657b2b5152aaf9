// Reads a fuzzer's input as numbers and choices. The end of the input reads as zeros.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <span>

namespace fuzz {

class FuzzInput {
public:
    explicit FuzzInput(std::span<const std::uint8_t> data) : rest_(data) {}

    bool empty() const { return rest_.empty(); }

    template <class T>
    T Take() {
        T value{};
        const std::size_t size = std::min(sizeof value, rest_.size());
        std::memcpy(&value, rest_.data(), size);
        rest_ = rest_.subspan(size);
        return value;
    }

    bool Flag() { return (Take<std::uint8_t>() & 1) != 0; }

    // From 0 to count - 1. The count is at most 65536.
    int Below(int count) { return count <= 256 ? Take<std::uint8_t>() % count : Take<std::uint16_t>() % count; }

    template <class List>
    auto Pick(const List& choices) {
        return std::begin(choices)[Below(static_cast<int>(std::size(choices)))];
    }

    // Often a small number, or one at which arithmetic may overflow or round.
    std::int32_t Number() {
        using Limits = std::numeric_limits<std::int32_t>;
        constexpr std::int32_t kEdges[] = {Limits::min(), Limits::min() + 1, Limits::max(), Limits::max() - 1,
                                           1 << 24,       (1 << 24) + 1,     65535,         -65536};
        switch (Below(4)) {
            case 0:
                return Take<std::int8_t>();
            case 1:
                return Take<std::int16_t>();
            case 2:
                return Take<std::int32_t>();
            default:
                return Pick(kEdges);
        }
    }

    // Often from -100 to 100. Otherwise any double, or a special one such as infinity.
    double Real() {
        using Limits = std::numeric_limits<double>;
        constexpr double kEdges[] = {0.0,
                                     -0.0,
                                     Limits::quiet_NaN(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     1e300,
                                     -1e300,
                                     Limits::denorm_min(),
                                     1e-40,
                                     100.0,
                                     -100.0,
                                     50.0,
                                     -50.0,
                                     3.4e38};
        switch (Below(4)) {
            case 0:
                return Take<std::int8_t>() % 101;
            case 1:
                return static_cast<double>(Take<std::int16_t>()) / 327.67;
            case 2:
                return Take<double>();
            default:
                return Pick(kEdges);
        }
    }

private:
    std::span<const std::uint8_t> rest_;
};

}  // namespace fuzz
