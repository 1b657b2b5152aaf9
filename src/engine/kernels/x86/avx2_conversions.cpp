// Compiled for AVX2: intrinsics and nothing that another file could come to share. Ends of rows are left to the
// scalar kernels.
#include <immintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

__m256i Load(const std::byte* source) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
}
__m256 LoadFloats(const std::byte* source) {
    return _mm256_loadu_ps(reinterpret_cast<const float*>(source));
}

template <bool kStream>
void Store(std::byte* destination, __m256i value) {
    if constexpr (kStream) {
        _mm256_stream_si256(reinterpret_cast<__m256i*>(destination), value);
    } else {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), value);
    }
}
template <bool kStream>
void Store(std::byte* destination, __m256 value) {
    Store<kStream>(destination, _mm256_castps_si256(value));
}

// Reorders the four bytes of each pixel: byte i becomes what was byte `i-th argument`.
template <int k0, int k1, int k2, int k3>
__m256i OrderBytes(__m256i pixels) {
    return _mm256_shuffle_epi8(
        pixels, _mm256_setr_epi8(k0, k1, k2, k3, k0 + 4, k1 + 4, k2 + 4, k3 + 4, k0 + 8, k1 + 8, k2 + 8, k3 + 8,
                                 k0 + 12, k1 + 12, k2 + 12, k3 + 12, k0, k1, k2, k3, k0 + 4, k1 + 4, k2 + 4, k3 + 4,
                                 k0 + 8, k1 + 8, k2 + 8, k3 + 8, k0 + 12, k1 + 12, k2 + 12, k3 + 12));
}

// A conversion: bytes of a pixel on either side, its scalar kernel, and eight pixels at a time.

struct Argb8In {
    static constexpr int kFrom = 4, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::copyArgb8ToRgba8;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256) {
        Store<kStream>(destination, OrderBytes<1, 2, 3, 0>(Load(source)));
    }
};

struct Bgra8In {
    static constexpr int kFrom = 4, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::copyBgra8ToRgba8;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256) {
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
    static void Convert(const std::byte* source, std::byte* destination, __m256 scale) {
        const __m256 from16Bits = _mm256_set1_ps(3.0517578e-5f);
        for (int i = 0; i < 4; ++i, source += 16, destination += 32) {
            const __m128i two = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
            const __m256 argb = _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(two)), from16Bits);
            Store<kStream>(destination, _mm256_mul_ps(_mm256_permute_ps(argb, kArgbToRgba), scale));
        }
    }
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatIn {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256 scale) {
        for (int i = 0; i < 4; ++i, source += 32, destination += 32) {
            Store<kStream>(destination, _mm256_mul_ps(_mm256_permute_ps(LoadFloats(source), kOrder), scale));
        }
    }
};

// Two pixels as integers 0 to `white`. The second operand of max is what remains of not-a-number.
__m256i ToIntegers(const std::byte* source, __m256 scale, float white) {
    const __m256 value = _mm256_mul_ps(LoadFloats(source), scale);
    const __m256 clamped = _mm256_min_ps(_mm256_max_ps(value, _mm256_setzero_ps()), _mm256_set1_ps(1.0f));
    return _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(clamped, _mm256_set1_ps(white)), _mm256_set1_ps(0.5f)));
}

template <int k0, int k1, int k2, int k3, RowConversion RowKernels::*kKernel>
struct BytesOut {
    static constexpr int kFrom = 16, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256 scale) {
        const __m256i p01 = ToIntegers(source, scale, 255.0f);
        const __m256i p23 = ToIntegers(source + 32, scale, 255.0f);
        const __m256i p45 = ToIntegers(source + 64, scale, 255.0f);
        const __m256i p67 = ToIntegers(source + 96, scale, 255.0f);
        const __m256i even = _mm256_packs_epi32(p01, p23);     // 0 2 | 1 3
        const __m256i odd = _mm256_packs_epi32(p45, p67);      // 4 6 | 5 7
        const __m256i mixed = _mm256_packus_epi16(even, odd);  // 0 2 4 6 | 1 3 5 7
        const __m256i ordered = _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
        Store<kStream>(destination, OrderBytes<k0, k1, k2, k3>(ordered));
    }
};

struct Argb16Out {
    static constexpr int kFrom = 16, kTo = 8;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::rgbaFToArgb16;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256 scale) {
        for (int i = 0; i < 2; ++i, source += 64, destination += 32) {
            const __m256i p01 = _mm256_shuffle_epi32(ToIntegers(source, scale, 32768.0f), kRgbaToArgb);
            const __m256i p23 = _mm256_shuffle_epi32(ToIntegers(source + 32, scale, 32768.0f), kRgbaToArgb);
            const __m256i mixed = _mm256_packus_epi32(p01, p23);  // 0 2 | 1 3
            Store<kStream>(destination, _mm256_permute4x64_epi64(mixed, _MM_SHUFFLE(3, 1, 2, 0)));
        }
    }
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatOut {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    // Minus zero stays, so that it takes a mask to clear what is below zero and what is not a number.
    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m256 scale) {
        for (int i = 0; i < 4; ++i, source += 32, destination += 32) {
            const __m256 value = _mm256_mul_ps(LoadFloats(source), scale);
            const __m256 positive = _mm256_and_ps(value, _mm256_cmp_ps(value, _mm256_setzero_ps(), _CMP_GE_OQ));
            const __m256 clamped = _mm256_min_ps(positive, _mm256_set1_ps(1.0f));
            Store<kStream>(destination, _mm256_permute_ps(clamped, kOrder));
        }
    }
};

// The processor's own prefetching keeps too few lines of a large buffer under way.
constexpr int kPrefetchBytes = 3072;

template <class Conversion, bool kStream>
void ConvertRow(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
    if (width < 1) return;
    constexpr int kStep = 8;
    // Streaming, every cache line is written in one way alone: whole ones past the cache, the row's ends through
    // it. Both in one line are slow.
    constexpr int kLine = 64;
    constexpr int kGroup = kStream ? 16 : kStep;  // pixels; at least a line
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
    const __m256 scales = _mm256_set1_ps(scale);
    for (; width >= kGroup; width -= kGroup) {
        if (width > kPrefetchBytes / Conversion::kFrom) {
            for (int i = 0; i < kGroup * Conversion::kFrom; i += kLine)
                _mm_prefetch(reinterpret_cast<const char*>(source + kPrefetchBytes + i), _MM_HINT_T1);
        }
        for (int i = 0; i < kGroup; i += kStep) {
            Conversion::template Convert<kStream>(source, destination, scales);
            source += kStep * Conversion::kFrom;
            destination += kStep * Conversion::kTo;
        }
    }
    if constexpr (kStream) _mm_sfence();
    scalar(width);
}

template <bool kStream>
constexpr RowKernels kTable = {
    .name = kStream ? "avx2-streaming" : "avx2",
    .copyArgb8ToRgba8 = ConvertRow<Argb8In, kStream>,
    .copyBgra8ToRgba8 = ConvertRow<Bgra8In, kStream>,
    .argb16ToRgbaF = ConvertRow<Argb16In, kStream>,
    .argbFToRgbaF = ConvertRow<FloatIn<kArgbToRgba, &RowKernels::argbFToRgbaF>, kStream>,
    .bgraFToRgbaF = ConvertRow<FloatIn<kSwapRedBlue, &RowKernels::bgraFToRgbaF>, kStream>,
    .renderRows = kStream ? RenderRowsAvx2Streaming : RenderRowsAvx2,
    .rgbaFToArgb8 = ConvertRow<BytesOut<3, 0, 1, 2, &RowKernels::rgbaFToArgb8>, kStream>,
    .rgbaFToBgra8 = ConvertRow<BytesOut<2, 1, 0, 3, &RowKernels::rgbaFToBgra8>, kStream>,
    .rgbaFToArgb16 = ConvertRow<Argb16Out, kStream>,
    .rgbaFToArgbF = ConvertRow<FloatOut<kRgbaToArgb, &RowKernels::rgbaFToArgbF>, kStream>,
    .rgbaFToBgraF = ConvertRow<FloatOut<kSwapRedBlue, &RowKernels::rgbaFToBgraF>, kStream>,
};

}  // namespace

const RowKernels kAvx2Kernels = kTable<false>;
const RowKernels kAvx2StreamingKernels = kTable<true>;

}  // namespace nuv
