// Compiled for AVX-512: intrinsics and nothing that another file could come to share.
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

void LineOfBytes(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                 std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    for (int i = 0; i < count; i += 8) {
        // Eight neighbours from the first one on hold all eight, unless the line ends before.
        const std::int32_t last = source.width - 8;
        const std::int32_t start = columns[i] < last ? columns[i] : last;
        const std::byte* const pixels = line + std::ptrdiff_t{start} * 4;
        const __m256i order = _mm256_sub_epi32(LoadBits(columns + i), _mm256_set1_epi32(start));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples + i * 4),
                            _mm256_permutevar8x32_epi32(LoadBits(pixels), order));
        if (i % 16 == 0) Prefetch(pixels + ahead);
    }
}

// Four pixels of floats.
__m512 Four(const std::byte* pixel0, const std::byte* pixel1, const std::byte* pixel2, const std::byte* pixel3) {
    const auto load = [](const std::byte* pixel) { return _mm_loadu_ps(reinterpret_cast<const float*>(pixel)); };
    const auto pair = [&](const std::byte* low, const std::byte* high) {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(load(low)), load(high), 1);
    };
    return _mm512_insertf32x8(_mm512_castps256_ps512(pair(pixel0, pixel1)), pair(pixel2, pixel3), 1);
}

void LineOfFloats(const SourcePixels& source, const std::byte* line, const std::int32_t* columns, int count,
                  std::byte* samples) {
    const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    const auto at = [&](int i) { return line + std::ptrdiff_t{columns[i]} * 16; };
    for (int i = 0; i < count; i += 4) {
        _mm512_storeu_ps(samples + i * 16, Four(at(i), at(i + 1), at(i + 2), at(i + 3)));
        Prefetch(at(i) + ahead);
    }
}

// The distances of sixteen pixels, x and those after it, from the centre's column.
__m512 DistancesFrom(const MagnifiedRow& row, std::int32_t x) {
    const __m512i first = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm512_sub_ps(_mm512_cvtepi32_ps(_mm512_add_epi32(_mm512_set1_epi32(x), first)), _mm512_set1_ps(row.cx));
}

// k at these distances.
template <bool kCubic>
__m512 Enlargement(const MagnifiedRow& row, __m512 dx) {
    const __m512 r = _mm512_sqrt_ps(_mm512_add_ps(_mm512_mul_ps(dx, dx), _mm512_set1_ps(row.dy2)));
    const __m512 t = _mm512_div_ps(r, _mm512_set1_ps(row.R));
    const __m512 ta = _mm512_mul_ps(t, _mm512_set1_ps(row.amount));
    const __m512 s = kCubic ? _mm512_mul_ps(ta, t) : ta;
    return _mm512_add_ps(_mm512_set1_ps(1.0f), _mm512_mul_ps(s, _mm512_set1_ps(row.percent)));
}

__m512 Inverse(__m512 k) {
    return _mm512_div_ps(_mm512_set1_ps(1.0f), k);
}

// Columns or rows of the source. Without an offset the second conversion would change nothing: float holds every
// truncated float exactly, the least integer too.
__m512i PlacesAt(__m512 inv, __m512 distance, float centre, float offset) {
    const __m512i whole = _mm512_cvttps_epi32(_mm512_add_ps(_mm512_mul_ps(inv, distance), _mm512_set1_ps(centre)));
    if (offset == 0) return whole;
    return _mm512_cvttps_epi32(_mm512_sub_ps(_mm512_cvtepi32_ps(whole), _mm512_set1_ps(offset)));
}
__m512i ColumnsAt(const MagnifiedRow& row, __m512 inv, __m512 dx) {
    return PlacesAt(inv, dx, row.cx, row.offsetX);
}
__m512i RowsAt(const MagnifiedRow& row, __m512 inv) {
    return PlacesAt(inv, _mm512_set1_ps(row.dy), row.cyE, row.offsetY);
}

// Roots and quotients are begun one and two steps ahead, and go on while samples are fetched: with all of a step's
// work in a row, the processor would not look far enough ahead to find the next one's.
template <bool kCubic>
void CurveOfBytes(const SourcePixels& source, const MagnifiedRow& along, std::int32_t x, int count,
                  std::byte* samples) {
    const MagnifiedRow row = along;  // a copy, which stores to `samples` cannot change
    const __m512i width = _mm512_set1_epi32(source.width);
    const __m512i height = _mm512_set1_epi32(source.height);
    const __m512i rowBytes = _mm512_set1_epi32(source.rowBytes);
    const std::byte* const first = source.first;
    // A number: the source may have no memory, and the first place may lie outside of it.
    const std::intptr_t below =
        reinterpret_cast<std::intptr_t>(first) + std::ptrdiff_t{source.rowBytes} * kRowsAhead;
    static_assert(kLongRunPixels % 16 == 0);
    __m512 dx = DistancesFrom(row, x);
    __m512 dx16 = DistancesFrom(row, x + 16);
    __m512 inv = Inverse(Enlargement<kCubic>(row, dx));
    __m512 k16 = Enlargement<kCubic>(row, dx16);
    for (int i = 0; i < count; i += 16) {
        const __m512 inv16 = Inverse(k16);
        const __m512 dx32 = DistancesFrom(row, x + i + 32);
        const __m512 k32 = Enlargement<kCubic>(row, dx32);

        const __m512i columns = ColumnsAt(row, inv, dx);
        const __m512i rows = RowsAt(row, inv);
        const __mmask16 inside = _mm512_cmplt_epu32_mask(columns, width) & _mm512_cmplt_epu32_mask(rows, height);
        const __m512i at = _mm512_add_epi32(_mm512_mullo_epi32(rows, rowBytes), _mm512_slli_epi32(columns, 2));
        const __m512i pixels = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), inside, at, first, 1);
        _mm512_storeu_si512(samples + std::ptrdiff_t{i} * 4, pixels);
        Prefetch(reinterpret_cast<const std::byte*>(below + _mm_cvtsi128_si32(_mm512_castsi512_si128(at))));

        inv = inv16;
        k16 = k32;
        dx = dx16;
        dx16 = dx32;
    }
}

// Where a run reads its enlarged samples: columns and rows of the source, or beyond.
struct Places {
    std::int32_t columns[kRunPixels], rows[kRunPixels];
};

// In two passes: one long chain of roots and quotients would have the processor wait for each.
template <bool kCubic>
inline void Locate(const MagnifiedRow& row, std::int32_t x, int count, Places& places) {
    static_assert(kRunPixels % 16 == 0);
    float k[kRunPixels];
    for (int i = 0; i < count; i += 16)
        _mm512_storeu_ps(k + i, Enlargement<kCubic>(row, DistancesFrom(row, x + i)));
    for (int i = 0; i < count; i += 16) {
        const __m512 inv = Inverse(_mm512_loadu_ps(k + i));
        _mm512_storeu_si512(places.columns + i, ColumnsAt(row, inv, DistancesFrom(row, x + i)));
        _mm512_storeu_si512(places.rows + i, RowsAt(row, inv));
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
        for (int j = 0; j < 4; j += 2) {
            _mm512_storeu_ps(samples + j * 32, Four(even[j], odd[j], even[j + 1], odd[j + 1]));
            Prefetch(even[j] + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
        }
    }
}

template <bool kStream>
void Store(std::byte* result, __m512 pixels) {
    if constexpr (kStream) {
        _mm512_stream_ps(reinterpret_cast<float*>(result), pixels);
    } else {
        _mm512_storeu_ps(result, pixels);
    }
}

__m512 Larger(__m512 a0, __m512 a1) {
    return _mm512_max_ps(a0, a1);  // a0 > a1 ? a0 : a1, to the letter
}

// See Product in scalar_row_worker.cpp.
__m512 Product(__m512 a0, __m512 a1) {
    return _mm512_mask_add_ps(_mm512_mul_ps(a0, a1), _mm512_cmp_ps_mask(a0, a0, _CMP_UNORD_Q), a0, a0);
}

__m512 Distance(__m512 a0, __m512 a1) {
    return _mm512_abs_ps(_mm512_sub_ps(a0, a1));
}

constexpr float kFrom8Bits = 0.003921569f;
static_assert(255 * kFrom8Bits == 1.0f, "full coverage is a byte of 255");

// Alpha of each of four pixels.
constexpr __mmask16 kAlphas = 0x8888;

// The alpha views of bytes need floats for shows 1 and 2 alone; else the larger of two bytes is the larger value.
template <int kShow, bool kStream>
void ComposeBytes(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                  int count, const ChannelMasks& masks) {
    const __m256i alphaBits = _mm256_set1_epi32(static_cast<int>(0xFF000000));
    const __m256i take = _mm256_set1_epi32(
        static_cast<int>((masks.channel[0] & 0xFF) | (masks.channel[1] & 0xFF00) | (masks.channel[2] & 0xFF0000)));
    const __m256i keep = _mm256_andnot_si256(_mm256_or_si256(take, alphaBits), _mm256_set1_epi32(-1));
    const __m512 from8Bits = _mm512_set1_ps(kFrom8Bits);
    for (int i = 0; i < count; i += 8, direct += 32, magnified += 32, next += 32, result += 128) {
        if (i % 16 == 0) Prefetch(next);
        const __m256i d = LoadBits(direct);
        const __m256i m = LoadBits(magnified);
        const __m256i covered = _mm256_and_si256(_mm256_max_epu8(d, m), alphaBits);
        __m256i pixels;  // eight of R G B A
        if constexpr (kShow == 3) {
            pixels = _mm256_shuffle_epi8(covered, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                                      3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15)));
        } else if constexpr (kShow == 4) {
            pixels = _mm256_maskz_set1_epi32(_mm256_test_epi32_mask(covered, covered), -1);
        } else {
            // Colour under zero alpha is black.
            const __m256i ofDirect = _mm256_maskz_and_epi32(_mm256_test_epi32_mask(d, alphaBits), d, keep);
            const __m256i ofMagnified = _mm256_maskz_and_epi32(_mm256_test_epi32_mask(m, alphaBits), m, take);
            pixels = _mm256_or_si256(ofDirect, ofMagnified);
            if constexpr (kShow == 0) pixels = _mm256_or_si256(pixels, covered);
        }
        const auto toFloats = [&](__m128i bytes) {  // four pixels
            return _mm512_mul_ps(_mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(bytes)), from8Bits);
        };
        __m512 low = toFloats(_mm256_castsi256_si128(pixels));
        __m512 high = toFloats(_mm256_extracti128_si256(pixels, 1));
        if constexpr (kShow == 1 || kShow == 2) {
            const auto alphasOf = [&](__m256i bytes) {
                return _mm512_mul_ps(_mm512_cvtepi32_ps(_mm512_castsi256_si512(_mm256_srli_epi32(bytes, 24))),
                                     from8Bits);
            };
            const __m512 a0 = alphasOf(d);
            const __m512 a1 = alphasOf(m);
            const __m512 alpha = kShow == 1 ? Distance(a0, a1) : _mm512_mul_ps(a0, a1);
            // Each to the top of its pixel.
            const auto with = [&](__m512 four, __m512i from) {
                return _mm512_mask_permutexvar_ps(four, kAlphas, from, alpha);
            };
            low = with(low, _mm512_setr_epi32(0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3));
            high = with(high, _mm512_setr_epi32(0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0, 7));
        }
        Store<kStream>(result, low);
        Store<kStream>(result + 64, high);
    }
}

template <int kShow, bool kStream>
void ComposeFloats(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* result,
                   int count, const ChannelMasks& masks) {
    const __m512i bits = _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&masks)));
    const __mmask16 take = _mm512_movepi32_mask(bits);
    const __m512 none = _mm512_setzero_ps();
    for (int i = 0; i < count; i += 4, direct += 64, magnified += 64, next += 64, result += 64) {
        Prefetch(next);
        const __m512 d = _mm512_loadu_ps(direct);
        const __m512 m = _mm512_loadu_ps(magnified);
        const __m512 a0 = _mm512_permute_ps(d, _MM_SHUFFLE(3, 3, 3, 3));
        const __m512 a1 = _mm512_permute_ps(m, _MM_SHUFFLE(3, 3, 3, 3));
        const __m512 covered = Larger(a0, a1);
        if constexpr (kShow == 3) {
            Store<kStream>(result, covered);
        } else if constexpr (kShow == 4) {
            const __mmask16 any = _mm512_cmp_ps_mask(covered, none, _CMP_GT_OQ);
            Store<kStream>(result, _mm512_mask_mov_ps(covered, any, _mm512_set1_ps(1.0f)));
        } else {
            // Colour under zero alpha is black.
            const __m512 ofDirect = _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(a0, none, _CMP_NEQ_UQ), d);
            const __mmask16 fromMagnified = _mm512_cmp_ps_mask(a1, none, _CMP_NEQ_UQ);
            const __m512 colour = _mm512_mask_mov_ps(ofDirect, take, _mm512_maskz_mov_ps(fromMagnified, m));
            const __m512 alpha = kShow == 0 ? covered : kShow == 1 ? Distance(a0, a1) : Product(a0, a1);
            Store<kStream>(result, _mm512_mask_mov_ps(colour, kAlphas, alpha));
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

const TileKernels kAvx512Tiles = {
    .bytes = {LineOfBytes, CurveOfBytes<false>, CurveOfBytes<true>, kLongRunPixels, true},
    .floats = {LineOfFloats, CurveOfFloats<false>, CurveOfFloats<true>, kRunPixels, false},
    .cached = kComposers<false>,
    .streamed = kComposers<true>,
};

}  // namespace nuv
