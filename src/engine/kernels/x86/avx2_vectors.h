// The operations of sse2_vectors.h, with AVX2.
#pragma once

#include "engine/kernels/x86/bytes256.h"

namespace nuv {
namespace {

struct Vectors : Bytes256 {
    using Floats = __m256;
    using Integers = __m256i;
    using Mask = __m256;
    static constexpr int kLanes = 8;
    static constexpr int kPrefetchBytes = 3072;

    static Integers Load(const void* from) { return LoadBytes(from); }
    static Floats LoadFloats(const void* from) { return _mm256_loadu_ps(static_cast<const float*>(from)); }
    static Integers LoadWords(const std::byte* from) {
        return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    }

    template <bool kStream = false>
    static void Store(void* to, auto value) {
        auto* const at = static_cast<Integers*>(to);
        const auto bits = reinterpret_cast<Integers>(value);
        kStream ? _mm256_stream_si256(at, bits) : _mm256_storeu_si256(at, bits);
    }

    static Floats Repeat(float value) { return _mm256_set1_ps(value); }
    static Floats CountFrom(std::int32_t first) {
        return _mm256_cvtepi32_ps(
            _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
    }
    static Floats ToFloats(Integers value) { return _mm256_cvtepi32_ps(value); }
    static Integers Truncate(Floats value) { return _mm256_cvttps_epi32(value); }
    // The divider would be busy for longer. The fused operations do not round in between. They give the exact
    // remainder of the first guess, and the guess and what the remainder adds to it round to the quotient.
    static Floats Quotient(Floats value, const Divisor& by) {
        const Floats guess = value * Repeat(by.inverse);
        const Floats remainder = _mm256_fnmadd_ps(guess, Repeat(by.value), value);
        return _mm256_fmadd_ps(remainder, Repeat(by.inverse), guess);
    }
    static Floats SquareRoot(Floats value) { return _mm256_sqrt_ps(value); }
    static Floats Absolute(Floats value) { return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), value); }
    static Floats Larger(Floats a, Floats b) { return _mm256_max_ps(a, b); }
    static Floats Smaller(Floats a, Floats b) { return _mm256_min_ps(a, b); }

    static Mask IsAtLeastZero(Floats value) { return _mm256_cmp_ps(value, _mm256_setzero_ps(), _CMP_GE_OQ); }
    static Mask IsAboveZero(Floats value) { return _mm256_cmp_ps(value, _mm256_setzero_ps(), _CMP_GT_OQ); }
    static Mask IsNotZero(Floats value) { return _mm256_cmp_ps(value, _mm256_setzero_ps(), _CMP_NEQ_UQ); }
    static Mask IsNotANumber(Floats value) { return _mm256_cmp_ps(value, value, _CMP_UNORD_Q); }
    static Floats ValueOrZero(Mask mask, Floats value) { return _mm256_and_ps(mask, value); }
    static Floats Choose(Mask mask, Floats yes, Floats no) { return _mm256_blendv_ps(no, yes, mask); }
    static Mask MaskOf(const ChannelMasks& masks) {
        return _mm256_castsi256_ps(
            _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&masks))));
    }
    static Floats WithAlpha(Floats colour, Floats alpha) { return _mm256_blend_ps(colour, alpha, 0x88); }

    template <int kOrder>
    static Floats OrderFloats(Floats pixels) {
        return _mm256_permute_ps(pixels, kOrder);
    }

    // A pack instruction works on each half of the registers by itself. The comments below number the pixels.
    static Integers PackBytes(Integers p01, Integers p23, Integers p45, Integers p67) {
        const Integers even = _mm256_packs_epi32(p01, p23);     // 0 2 | 1 3
        const Integers odd = _mm256_packs_epi32(p45, p67);      // 4 6 | 5 7
        const Integers mixed = _mm256_packus_epi16(even, odd);  // 0 2 4 6 | 1 3 5 7
        return _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static Integers PackWords(Integers p01, Integers p23) {
        const Integers mixed = _mm256_packus_epi32(p01, p23);  // 0 2 | 1 3
        return _mm256_permute4x64_epi64(mixed, 0b11'01'10'00);
    }

    template <int kPart>
    static Floats BytesToFloats(Bytes pixels) {
        const __m128i half = kPart < 2 ? _mm256_castsi256_si128(pixels) : _mm256_extracti128_si256(pixels, 1);
        return ToFloats(_mm256_cvtepu8_epi32(kPart % 2 == 0 ? half : _mm_srli_si128(half, 8)));
    }

    static Floats AlphasToFloats(Bytes pixels) { return ToFloats(_mm256_srli_epi32(pixels, 24)); }
    template <int kPart>
    static Floats PutAlphas(Floats pixels, Floats alphas) {
        constexpr int k = 2 * kPart;
        const Integers from = _mm256_setr_epi32(k, k, k, k, k + 1, k + 1, k + 1, k + 1);
        return WithAlpha(pixels, _mm256_permutevar8x32_ps(alphas, from));
    }

    static Floats LoadPixels(auto at) { return LoadTwoPixels(at(0), at(1)); }
};

}  // namespace
}  // namespace nuv
