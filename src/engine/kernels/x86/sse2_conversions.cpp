// For every x86-64 processor. Ends of rows are left to the scalar kernels.
#include <emmintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

__m128i Load(const std::byte* source) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
}
__m128 LoadFloats(const std::byte* source) {
    return _mm_loadu_ps(reinterpret_cast<const float*>(source));
}

template <bool kStream>
void Store(std::byte* destination, __m128i value) {
    if constexpr (kStream) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(destination), value);
    } else {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), value);
    }
}
template <bool kStream>
void Store(std::byte* destination, __m128 value) {
    Store<kStream>(destination, _mm_castps_si128(value));
}

// Byte orders within 32-bit pixels; the first byte is the lowest.
__m128i ArgbToRgba(__m128i pixels) {
    return _mm_or_si128(_mm_srli_epi32(pixels, 8), _mm_slli_epi32(pixels, 24));
}
__m128i RgbaToArgb(__m128i pixels) {
    return _mm_or_si128(_mm_slli_epi32(pixels, 8), _mm_srli_epi32(pixels, 24));
}
__m128i SwapRedBlue(__m128i pixels) {
    const __m128i outer = _mm_set1_epi32(0x00FF00FF);
    const __m128i both = _mm_and_si128(pixels, outer);
    return _mm_or_si128(_mm_andnot_si128(outer, pixels),
                        _mm_or_si128(_mm_slli_epi32(both, 16), _mm_srli_epi32(both, 16)));
}

constexpr int kArgbToRgba = _MM_SHUFFLE(0, 3, 2, 1);
constexpr int kRgbaToArgb = _MM_SHUFFLE(2, 1, 0, 3);
constexpr int kSwapRedBlue = _MM_SHUFFLE(3, 0, 1, 2);

template <int kOrder>
__m128 Shuffle(__m128 pixel) {
    return _mm_shuffle_ps(pixel, pixel, kOrder);
}

// A conversion: bytes of a pixel on either side, its scalar kernel, and four pixels at a time.

template <__m128i (*kOrder)(__m128i), RowConversion RowKernels::*kKernel>
struct BytesIn {
    static constexpr int kFrom = 4, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128) {
        Store<kStream>(destination, kOrder(Load(source)));
    }
};

struct Argb16In {
    static constexpr int kFrom = 8, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::argb16ToRgbaF;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128 scale) {
        const __m128i none = _mm_setzero_si128();
        const auto convert = [&](std::byte* to, __m128i argb) {
            const __m128 value = _mm_mul_ps(_mm_cvtepi32_ps(argb), _mm_set1_ps(3.0517578e-5f));
            Store<kStream>(to, _mm_mul_ps(Shuffle<kArgbToRgba>(value), scale));
        };
        for (int i = 0; i < 2; ++i, source += 16, destination += 32) {
            const __m128i two = Load(source);
            convert(destination, _mm_unpacklo_epi16(two, none));
            convert(destination + 16, _mm_unpackhi_epi16(two, none));
        }
    }
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatIn {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128 scale) {
        for (int i = 0; i < 4; ++i, source += 16, destination += 16)
            Store<kStream>(destination, _mm_mul_ps(Shuffle<kOrder>(LoadFloats(source)), scale));
    }
};

// One pixel as integers 0 to `white`. The second operand of max is what remains of not-a-number.
__m128i ToIntegers(const std::byte* source, __m128 scale, float white) {
    const __m128 value = _mm_mul_ps(LoadFloats(source), scale);
    const __m128 clamped = _mm_min_ps(_mm_max_ps(value, _mm_setzero_ps()), _mm_set1_ps(1.0f));
    return _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(clamped, _mm_set1_ps(white)), _mm_set1_ps(0.5f)));
}

template <__m128i (*kOrder)(__m128i), RowConversion RowKernels::*kKernel>
struct BytesOut {
    static constexpr int kFrom = 16, kTo = 4;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128 scale) {
        const __m128i p01 =
            _mm_packs_epi32(ToIntegers(source, scale, 255.0f), ToIntegers(source + 16, scale, 255.0f));
        const __m128i p23 =
            _mm_packs_epi32(ToIntegers(source + 32, scale, 255.0f), ToIntegers(source + 48, scale, 255.0f));
        Store<kStream>(destination, kOrder(_mm_packus_epi16(p01, p23)));
    }
};

struct Argb16Out {
    static constexpr int kFrom = 16, kTo = 8;
    static constexpr RowConversion RowKernels::*kScalar = &RowKernels::rgbaFToArgb16;

    // There is but a signed pack: the values go through it less 32768.
    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128 scale) {
        const auto argb = [&](const std::byte* from) {
            const __m128i rgba = ToIntegers(from, scale, 32768.0f);
            return _mm_sub_epi32(_mm_shuffle_epi32(rgba, kRgbaToArgb), _mm_set1_epi32(32768));
        };
        for (int i = 0; i < 2; ++i, source += 32, destination += 16) {
            const __m128i two = _mm_packs_epi32(argb(source), argb(source + 16));
            Store<kStream>(destination, _mm_xor_si128(two, _mm_set1_epi16(-32768)));
        }
    }
};

template <int kOrder, RowConversion RowKernels::*kKernel>
struct FloatOut {
    static constexpr int kFrom = 16, kTo = 16;
    static constexpr RowConversion RowKernels::*kScalar = kKernel;

    // Minus zero stays, so that it takes a mask to clear what is below zero and what is not a number.
    template <bool kStream>
    static void Convert(const std::byte* source, std::byte* destination, __m128 scale) {
        for (int i = 0; i < 4; ++i, source += 16, destination += 16) {
            const __m128 value = _mm_mul_ps(LoadFloats(source), scale);
            const __m128 positive = _mm_and_ps(value, _mm_cmpge_ps(value, _mm_setzero_ps()));
            Store<kStream>(destination, Shuffle<kOrder>(_mm_min_ps(positive, _mm_set1_ps(1.0f))));
        }
    }
};

// The processor's own prefetching keeps too few lines of a large buffer under way.
constexpr int kPrefetchBytes = 3072;

template <class Conversion, bool kStream>
void ConvertRow(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
    if (width < 1) return;
    constexpr int kStep = 4;
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
    const __m128 scales = _mm_set1_ps(scale);
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
    .name = kStream ? "sse2-streaming" : "sse2",
    .copyArgb8ToRgba8 = ConvertRow<BytesIn<ArgbToRgba, &RowKernels::copyArgb8ToRgba8>, kStream>,
    .copyBgra8ToRgba8 = ConvertRow<BytesIn<SwapRedBlue, &RowKernels::copyBgra8ToRgba8>, kStream>,
    .argb16ToRgbaF = ConvertRow<Argb16In, kStream>,
    .argbFToRgbaF = ConvertRow<FloatIn<kArgbToRgba, &RowKernels::argbFToRgbaF>, kStream>,
    .bgraFToRgbaF = ConvertRow<FloatIn<kSwapRedBlue, &RowKernels::bgraFToRgbaF>, kStream>,
    .renderRows = kStream ? RenderRowsSse2Streaming : RenderRowsSse2,
    .rgbaFToArgb8 = ConvertRow<BytesOut<RgbaToArgb, &RowKernels::rgbaFToArgb8>, kStream>,
    .rgbaFToBgra8 = ConvertRow<BytesOut<SwapRedBlue, &RowKernels::rgbaFToBgra8>, kStream>,
    .rgbaFToArgb16 = ConvertRow<Argb16Out, kStream>,
    .rgbaFToArgbF = ConvertRow<FloatOut<kRgbaToArgb, &RowKernels::rgbaFToArgbF>, kStream>,
    .rgbaFToBgraF = ConvertRow<FloatOut<kSwapRedBlue, &RowKernels::rgbaFToBgraF>, kStream>,
};

}  // namespace

const RowKernels kSse2Kernels = kTable<false>;
const RowKernels kSse2StreamingKernels = kTable<true>;

}  // namespace nuv
