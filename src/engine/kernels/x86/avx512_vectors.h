// The operations of sse2_vectors.h, with AVX-512. A register is a whole cache line, which makes streaming stores
// fast.
#pragma once

#include "engine/kernels/x86/bytes256.h"

namespace nuv {
namespace {

struct Vectors : Bytes256 {
    using Floats = __m512;
    using Integers = __m512i;
    using Mask = __mmask16;
    static constexpr int kLanes = 16;
    using Bytes256::OrderBytes;
    static constexpr int kPrefetchBytes = 4096;

    static Integers Load(const void* from) { return _mm512_loadu_si512(from); }
    static Floats LoadFloats(const void* from) { return _mm512_loadu_ps(from); }
    static Integers LoadWords(const std::byte* from) { return _mm512_cvtepu16_epi32(LoadBytes(from)); }

    template <bool kStream = false>
    static void Store(void* to, auto value) {
        auto* const at = static_cast<Integers*>(to);
        const auto bits = reinterpret_cast<Integers>(value);
        kStream ? _mm512_stream_si512(at, bits) : _mm512_storeu_si512(at, bits);
    }

    static Floats Repeat(float value) { return _mm512_set1_ps(value); }
    static Floats CountFrom(std::int32_t first) {
        const Integers count = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        return _mm512_cvtepi32_ps(_mm512_add_epi32(_mm512_set1_epi32(first), count));
    }
    static Floats ToFloats(Integers value) { return _mm512_cvtepi32_ps(value); }
    static Integers Truncate(Floats value) { return _mm512_cvttps_epi32(value); }
    // See avx2_vectors.h.
    static Floats Quotient(Floats value, const Divisor& by) {
        const Floats guess = value * Repeat(by.inverse);
        const Floats remainder = _mm512_fnmadd_ps(guess, Repeat(by.value), value);
        return _mm512_fmadd_ps(remainder, Repeat(by.inverse), guess);
    }
    static Floats SquareRoot(Floats value) { return _mm512_sqrt_ps(value); }
    static Floats Absolute(Floats value) { return _mm512_abs_ps(value); }
    static Floats Larger(Floats a, Floats b) { return _mm512_max_ps(a, b); }
    static Floats Smaller(Floats a, Floats b) { return _mm512_min_ps(a, b); }

    static Mask IsAtLeastZero(Floats value) { return _mm512_cmp_ps_mask(value, _mm512_setzero_ps(), _CMP_GE_OQ); }
    static Mask IsAboveZero(Floats value) { return _mm512_cmp_ps_mask(value, _mm512_setzero_ps(), _CMP_GT_OQ); }
    static Mask IsNotZero(Floats value) { return _mm512_cmp_ps_mask(value, _mm512_setzero_ps(), _CMP_NEQ_UQ); }
    static Mask IsNotANumber(Floats value) { return _mm512_cmp_ps_mask(value, value, _CMP_UNORD_Q); }
    static Floats ValueOrZero(Mask mask, Floats value) { return _mm512_maskz_mov_ps(mask, value); }
    static Floats Choose(Mask mask, Floats yes, Floats no) { return _mm512_mask_mov_ps(no, mask, yes); }
    static Mask MaskOf(const ChannelMasks& masks) {
        return _mm512_movepi32_mask(
            _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&masks))));
    }
    static constexpr Mask kAlphas = 0x8888;
    static Floats WithAlpha(Floats colour, Floats alpha) { return Choose(kAlphas, alpha, colour); }

    template <int kOrder>
    static Floats OrderFloats(Floats pixels) {
        return _mm512_permute_ps(pixels, kOrder);
    }
    template <int kOrder>
    static Integers OrderBytes(Integers pixels) {
        return _mm512_shuffle_epi8(pixels, _mm512_broadcast_i32x4(ByteOrder<kOrder>()));
    }

    // A pack instruction works on each quarter of the registers by itself. The comments below number the pixels.
    static Integers PackBytes(Integers p0, Integers p4, Integers p8, Integers p12) {
        const Integers lower = _mm512_packs_epi32(p0, p4);         // 0 4 | 1 5 | 2 6 | 3 7
        const Integers upper = _mm512_packs_epi32(p8, p12);        // 8 12 | 9 13 | 10 14 | 11 15
        const Integers mixed = _mm512_packus_epi16(lower, upper);  // 0 4 8 12 | 1 5 9 13 | …
        return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                        mixed);
    }
    static Integers PackWords(Integers p0, Integers p4) {
        const Integers mixed = _mm512_packus_epi32(p0, p4);  // 0 4 | 1 5 | 2 6 | 3 7
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), mixed);
    }

    template <int kPart>
    static Floats BytesToFloats(Bytes pixels) {
        const __m128i half = kPart == 0 ? _mm256_castsi256_si128(pixels) : _mm256_extracti128_si256(pixels, 1);
        return ToFloats(_mm512_cvtepu8_epi32(half));
    }

    // Eight alphas, in the lower half.
    static Floats AlphasToFloats(Bytes pixels) {
        return ToFloats(_mm512_castsi256_si512(_mm256_srli_epi32(pixels, 24)));
    }
    template <int kPart>
    static Floats PutAlphas(Floats pixels, Floats alphas) {
        constexpr int k = 4 * kPart;
        const Integers from = _mm512_setr_epi32(0, 0, 0, k, 0, 0, 0, k + 1, 0, 0, 0, k + 2, 0, 0, 0, k + 3);
        return _mm512_mask_permutexvar_ps(pixels, kAlphas, from, alphas);
    }

    static Floats LoadPixels(auto at) {
        return _mm512_insertf32x8(_mm512_castps256_ps512(LoadTwoPixels(at(0), at(1))), LoadTwoPixels(at(2), at(3)),
                                  1);
    }
};

}  // namespace
}  // namespace nuv
