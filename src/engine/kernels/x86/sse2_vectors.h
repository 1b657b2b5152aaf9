// The vector operations that conversions_text.h and tiles_text.h use, with SSE2, which every x86-64 processor has.
// The headers of the other instruction sets have the same operations for wider registers.
#pragma once

#include <emmintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

struct Vectors {
    using Floats = __m128;            // whole pixels of four floats; + - * / work on each
    using Integers = __m128i;         // as many 32-bit integers; & | ~ work on the bits
    using Mask = __m128;              // for each float: all bits set, or none
    static constexpr int kLanes = 4;  // floats in Floats

    // Conversions prefetch this far ahead. The processor's own prefetching is too slow for a large buffer.
    static constexpr int kPrefetchBytes = 3072;

    static Integers Load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
    static Floats LoadFloats(const void* from) { return _mm_loadu_ps(static_cast<const float*>(from)); }
    // The next kLanes integers of 16 bits, widened to 32.
    static Integers LoadWords(const std::byte* from) {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)), _mm_setzero_si128());
    }

    // A streaming store bypasses the cache. Its address must be aligned to the register's size.
    template <bool kStream = false>
    static void Store(void* to, auto value) {
        auto* const at = static_cast<Integers*>(to);
        const auto bits = reinterpret_cast<Integers>(value);
        kStream ? _mm_stream_si128(at, bits) : _mm_storeu_si128(at, bits);
    }

    static Floats Repeat(float value) { return _mm_set1_ps(value); }
    // first, first + 1, …
    static Floats CountFrom(std::int32_t first) {
        return _mm_cvtepi32_ps(_mm_add_epi32(_mm_set1_epi32(first), _mm_setr_epi32(0, 1, 2, 3)));
    }
    static Floats ToFloats(Integers value) { return _mm_cvtepi32_ps(value); }
    // Rounds toward zero. A value that does not fit becomes the most negative integer.
    static Integers Truncate(Floats value) { return _mm_cvttps_epi32(value); }
    // Exactly value / by, for moderate divisors.
    static Floats Quotient(Floats value, const Divisor& by) { return value / Repeat(by.value); }
    static Floats SquareRoot(Floats value) { return _mm_sqrt_ps(value); }
    static Floats Absolute(Floats value) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), value); }
    // Larger is exactly a > b ? a : b, and Smaller is a < b ? a : b. If a or b is not a number, the result is b.
    static Floats Larger(Floats a, Floats b) { return _mm_max_ps(a, b); }
    static Floats Smaller(Floats a, Floats b) { return _mm_min_ps(a, b); }

    // For not-a-number, IsNotZero is true, and IsAtLeastZero and IsAboveZero are false.
    static Mask IsAtLeastZero(Floats value) { return _mm_cmpge_ps(value, _mm_setzero_ps()); }
    static Mask IsAboveZero(Floats value) { return _mm_cmpgt_ps(value, _mm_setzero_ps()); }
    static Mask IsNotZero(Floats value) { return _mm_cmpneq_ps(value, _mm_setzero_ps()); }
    static Mask IsNotANumber(Floats value) { return _mm_cmpunord_ps(value, value); }
    static Floats ValueOrZero(Mask mask, Floats value) { return _mm_and_ps(mask, value); }
    static Floats Choose(Mask mask, Floats yes, Floats no) {
        return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
    }
    // Repeats the masks of the four channels for each pixel.
    static Mask MaskOf(const ChannelMasks& masks) { return LoadFloats(&masks); }
    // Takes the colour from `colour` and the alpha from `alpha`, which has its alpha in all four channels.
    static Floats WithAlpha(Floats colour, Floats alpha) {
        return _mm_movelh_ps(colour, _mm_unpackhi_ps(colour, alpha));
    }

    // Reorders the channels of each pixel; the orders are in tile_kernels.h.
    template <int kOrder>
    static Floats OrderFloats(Floats pixels) {
        return _mm_shuffle_ps(pixels, pixels, kOrder);
    }
    template <int kOrder>
    static Integers OrderBytes(Integers pixels) {
        if constexpr (kOrder == kArgbToRgba) {
            return _mm_srli_epi32(pixels, 8) | _mm_slli_epi32(pixels, 24);
        } else if constexpr (kOrder == kRgbaToArgb) {
            return _mm_slli_epi32(pixels, 8) | _mm_srli_epi32(pixels, 24);
        } else if constexpr (kOrder == kSwapRedBlue) {
            const Integers outer = _mm_set1_epi32(0x00FF00FF);
            const Integers both = pixels & outer;
            return _mm_andnot_si128(outer, pixels) | _mm_slli_epi32(both, 16) | _mm_srli_epi32(both, 16);
        } else {
            static_assert(kOrder == kAlphaEverywhere);
            const Integers once = _mm_srli_epi32(pixels, 24);
            const Integers twice = once | _mm_slli_epi32(once, 8);
            return twice | _mm_slli_epi32(twice, 16);
        }
    }

    // Packs four registers of integers from 0 to 255 into bytes, in the order of the pixels.
    static Integers PackBytes(Integers a, Integers b, Integers c, Integers d) {
        return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    }
    // Packs two registers of integers from 0 to 65535 into 16 bits each. SSE2 can only pack signed integers, so
    // the function subtracts 32768 before and adds it again after.
    static Integers PackWords(Integers a, Integers b) {
        const Integers middle = _mm_set1_epi32(32768);
        return _mm_packs_epi32(_mm_sub_epi32(a, middle), _mm_sub_epi32(b, middle)) ^ _mm_set1_epi16(-32768);
    }

    // Pixels of four bytes. AVX-512 uses shorter registers for them than for Integers.
    using Bytes = __m128i;
    static constexpr int kBytePixels = 4;

    static Bytes LoadBytes(const std::byte* from) { return Load(from); }
    static Bytes RepeatBits(std::uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }
    static Bytes LargerBytes(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }
    // Sets all bits of each pixel that is not zero, and none of the others.
    static Bytes AllBitsUnlessZero(Bytes pixels) { return ~_mm_cmpeq_epi32(pixels, _mm_setzero_si128()); }
    // The bytes become several registers of floats. Returns register kPart.
    template <int kPart>
    static Floats BytesToFloats(Bytes pixels) {
        const Bytes none = _mm_setzero_si128();
        const Bytes half = kPart < 2 ? _mm_unpacklo_epi8(pixels, none) : _mm_unpackhi_epi8(pixels, none);
        return ToFloats(kPart % 2 == 0 ? _mm_unpacklo_epi16(half, none) : _mm_unpackhi_epi16(half, none));
    }

    // The alphas alone, in the order of the pixels.
    static Floats AlphasToFloats(Bytes pixels) { return ToFloats(_mm_srli_epi32(pixels, 24)); }
    // Puts the alphas of AlphasToFloats into register kPart of BytesToFloats. The alphas in `pixels` must be zero.
    template <int kPart>
    static Floats PutAlphas(Floats pixels, Floats alphas) {
        const Floats alpha = OrderFloats<kPart * 0b01'01'01'01>(alphas);
        return _mm_or_ps(pixels, _mm_castsi128_ps(_mm_slli_si128(_mm_castps_si128(alpha), 12)));
    }

    // One register of float pixels, read from the addresses at(0), at(1), …
    static Floats LoadPixels(auto at) { return LoadFloats(at(0)); }
};

}  // namespace
}  // namespace nuv
