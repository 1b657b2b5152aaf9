// Compiled for AVX2: intrinsics and nothing that another file could come to share.
#include <immintrin.h>

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

void Prefetch(const std::byte* pixels) {
    _mm_prefetch(reinterpret_cast<const char*>(pixels), _MM_HINT_T1);
}

__m256i LoadBits(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

const std::byte* PixelOf(const SourcePixels& source, std::int32_t column, std::int32_t row) {
    return source.first + std::ptrdiff_t{source.rowBytes} * row + std::ptrdiff_t{column} * source.pixelBytes;
}

// Eight neighbours at `pixels`, reordered.
__m256i Pick(const std::byte* pixels, __m256i order) {
    return _mm256_permutevar8x32_epi32(LoadBits(pixels), order);
}

void LineOfBytes(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                 std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    for (int i = 0; i < count; i += 8) {
        // Eight neighbours from the first one on hold all eight, unless the line ends before.
        const std::int32_t last = source.width - 8;
        const std::int32_t start = columns[i] < last ? columns[i] : last;
        const std::byte* const pixels = line + std::ptrdiff_t{start} * 4;
        const __m256i order = _mm256_sub_epi32(LoadBits(columns + i), _mm256_set1_epi32(start));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples + i * 4), Pick(pixels, order));
        if (i % 16 == 0) Prefetch(pixels + ahead);
    }
}

// Two pixels of floats.
__m256 Pair(const std::byte* pixel0, const std::byte* pixel1) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(reinterpret_cast<const float*>(pixel0))),
                                _mm_loadu_ps(reinterpret_cast<const float*>(pixel1)), 1);
}

void LineOfFloats(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                  std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    const auto at = [&](int i) { return line + std::ptrdiff_t{columns[i]} * 16; };
    for (int i = 0; i < count; i += 2) {
        _mm256_storeu_ps(reinterpret_cast<float*>(samples + i * 16), Pair(at(i), at(i + 1)));
        if (i % 4 == 0) Prefetch(at(i) + ahead);
    }
}

// Where a run reads its enlarged samples: columns and rows of the source, or beyond.
struct Places {
    std::int32_t columns[kRunPixels], rows[kRunPixels];
};

// In two passes: the processor looks only so far ahead, and one long chain of roots and quotients would have it
// wait for each.
template <bool kCubic>
inline void Locate(const MagnifiedRow& row, std::int32_t x, int count, Places& places) {
    const __m256 cx = _mm256_set1_ps(row.cx);
    const auto dxOf = [&](int i) {
        const __m256i xs = _mm256_add_epi32(_mm256_set1_epi32(x + i), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        return _mm256_sub_ps(_mm256_cvtepi32_ps(xs), cx);
    };
    float factors[kRunPixels];
    for (int i = 0; i < count; i += 8) {
        const __m256 dx = dxOf(i);
        const __m256 r = _mm256_sqrt_ps(_mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_set1_ps(row.dy2)));
        const __m256 t = _mm256_div_ps(r, _mm256_set1_ps(row.R));
        const __m256 ta = _mm256_mul_ps(t, _mm256_set1_ps(row.amount));
        const __m256 s = kCubic ? _mm256_mul_ps(ta, t) : ta;
        const __m256 k = _mm256_add_ps(_mm256_set1_ps(1.0f), _mm256_mul_ps(s, _mm256_set1_ps(row.percent)));
        _mm256_storeu_ps(factors + i, k);
    }
    for (int i = 0; i < count; i += 8) {
        const __m256 inv = _mm256_div_ps(_mm256_set1_ps(1.0f), _mm256_loadu_ps(factors + i));
        const auto place = [&](__m256 distance, __m256 centre, float offset, std::int32_t* to) {
            const __m256i whole = _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(inv, distance), centre));
            const __m256i found =
                _mm256_cvttps_epi32(_mm256_sub_ps(_mm256_cvtepi32_ps(whole), _mm256_set1_ps(offset)));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), found);
        };
        place(dxOf(i), cx, row.offsetX, places.columns + i);
        place(_mm256_set1_ps(row.dy), _mm256_set1_ps(row.cyE), row.offsetY, places.rows + i);
    }
}

bool IsInside(std::int32_t value, std::int32_t limit) {
    return value >= 0 && value < limit;
}

// Eight places are mostly among eight neighbours of one row or of two: then each row is read once.
template <bool kCubic>
void CurveOfBytes(const SourcePixels& from, const MagnifiedRow& along, std::int32_t x, int count,
                  std::byte* samples) {
    const SourcePixels source = from;  // copies, which stores to `samples` cannot change
    Places places;
    Locate<kCubic>(along, x, count, places);
    for (int i = 0; i < count; i += 8, samples += 32) {
        const __m256i columns = LoadBits(places.columns + i);
        const __m256i rows = LoadBits(places.rows + i);
        const std::int32_t column = _mm_cvtsi128_si32(_mm256_castsi256_si128(columns));
        const std::int32_t start = column < source.width - 8 ? column : source.width - 8;
        const std::int32_t row0 = _mm_cvtsi128_si32(_mm256_castsi256_si128(rows));
        const std::int32_t row7 = _mm256_extract_epi32(rows, 7);
        const __m256i order = _mm256_sub_epi32(columns, _mm256_set1_epi32(start));
        const __m256i inRow0 = _mm256_cmpeq_epi32(rows, _mm256_set1_epi32(row0));
        const __m256i inRow7 = _mm256_cmpeq_epi32(rows, _mm256_set1_epi32(row7));
        const __m256i stray =
            _mm256_or_si256(_mm256_andnot_si256(_mm256_or_si256(inRow0, inRow7), _mm256_set1_epi32(-1)),
                            _mm256_and_si256(order, _mm256_set1_epi32(~7)));
        if (start >= 0 && IsInside(row0, source.height) && IsInside(row7, source.height) &&
            _mm256_testz_si256(stray, stray)) {
            const std::byte* const pixels = PixelOf(source, start, row0);
            const __m256i of0 = Pick(pixels, order);
            const __m256i of7 = Pick(PixelOf(source, start, row7), order);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples), _mm256_blendv_epi8(of7, of0, inRow0));
            if (i % 16 == 0) Prefetch(pixels + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
        } else {
            std::int32_t column8[8], row8[8], sample8[8];
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(column8), columns);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(row8), rows);
            for (int j = 0; j < 8; ++j) {
                const bool inside = IsInside(column8[j], source.width) && IsInside(row8[j], source.height);
                sample8[j] = inside ? _mm_cvtsi128_si32(_mm_loadu_si32(PixelOf(source, column8[j], row8[j]))) : 0;
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sample8)));
        }
    }
}

// Whether 0 <= value < limit.
__m256i AreInside(__m256i value, std::int32_t limit) {
    return _mm256_andnot_si256(_mm256_srai_epi32(value, 31), _mm256_cmpgt_epi32(_mm256_set1_epi32(limit), value));
}

template <bool kCubic>
void CurveOfFloats(const SourcePixels& from, const MagnifiedRow& along, std::int32_t x, int count,
                   std::byte* samples) {
    static constexpr std::byte kTransparent[16]{};
    const SourcePixels source = from;  // copies, which stores to `samples` cannot change
    // Addresses of the even places; those of the odd ones after a shift.
    const auto address = [&](__m256i column, __m256i line, __m256i inside) {
        const __m256i offset = _mm256_add_epi64(_mm256_mul_epi32(line, _mm256_set1_epi32(source.rowBytes)),
                                                _mm256_mul_epi32(column, _mm256_set1_epi32(16)));
        const __m256i pixel =
            _mm256_add_epi64(_mm256_set1_epi64x(reinterpret_cast<std::intptr_t>(source.first)), offset);
        return _mm256_blendv_epi8(_mm256_set1_epi64x(reinterpret_cast<std::intptr_t>(kTransparent)), pixel,
                                  _mm256_shuffle_epi32(inside, _MM_SHUFFLE(2, 2, 0, 0)));
    };
    Places places;
    Locate<kCubic>(along, x, count, places);
    for (int i = 0; i < count; i += 8, samples += 128) {
        const __m256i columns = LoadBits(places.columns + i);
        const __m256i rows = LoadBits(places.rows + i);
        const __m256i inside = _mm256_and_si256(AreInside(columns, source.width), AreInside(rows, source.height));
        const std::byte* even[4];
        const std::byte* odd[4];
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(even), address(columns, rows, inside));
        _mm256_storeu_si256(
            reinterpret_cast<__m256i*>(odd),
            address(_mm256_srli_epi64(columns, 32), _mm256_srli_epi64(rows, 32), _mm256_srli_epi64(inside, 32)));
        for (int j = 0; j < 4; ++j) {
            _mm256_storeu_ps(reinterpret_cast<float*>(samples + j * 32), Pair(even[j], odd[j]));
            if (j % 2 == 0) Prefetch(even[j] + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
        }
    }
}

template <bool kStream>
void Store(std::byte* result, __m256 pixels) {
    if constexpr (kStream) {
        _mm256_stream_ps(reinterpret_cast<float*>(result), pixels);
    } else {
        _mm256_storeu_ps(reinterpret_cast<float*>(result), pixels);
    }
}

__m256 Larger(__m256 a0, __m256 a1) {
    return _mm256_max_ps(a0, a1);  // a0 > a1 ? a0 : a1, to the letter
}

// See Product in scalar_row_worker.cpp.
__m256 Product(__m256 a0, __m256 a1) {
    return _mm256_blendv_ps(_mm256_mul_ps(a0, a1), _mm256_add_ps(a0, a0), _mm256_cmp_ps(a0, a0, _CMP_UNORD_Q));
}

__m256 Distance(__m256 a0, __m256 a1) {
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), _mm256_sub_ps(a0, a1));
}

constexpr float kFrom8Bits = 0.003921569f;
static_assert(255 * kFrom8Bits == 1.0f, "full coverage is a byte of 255");

// The alpha views of bytes need floats for shows 1 and 2 alone; else the larger of two bytes is the larger value.
template <int kShow, bool kStream>
void ComposeBytes(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                  int count, const ChannelMasks& masks) {
    const __m256i alphaBits = _mm256_set1_epi32(static_cast<int>(0xFF000000));
    const __m256i take = _mm256_set1_epi32(
        static_cast<int>((masks.channel[0] & 0xFF) | (masks.channel[1] & 0xFF00) | (masks.channel[2] & 0xFF0000)));
    const __m256i keep = _mm256_andnot_si256(_mm256_or_si256(take, alphaBits), _mm256_set1_epi32(-1));
    const __m256 from8Bits = _mm256_set1_ps(kFrom8Bits);
    const __m256i none = _mm256_setzero_si256();
    for (int i = 0; i < count; i += 8, direct += 32, magnified += 32, next += 32, result += 128) {
        Prefetch(next);
        const __m256i d = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(direct));
        const __m256i m = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(magnified));
        const __m256i covered = _mm256_and_si256(_mm256_max_epu8(d, m), alphaBits);
        __m256i pixels;  // eight of R G B A
        if constexpr (kShow == 3) {
            pixels = _mm256_shuffle_epi8(
                covered, _mm256_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15, 3, 3, 3, 3, 7, 7,
                                          7, 7, 11, 11, 11, 11, 15, 15, 15, 15));
        } else if constexpr (kShow == 4) {
            pixels = _mm256_andnot_si256(_mm256_cmpeq_epi32(covered, none), _mm256_set1_epi32(-1));
        } else {
            // Colour under zero alpha is black.
            const __m256i noDirect = _mm256_cmpeq_epi32(_mm256_and_si256(d, alphaBits), none);
            const __m256i noMagnified = _mm256_cmpeq_epi32(_mm256_and_si256(m, alphaBits), none);
            pixels = _mm256_or_si256(_mm256_andnot_si256(noDirect, _mm256_and_si256(d, keep)),
                                     _mm256_andnot_si256(noMagnified, _mm256_and_si256(m, take)));
            if constexpr (kShow == 0) pixels = _mm256_or_si256(pixels, covered);
        }
        const auto toFloats = [&](__m128i bytes) {  // two pixels, from the lower half
            return _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)), from8Bits);
        };
        const __m128i low = _mm256_castsi256_si128(pixels);
        const __m128i high = _mm256_extracti128_si256(pixels, 1);
        __m256 pair0 = toFloats(low);
        __m256 pair1 = toFloats(_mm_srli_si128(low, 8));
        __m256 pair2 = toFloats(high);
        __m256 pair3 = toFloats(_mm_srli_si128(high, 8));
        if constexpr (kShow == 1 || kShow == 2) {
            const __m256 a0 = _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_srli_epi32(d, 24)), from8Bits);
            const __m256 a1 = _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_srli_epi32(m, 24)), from8Bits);
            const __m256 alpha = kShow == 1 ? Distance(a0, a1) : _mm256_mul_ps(a0, a1);
            // The alphas of two neighbours, each to the top of its half.
            const auto with = [&](__m256 pair, __m256i from) {
                return _mm256_blend_ps(pair, _mm256_permutevar8x32_ps(alpha, from), 0x88);
            };
            pair0 = with(pair0, _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1));
            pair1 = with(pair1, _mm256_setr_epi32(2, 2, 2, 2, 3, 3, 3, 3));
            pair2 = with(pair2, _mm256_setr_epi32(4, 4, 4, 4, 5, 5, 5, 5));
            pair3 = with(pair3, _mm256_setr_epi32(6, 6, 6, 6, 7, 7, 7, 7));
        }
        Store<kStream>(result, pair0);
        Store<kStream>(result + 32, pair1);
        Store<kStream>(result + 64, pair2);
        Store<kStream>(result + 96, pair3);
    }
}

template <int kShow, bool kStream>
void ComposeFloats(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                   int count, const ChannelMasks& masks) {
    const __m256i bits = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&masks)));
    const __m256 take = _mm256_castsi256_ps(bits);
    const __m256 keep = _mm256_xor_ps(take, _mm256_castsi256_ps(_mm256_set1_epi32(-1)));
    const __m256 none = _mm256_setzero_ps();
    for (int i = 0; i < count; i += 2, direct += 32, magnified += 32, next += 32, result += 32) {
        Prefetch(next);
        const __m256 d = _mm256_loadu_ps(reinterpret_cast<const float*>(direct));
        const __m256 m = _mm256_loadu_ps(reinterpret_cast<const float*>(magnified));
        const __m256 a0 = _mm256_permute_ps(d, _MM_SHUFFLE(3, 3, 3, 3));
        const __m256 a1 = _mm256_permute_ps(m, _MM_SHUFFLE(3, 3, 3, 3));
        const __m256 covered = Larger(a0, a1);
        if constexpr (kShow == 3) {
            Store<kStream>(result, covered);
        } else if constexpr (kShow == 4) {
            const __m256 any = _mm256_cmp_ps(covered, none, _CMP_GT_OQ);
            Store<kStream>(result, _mm256_blendv_ps(covered, _mm256_set1_ps(1.0f), any));
        } else {
            // Colour under zero alpha is black.
            const __m256 fromDirect = _mm256_andnot_ps(_mm256_cmp_ps(a0, none, _CMP_EQ_OQ), keep);
            const __m256 fromMagnified = _mm256_andnot_ps(_mm256_cmp_ps(a1, none, _CMP_EQ_OQ), take);
            const __m256 colour = _mm256_or_ps(_mm256_and_ps(d, fromDirect), _mm256_and_ps(m, fromMagnified));
            const __m256 alpha = kShow == 0 ? covered : kShow == 1 ? Distance(a0, a1) : Product(a0, a1);
            Store<kStream>(result, _mm256_blend_ps(colour, alpha, 0x88));
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

const TileKernels kAvx2Tiles = {
    .bytes = {LineOfBytes, CurveOfBytes<false>, CurveOfBytes<true>, kRunPixels, false},
    .floats = {LineOfFloats, CurveOfFloats<false>, CurveOfFloats<true>, kRunPixels, false},
    .cached = kComposers<false>,
    .streamed = kComposers<true>,
};

}  // namespace nuv
