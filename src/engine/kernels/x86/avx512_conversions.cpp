// Compiled for AVX-512: intrinsics and nothing that another file could come to share. Ends of rows are left to the
// scalar kernels. As avx2_conversions.cpp, but a store is a whole cache line, which is what streaming gains from.
#include <immintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

__m512i Load(const std::byte* source) {
    return _mm512_loadu_si512(source);
}
__m512 LoadFloats(const std::byte* source) {
    return _mm512_loadu_ps(source);
}

template <bool kStream>
void Store(std::byte* destination, __m512i value) {
    if constexpr (kStream) {
        _mm512_stream_si512(reinterpret_cast<__m512i*>(destination), value);
    } else {
        _mm512_storeu_si512(destination, value);
    }
}
template <bool kStream>
void Store(std::byte* destination, __m512 value) {
    Store<kStream>(destination, _mm512_castps_si512(value));
}

// Reorders the four bytes of each pixel: byte i becomes what was byte `i-th argument`.
template <int k0, int k1, int k2, int k3>
__m512i OrderBytes(__m512i pixels) {
    return _mm512_shuffle_epi8(
        pixels, _mm512_broadcast_i32x4(_mm_setr_epi8(k0, k1, k2, k3, k0 + 4, k1 + 4, k2 + 4, k3 + 4, k0 + 8, k1 + 8,
                                                     k2 + 8, k3 + 8, k0 + 12, k1 + 12, k2 + 12, k3 + 12)));
}

// A conversion: bytes of a pixel on either side, its scalar kernel, and sixteen pixels at a time.

struct Argb8In {
    static constexpr int kFrom = 4, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::copyArgb8ToRgba8;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512) {
        Store<kStream>(destination, OrderBytes<1, 2, 3, 0>(Load(source)));
    }
};

struct Bgra8In {
    static constexpr int kFrom = 4, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::copyBgra8ToRgba8;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512) {
        Store<kStream>(destination, OrderBytes<2, 1, 0, 3>(Load(source)));
    }
};

constexpr int kArgbToRgba = _MM_SHUFFLE(0, 3, 2, 1);
constexpr int kRgbaToArgb = _MM_SHUFFLE(2, 1, 0, 3);
constexpr int kSwapRedBlue = _MM_SHUFFLE(3, 0, 1, 2);

struct Argb16In {
    static constexpr int kFrom = 8, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::argb16ToRgbaF;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512 scale) {
        const __m512 from16Bits = _mm512_set1_ps(3.0517578e-5f);
        for (int i = 0; i < 4; ++i, source += 32, destination += 64) {
            const __m256i four = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
            const __m512 argb = _mm512_mul_ps(_mm512_cvtepi32_ps(_mm512_cvtepu16_epi32(four)), from16Bits);
            Store<kStream>(destination, _mm512_mul_ps(_mm512_permute_ps(argb, kArgbToRgba), scale));
        }
    }
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatIn {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512 scale) {
        for (int i = 0; i < 4; ++i, source += 64, destination += 64) {
            Store<kStream>(destination, _mm512_mul_ps(_mm512_permute_ps(LoadFloats(source), kOrder), scale));
        }
    }
};

// Four pixels as integers 0 to `white`. The second operand of max is what remains of not-a-number.
__m512i ToIntegers(const std::byte* source, __m512 scale, float white) {
    const __m512 value = _mm512_mul_ps(LoadFloats(source), scale);
    const __m512 clamped = _mm512_min_ps(_mm512_max_ps(value, _mm512_setzero_ps()), _mm512_set1_ps(1.0f));
    return _mm512_cvttps_epi32(_mm512_add_ps(_mm512_mul_ps(clamped, _mm512_set1_ps(white)), _mm512_set1_ps(0.5f)));
}

template <int k0, int k1, int k2, int k3, RowConversion RowKernels::*kKernel>
struct BytesOut {
    static constexpr int kFrom = 16, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512 scale) {
        const __m512i p0 = ToIntegers(source, scale, 255.0f);
        const __m512i p4 = ToIntegers(source + 64, scale, 255.0f);
        const __m512i p8 = ToIntegers(source + 128, scale, 255.0f);
        const __m512i p12 = ToIntegers(source + 192, scale, 255.0f);
        const __m512i lower = _mm512_packs_epi32(p0, p4);         // 0 4 | 1 5 | 2 6 | 3 7
        const __m512i upper = _mm512_packs_epi32(p8, p12);        // 8 12 | 9 13 | 10 14 | 11 15
        const __m512i mixed = _mm512_packus_epi16(lower, upper);  // 0 4 8 12 | 1 5 9 13 | …
        const __m512i ordered = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), mixed);
        Store<kStream>(destination, OrderBytes<k0, k1, k2, k3>(ordered));
    }
};

struct Argb16Out {
    static constexpr int kFrom = 16, kTo = 8;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::rgbaFToArgb16;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512 scale) {
        for (int i = 0; i < 2; ++i, source += 128, destination += 64) {
            const __m512i p0 = _mm512_shuffle_epi32(ToIntegers(source, scale, 32768.0f), kPermutation);
            const __m512i p4 = _mm512_shuffle_epi32(ToIntegers(source + 64, scale, 32768.0f), kPermutation);
            const __m512i mixed = _mm512_packus_epi32(p0, p4);  // 0 4 | 1 5 | 2 6 | 3 7
            Store<kStream>(destination, _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), mixed));
        }
    }

private:
    static constexpr auto kPermutation = static_cast<_MM_PERM_ENUM>(kRgbaToArgb);
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatOut {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    // Minus zero stays, so that it takes a mask to clear what is below zero and what is not a number.
    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m512 scale) {
        for (int i = 0; i < 4; ++i, source += 64, destination += 64) {
            const __m512 value = _mm512_mul_ps(LoadFloats(source), scale);
            const __mmask16 positive = _mm512_cmp_ps_mask(value, _mm512_setzero_ps(), _CMP_GE_OQ);
            const __m512 clamped = _mm512_maskz_min_ps(positive, value, _mm512_set1_ps(1.0f));
            Store<kStream>(destination, _mm512_permute_ps(clamped, kOrder));
        }
    }
};

// The processor's own prefetching keeps too few lines of a large buffer under way.
constexpr int kPrefetchBytes = 4096;

template <class Conversion, bool kStream>
void ConvertRow(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
    if (width < 1) return;
    constexpr int kStep = 16;
    constexpr int kLine = 64;
    const auto scalar = [&](std::int32_t pixels) {
        (kScalarKernels.*Conversion::kScalar)(source, destination, pixels, scale);
        source += std::ptrdiff_t{pixels} * Conversion::kFrom;
        destination += std::ptrdiff_t{pixels} * Conversion::kTo;
        width -= pixels;
    };
    if constexpr (kStream) {
        const auto misaligned = static_cast<int>(reinterpret_cast<std::uintptr_t>(destination) % kLine);
        if (misaligned % Conversion::kTo != 0) {
            return ConvertRow<Conversion, false>(source, destination, width, scale);
        }
        const int head = (kLine - misaligned) % kLine / Conversion::kTo;
        scalar(head < width ? head : width);
    }
    const __m512 scales = _mm512_set1_ps(scale);
    for (; width >= kStep; width -= kStep) {
        if (width > kPrefetchBytes / Conversion::kFrom) {
            for (int i = 0; i < kStep * Conversion::kFrom; i += kLine)
                _mm_prefetch(reinterpret_cast<const char*>(source + kPrefetchBytes + i), _MM_HINT_T1);
        }
        Conversion::template Convert<kStream>(source, destination, scales);
        source += kStep * Conversion::kFrom;
        destination += kStep * Conversion::kTo;
    }
    if constexpr (kStream) _mm_sfence();
    scalar(width);
}

template <bool kStream>
constexpr RowKernels kTable = {
    .name = kStream ? "avx512-streaming" : "avx512",
    .copyArgb8ToRgba8 = ConvertRow<Argb8In, kStream>,
    .copyBgra8ToRgba8 = ConvertRow<Bgra8In, kStream>,
    .argb16ToRgbaF = ConvertRow<Argb16In, kStream>,
    .argbFToRgbaF = ConvertRow<FloatIn<kArgbToRgba, &RowKernels::argbFToRgbaF>, kStream>,
    .bgraFToRgbaF = ConvertRow<FloatIn<kSwapRedBlue, &RowKernels::bgraFToRgbaF>, kStream>,
    .renderRows = kStream ? RenderRowsAvx512Streaming : RenderRowsAvx512,
    .rgbaFToArgb8 = ConvertRow<BytesOut<3, 0, 1, 2, &RowKernels::rgbaFToArgb8>, kStream>,
    .rgbaFToBgra8 = ConvertRow<BytesOut<2, 1, 0, 3, &RowKernels::rgbaFToBgra8>, kStream>,
    .rgbaFToArgb16 = ConvertRow<Argb16Out, kStream>,
    .rgbaFToArgbF = ConvertRow<FloatOut<kRgbaToArgb, &RowKernels::rgbaFToArgbF>, kStream>,
    .rgbaFToBgraF = ConvertRow<FloatOut<kSwapRedBlue, &RowKernels::rgbaFToBgraF>, kStream>,
};

}  // namespace

const RowKernels kAvx512Kernels = kTable<false>;
const RowKernels kAvx512StreamingKernels = kTable<true>;

}  // namespace nuv
