// Operations on pixels of four bytes in 32-byte registers. AVX2 and AVX-512 share this text, because a step of a
// tile kernel has eight pixels, which fill one such register.
#pragma once

#include <immintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

struct Bytes256 {
    using Bytes = __m256i;
    static constexpr int kBytePixels = 8;

    static Bytes LoadBytes(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
    static Bytes RepeatBits(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }
    static Bytes LargerBytes(Bytes a, Bytes b) { return _mm256_max_epu8(a, b); }
    static Bytes AllBitsUnlessZero(Bytes pixels) { return ~_mm256_cmpeq_epi32(pixels, _mm256_setzero_si256()); }

    // Turns an order of four channels into the operand of a byte shuffle that reorders four pixels.
    template <int kOrder>
    static __m128i ByteOrder() {
        constexpr int k = (kOrder & 3) | (kOrder >> 2 & 3) << 8 | (kOrder >> 4 & 3) << 16 | (kOrder >> 6 & 3) << 24;
        return _mm_setr_epi32(k, k + 0x04040404, k + 0x08080808, k + 0x0C0C0C0C);
    }
    template <int kOrder>
    static Bytes OrderBytes(Bytes pixels) {
        return _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(ByteOrder<kOrder>()));
    }

    static __m256 LoadTwoPixels(const std::byte* pixel0, const std::byte* pixel1) {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(reinterpret_cast<const float*>(pixel0))),
                                    _mm_loadu_ps(reinterpret_cast<const float*>(pixel1)), 1);
    }
};

}  // namespace
}  // namespace nuv
