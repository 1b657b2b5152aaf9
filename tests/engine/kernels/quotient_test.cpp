// The quotient by a product and a correction is the quotient, for every mantissa of the dividend. Exponents need no
// test, because powers of two change no rounding.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "engine/kernels/x86/tile_kernels.h"

namespace {

constexpr std::uint32_t kOne = 0x3F800000;  // the bits of 1.0f
constexpr std::uint32_t kMantissas = 1 << 23;

// The formula of avx2_vectors.h.
__attribute__((target("fma"))) float Corrected(float value, const nuv::Divisor& by) {
    const float guess = value * by.inverse;
    return std::fma(std::fma(-guess, by.value, value), by.inverse, guess);
}

__attribute__((target("fma"))) std::uint32_t CountWrong(const nuv::Divisor& by) {
    std::uint32_t wrong = 0;
    for (std::uint32_t bits = kOne; bits < kOne + kMantissas; ++bits) {
        const auto value = std::bit_cast<float>(bits);
        wrong += Corrected(value, by) != value / by.value;
    }
    return wrong;
}

TEST(Quotient, IsExactForEveryMantissaOfTheDividend) {
    if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "this processor has no fused multiply-add";
    std::vector<float> divisors = {1.0f, 1.5f, std::hypot(960.0f, 540.0f), std::hypot(1920.0f, 1080.0f)};
    for (const std::uint32_t near : {kOne + 1, kOne + 2, kOne + kMantissas - 1, kOne + kMantissas - 2})
        divisors.push_back(std::bit_cast<float>(near));
    std::mt19937 random(1);
    while (divisors.size() < 40)
        divisors.push_back(std::bit_cast<float>(kOne + static_cast<std::uint32_t>(random()) % kMantissas));
    for (const float divisor : divisors)
        EXPECT_EQ(CountWrong(nuv::Divisor(divisor)), 0U) << "of " << kMantissas << " quotients by " << divisor;
}

}  // namespace
