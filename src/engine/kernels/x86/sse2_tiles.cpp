// For every x86-64 processor.
#include <emmintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

// `mask` is all ones or all zeros in every element.
__m128 Choose(__m128 mask, __m128 yes, __m128 no) {
    return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

void Prefetch(const std::byte* pixels) {
    _mm_prefetch(reinterpret_cast<const char*>(pixels), _MM_HINT_T1);
}

const std::byte* PixelOf(const SourcePixels& source, std::int32_t column, std::int32_t row) {
    return source.first + std::ptrdiff_t{source.rowBytes} * row + std::ptrdiff_t{column} * source.pixelBytes;
}

// Four pixels of bytes.
__m128i Four(const std::byte* const pixels[4]) {
    const auto load = [&](int i) { return _mm_loadu_si32(pixels[i]); };
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(load(0), load(1)), _mm_unpacklo_epi32(load(2), load(3)));
}

void LineOfBytes(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                 std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    const auto at = [&](int i) { return line + std::ptrdiff_t{columns[i]} * 4; };
    for (int i = 0; i < count; i += 4) {
        const std::byte* const pixels[] = {at(i), at(i + 1), at(i + 2), at(i + 3)};
        _mm_storeu_si128(reinterpret_cast<__m128i*>(samples + i * 4), Four(pixels));
        if (i % 16 == 0) Prefetch(pixels[0] + ahead);
    }
}

void LineOfFloats(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                  std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    for (int i = 0; i < count; ++i) {
        const std::byte* const pixel = line + std::ptrdiff_t{columns[i]} * 16;
        _mm_storeu_ps(reinterpret_cast<float*>(samples + i * 16),
                      _mm_loadu_ps(reinterpret_cast<const float*>(pixel)));
        if (i % 4 == 0) Prefetch(pixel + ahead);
    }
}

bool IsInside(std::int32_t value, std::int32_t limit) {
    return value >= 0 && value < limit;
}

// Where a run reads its enlarged samples: columns and rows of the source, or beyond.
struct Places {
    std::int32_t columns[kRunPixels], rows[kRunPixels];
};

template <bool kCubic>
inline void Locate(const MagnifiedRow& row, std::int32_t x, int count, Places& places) {
    const __m128 cx = _mm_set1_ps(row.cx);
    for (int i = 0; i < count; i += 4) {
        const __m128i xs = _mm_add_epi32(_mm_set1_epi32(x + i), _mm_setr_epi32(0, 1, 2, 3));
        const __m128 dx = _mm_sub_ps(_mm_cvtepi32_ps(xs), cx);
        const __m128 r = _mm_sqrt_ps(_mm_add_ps(_mm_mul_ps(dx, dx), _mm_set1_ps(row.dy2)));
        const __m128 t = _mm_div_ps(r, _mm_set1_ps(row.R));
        const __m128 ta = _mm_mul_ps(t, _mm_set1_ps(row.amount));
        const __m128 s = kCubic ? _mm_mul_ps(ta, t) : ta;
        const __m128 k = _mm_add_ps(_mm_set1_ps(1.0f), _mm_mul_ps(s, _mm_set1_ps(row.percent)));
        const __m128 inv = _mm_div_ps(_mm_set1_ps(1.0f), k);
        const auto place = [&](__m128 distance, __m128 centre, float offset, std::int32_t* to) {
            const __m128i whole = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(inv, distance), centre));
            const __m128i found = _mm_cvttps_epi32(_mm_sub_ps(_mm_cvtepi32_ps(whole), _mm_set1_ps(offset)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), found);
        };
        place(dx, cx, row.offsetX, places.columns + i);
        place(_mm_set1_ps(row.dy), _mm_set1_ps(row.cyE), row.offsetY, places.rows + i);
    }
}

// The samples of a run along a curve, one address after the other.
template <bool kCubic>
class Curve {
public:
    Curve(const SourcePixels& source, const MagnifiedRow& row, std::int32_t x, int count) : source_(source) {
        Locate<kCubic>(row, x, count, places_);
    }

    const std::byte* Pixel(int i) const {
        static constexpr std::byte kTransparent[16]{};
        const bool inside =
            IsInside(places_.columns[i], source_.width) && IsInside(places_.rows[i], source_.height);
        return inside ? PixelOf(source_, places_.columns[i], places_.rows[i]) : kTransparent;
    }

    void PrefetchBelow(const std::byte* pixel) const {
        Prefetch(pixel + std::ptrdiff_t{source_.rowBytes} * kRowsAhead);
    }

private:
    const SourcePixels source_;  // a copy, which stores of samples cannot change
    Places places_;
};

template <bool kCubic>
void CurveOfBytes(const SourcePixels& source, const MagnifiedRow& row, std::int32_t x, int count,
                  std::byte* samples) {
    const Curve<kCubic> curve(source, row, x, count);
    for (int i = 0; i < count; i += 4) {
        const std::byte* const pixels[] = {curve.Pixel(i), curve.Pixel(i + 1), curve.Pixel(i + 2),
                                           curve.Pixel(i + 3)};
        _mm_storeu_si128(reinterpret_cast<__m128i*>(samples + i * 4), Four(pixels));
        if (i % 16 == 0) curve.PrefetchBelow(pixels[0]);
    }
}

template <bool kCubic>
void CurveOfFloats(const SourcePixels& source, const MagnifiedRow& row, std::int32_t x, int count,
                   std::byte* samples) {
    const Curve<kCubic> curve(source, row, x, count);
    for (int i = 0; i < count; ++i) {
        const std::byte* const pixel = curve.Pixel(i);
        _mm_storeu_ps(reinterpret_cast<float*>(samples + i * 16),
                      _mm_loadu_ps(reinterpret_cast<const float*>(pixel)));
        if (i % 4 == 0) curve.PrefetchBelow(pixel);
    }
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
    .bytes = {LineOfBytes, CurveOfBytes<false>, CurveOfBytes<true>, kRunPixels, false},
    .floats = {LineOfFloats, CurveOfFloats<false>, CurveOfFloats<true>, kRunPixels, false},
    .cached = kComposers<false>,
    .streamed = kComposers<true>,
};

}  // namespace nuv
