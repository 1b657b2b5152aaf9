// For every x86-64 processor.
#include <emmintrin.h>

#include "engine/x86/tile_kernels.h"

namespace nuv {
namespace {

template <bool kCubic>
void Map(const MagnifiedRow& row, std::int32_t x, int count, std::int32_t* columns, std::int32_t* rows) {
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 cx = _mm_set1_ps(row.cx);
    const __m128 cyE = _mm_set1_ps(row.cyE);
    const __m128 R = _mm_set1_ps(row.R);
    const __m128 amount = _mm_set1_ps(row.amount);
    const __m128 percent = _mm_set1_ps(row.percent);
    const __m128 dy = _mm_set1_ps(row.dy);
    const __m128 dy2 = _mm_set1_ps(row.dy2);
    const __m128 offsetX = _mm_set1_ps(row.offsetX);
    const __m128 offsetY = _mm_set1_ps(row.offsetY);
    __m128i xs = _mm_add_epi32(_mm_set1_epi32(x), _mm_setr_epi32(0, 1, 2, 3));
    for (int i = 0; i < count; i += 4) {
        const __m128 dx = _mm_sub_ps(_mm_cvtepi32_ps(xs), cx);
        const __m128 r = _mm_sqrt_ps(_mm_add_ps(_mm_mul_ps(dx, dx), dy2));
        const __m128 t = _mm_div_ps(r, R);
        const __m128 ta = _mm_mul_ps(t, amount);
        const __m128 s = kCubic ? _mm_mul_ps(ta, t) : ta;
        const __m128 k = _mm_add_ps(one, _mm_mul_ps(s, percent));
        const __m128 inv = _mm_div_ps(one, k);
        const __m128i zx = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(inv, dx), cx));
        const __m128i zy = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(inv, dy), cyE));
        const __m128i column = _mm_cvttps_epi32(_mm_sub_ps(_mm_cvtepi32_ps(zx), offsetX));
        const __m128i line = _mm_cvttps_epi32(_mm_sub_ps(_mm_cvtepi32_ps(zy), offsetY));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(columns + i), column);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(rows + i), line);
        xs = _mm_add_epi32(xs, _mm_set1_epi32(4));
    }
}

// `mask` is all ones or all zeros in every element.
__m128i Choose(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}
__m128 Choose(__m128 mask, __m128 yes, __m128 no) {
    return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

// Whether 0 <= value < limit.
__m128i IsInside(__m128i value, __m128i limit) {
    return _mm_andnot_si128(_mm_srai_epi32(value, 31), _mm_cmpgt_epi32(limit, value));
}

void Locate(const SourcePixels& source, const std::int32_t* columns, const std::int32_t* rows, int count,
            const std::byte** pixels) {
    const __m128i width = _mm_set1_epi32(source.width);
    const __m128i height = _mm_set1_epi32(source.height);
    const __m128i rowBytes = _mm_set1_epi32(source.rowBytes);
    const __m128i negative = _mm_set1_epi64x(source.rowBytes < 0 ? -1 : 0);
    const __m128i pixelBytes = _mm_set1_epi32(source.pixelBytes);
    const __m128i first = _mm_set1_epi64x(reinterpret_cast<std::intptr_t>(source.first));
    const __m128i outside = _mm_set1_epi64x(reinterpret_cast<std::intptr_t>(source.outside));
    // Addresses of the even elements; those of the odd ones after a shift. There is but an unsigned product: a
    // negative stride went into it as 2^32 more.
    const auto address = [&](__m128i column, __m128i row, __m128i inside) {
        const __m128i excess = _mm_and_si128(_mm_slli_epi64(row, 32), negative);
        const __m128i rowOffset = _mm_sub_epi64(_mm_mul_epu32(row, rowBytes), excess);
        const __m128i offset = _mm_add_epi64(rowOffset, _mm_mul_epu32(column, pixelBytes));
        const __m128i wide = _mm_shuffle_epi32(inside, _MM_SHUFFLE(2, 2, 0, 0));
        return Choose(wide, _mm_add_epi64(first, offset), outside);
    };
    for (int i = 0; i < count; i += 4) {
        const __m128i column = _mm_loadu_si128(reinterpret_cast<const __m128i*>(columns + i));
        const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + i));
        const __m128i inside = _mm_and_si128(IsInside(column, width), IsInside(row, height));
        const __m128i even = address(column, row, inside);
        const __m128i odd =
            address(_mm_srli_epi64(column, 32), _mm_srli_epi64(row, 32), _mm_srli_epi64(inside, 32));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + i), _mm_unpacklo_epi64(even, odd));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + i + 2), _mm_unpackhi_epi64(even, odd));
    }
}

void Prefetch(const std::byte* pixels) {
    _mm_prefetch(reinterpret_cast<const char*>(pixels), _MM_HINT_T1);
}

template <bool kStream>
void Store(std::byte* result, __m128 pixel) {
    if constexpr (kStream) {
        _mm_stream_ps(reinterpret_cast<float*>(result), pixel);
    } else {
        _mm_storeu_ps(reinterpret_cast<float*>(result), pixel);
    }
}

__m128 Larger(__m128 a0, __m128 a1) {
    return _mm_max_ps(a0, a1);  // a0 > a1 ? a0 : a1, to the letter
}

// See Product in scalar_row_worker.cpp.
__m128 Product(__m128 a0, __m128 a1) {
    return Choose(_mm_cmpunord_ps(a0, a0), _mm_add_ps(a0, a0), _mm_mul_ps(a0, a1));
}

__m128 Distance(__m128 a0, __m128 a1) {
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), _mm_sub_ps(a0, a1));
}

constexpr float kFrom8Bits = 0.003921569f;
static_assert(255 * kFrom8Bits == 1.0f, "full coverage is a byte of 255");

// Alpha takes floats for shows 1 and 2 alone; else the larger of two bytes is the larger value.
template <int kShow, bool kStream>
void ComposeBytes(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                  int count, const ChannelMasks& masks) {
    const __m128i alphaBits = _mm_set1_epi32(static_cast<int>(0xFF000000));
    const __m128i take = _mm_set1_epi32(
        static_cast<int>((masks.channel[0] & 0xFF) | (masks.channel[1] & 0xFF00) | (masks.channel[2] & 0xFF0000)));
    const __m128i keep = _mm_andnot_si128(_mm_or_si128(take, alphaBits), _mm_set1_epi32(-1));
    const __m128 from8Bits = _mm_set1_ps(kFrom8Bits);
    const __m128i none = _mm_setzero_si128();
    for (int i = 0; i < count; i += 4, direct += 16, magnified += 16, next += 16, result += 64) {
        Prefetch(next);
        const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(direct));
        const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i*>(magnified));
        const __m128i covered = _mm_and_si128(_mm_max_epu8(d, m), alphaBits);
        __m128i pixels;  // four of R G B A
        if constexpr (kShow == 3) {
            const __m128i twice = _mm_or_si128(covered, _mm_srli_epi32(covered, 8));
            pixels = _mm_or_si128(twice, _mm_srli_epi32(twice, 16));
        } else if constexpr (kShow == 4) {
            pixels = _mm_andnot_si128(_mm_cmpeq_epi32(covered, none), _mm_set1_epi32(-1));
        } else {
            // Colour under zero alpha is black.
            const __m128i noDirect = _mm_cmpeq_epi32(_mm_and_si128(d, alphaBits), none);
            const __m128i noMagnified = _mm_cmpeq_epi32(_mm_and_si128(m, alphaBits), none);
            pixels = _mm_or_si128(_mm_andnot_si128(noDirect, _mm_and_si128(d, keep)),
                                  _mm_andnot_si128(noMagnified, _mm_and_si128(m, take)));
            if constexpr (kShow == 0) pixels = _mm_or_si128(pixels, covered);
        }
        const auto toFloats = [&](__m128i channels) {  // one pixel of 32-bit integers
            return _mm_mul_ps(_mm_cvtepi32_ps(channels), from8Bits);
        };
        const __m128i low = _mm_unpacklo_epi8(pixels, none);
        const __m128i high = _mm_unpackhi_epi8(pixels, none);
        __m128 pixel0 = toFloats(_mm_unpacklo_epi16(low, none));
        __m128 pixel1 = toFloats(_mm_unpackhi_epi16(low, none));
        __m128 pixel2 = toFloats(_mm_unpacklo_epi16(high, none));
        __m128 pixel3 = toFloats(_mm_unpackhi_epi16(high, none));
        if constexpr (kShow == 1 || kShow == 2) {
            const __m128 a0 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_srli_epi32(d, 24)), from8Bits);
            const __m128 a1 = _mm_mul_ps(_mm_cvtepi32_ps(_mm_srli_epi32(m, 24)), from8Bits);
            const __m128 alpha = kShow == 1 ? Distance(a0, a1) : _mm_mul_ps(a0, a1);
            // `pixel` has no alpha yet: (r g b 0) or (0 0 0 a), with a moved to the top.
            const auto with = [](__m128 pixel, __m128 repeated) {
                return _mm_or_ps(pixel, _mm_castsi128_ps(_mm_slli_si128(_mm_castps_si128(repeated), 12)));
            };
            pixel0 = with(pixel0, alpha);
            pixel1 = with(pixel1, _mm_shuffle_ps(alpha, alpha, _MM_SHUFFLE(1, 1, 1, 1)));
            pixel2 = with(pixel2, _mm_shuffle_ps(alpha, alpha, _MM_SHUFFLE(2, 2, 2, 2)));
            pixel3 = with(pixel3, _mm_shuffle_ps(alpha, alpha, _MM_SHUFFLE(3, 3, 3, 3)));
        }
        Store<kStream>(result, pixel0);
        Store<kStream>(result + 16, pixel1);
        Store<kStream>(result + 32, pixel2);
        Store<kStream>(result + 48, pixel3);
    }
}

template <int kShow, bool kStream>
void ComposeFloats(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                   int count, const ChannelMasks& masks) {
    const __m128 take = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&masks)));
    const __m128 keep = _mm_andnot_ps(take, _mm_castsi128_ps(_mm_setr_epi32(-1, -1, -1, 0)));
    const __m128 alphaBits = _mm_castsi128_ps(_mm_setr_epi32(0, 0, 0, -1));
    const __m128 none = _mm_setzero_ps();
    for (int i = 0; i < count; ++i, direct += 16, magnified += 16, next += 16, result += 16) {
        Prefetch(next);
        const __m128 d = _mm_loadu_ps(reinterpret_cast<const float*>(direct));
        const __m128 m = _mm_loadu_ps(reinterpret_cast<const float*>(magnified));
        const __m128 a0 = _mm_shuffle_ps(d, d, _MM_SHUFFLE(3, 3, 3, 3));
        const __m128 a1 = _mm_shuffle_ps(m, m, _MM_SHUFFLE(3, 3, 3, 3));
        const __m128 covered = Larger(a0, a1);
        if constexpr (kShow == 3) {
            Store<kStream>(result, covered);
        } else if constexpr (kShow == 4) {
            Store<kStream>(result, Choose(_mm_cmpgt_ps(covered, none), _mm_set1_ps(1.0f), covered));
        } else {
            // Colour under zero alpha is black.
            const __m128 fromDirect = _mm_andnot_ps(_mm_cmpeq_ps(a0, none), keep);
            const __m128 fromMagnified = _mm_andnot_ps(_mm_cmpeq_ps(a1, none), take);
            const __m128 colour = _mm_or_ps(_mm_and_ps(d, fromDirect), _mm_and_ps(m, fromMagnified));
            const __m128 alpha = kShow == 0 ? covered : kShow == 1 ? Distance(a0, a1) : Product(a0, a1);
            Store<kStream>(result, _mm_or_ps(colour, _mm_and_ps(alpha, alphaBits)));
        }
    }
}

template <bool kStream>
constexpr Composers kComposers = {
    {ComposeBytes<0, kStream>, ComposeBytes<1, kStream>, ComposeBytes<2, kStream>, ComposeBytes<3, kStream>,
     ComposeBytes<4, kStream>},
    {ComposeFloats<0, kStream>, ComposeFloats<1, kStream>, ComposeFloats<2, kStream>, ComposeFloats<3, kStream>,
     ComposeFloats<4, kStream>},
};

}  // namespace

const TileKernels kSse2Tiles = {
    .square = Map<false>,
    .cubic = Map<true>,
    .locate = Locate,
    .cached = kComposers<false>,
    .streamed = kComposers<true>,
};

}  // namespace nuv
