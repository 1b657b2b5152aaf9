// Random values for the kernels. Values that a kernel is likely to get wrong are frequent.
#pragma once

#include <bit>
#include <cstring>
#include <limits>
#include <random>

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }
    int Below(int end) { return static_cast<int>(Bits() % static_cast<std::uint32_t>(end)); }
    int Between(int low, int high) { return low + Below(high - low + 1); }
    bool OneIn(int n) { return Below(n) == 0; }
    float Real(float low, float high) { return std::uniform_real_distribution(low, high)(engine_); }
    template <class T, std::size_t n>
    T Of(const T (&choices)[n]) {
        return choices[Below(static_cast<int>(n))];
    }

private:
    std::mt19937 engine_;
};

inline constexpr float kInfinity = std::numeric_limits<float>::infinity();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kDenormal = std::numeric_limits<float>::denorm_min();

// Often near 8, the width of a vector step, or near the ends of tiles. Otherwise up to 70.
inline int RandomWidth(Random& random) {
    if (random.OneIn(6)) return random.Between(6, 9);
    if (random.OneIn(4)) return random.Of({1023, 1024, 1025, 1031, 1032, 2047, 2048, 2051}) + random.Below(3);
    return random.Below(71);
}

// Bytes between the guard page and the pixels, as a multiple of `unit`. Often there are none.
inline int RandomShift(Random& random, int unit) {
    return random.OneIn(2) ? 0 : random.Below(64 / unit) * unit;
}

inline float RandomChannel(Random& random) {
    switch (random.Below(8)) {
        case 0:
            return random.Of({0.0f, -0.0f, 1.0f, -1.0f, kInfinity, -kInfinity, kDenormal, -kDenormal, 1e38f});
        case 1:
            return std::bit_cast<float>(random.Bits());  // also not-a-number with any payload
        case 2:
            return std::bit_cast<float>(0x7F800001 | (random.Bits() & 0x807FFFFF));
        case 3:  // near the steps of the integer formats
            return (static_cast<float>(random.Below(32769)) + random.Of({0.0f, 0.5f, 0.499f})) / 32768.0f;
        case 4:
            return (static_cast<float>(random.Below(256)) + random.Of({0.0f, 0.5f, 0.499f})) / 255.0f;
        default:
            return random.Real(-0.25f, 1.25f);
    }
}

inline void FillFloats(Random& random, std::byte* to, int count) {
    for (int i = 0; i < count; ++i) {
        const float value = RandomChannel(random);
        std::memcpy(to + i * 4, &value, sizeof value);
    }
}

inline void FillBytes(Random& random, std::byte* to, int count) {
    for (int i = 0; i < count; ++i)
        to[i] = static_cast<std::byte>(random.Bits());
}
