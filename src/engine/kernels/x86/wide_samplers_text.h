// Samplers that are the same for AVX2 and AVX-512: both treat eight pixels at a time in 32-byte registers. Include
// this text after tiles_text.h.
#pragma once

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

struct WideSamplers : Tiles {
    // Returns the eight pixels at `pixels` in a new order: pixel i of the result is the pixel with number order[i].
    static Bytes Pick(const std::byte* pixels, __m256i order) {
        return _mm256_permutevar8x32_epi32(LoadBytes(pixels), order);
    }

    static void StorePixels(std::byte* samples, Bytes pixels) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples), pixels);
    }

    static void LineOfBytes(const SourcePixels& source, const std::byte* line, const std::int32_t* columns,
                            int count, std::byte* samples) {
        const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
        for (int i = 0; i < count; i += 8) {
            // All eight samples are among the eight pixels from column `start` on.
            const std::int32_t last = source.width - 8;
            const std::int32_t start = columns[i] < last ? columns[i] : last;
            const std::byte* const pixels = line + std::ptrdiff_t{start} * 4;
            StorePixels(samples + i * 4,
                        Pick(pixels, _mm256_sub_epi32(LoadBytes(columns + i), _mm256_set1_epi32(start))));
            if (i % 16 == 0) Prefetch(pixels + ahead);
        }
    }

    // Whether 0 <= value < limit.
    static __m256i AreInside(__m256i value, std::int32_t limit) {
        return _mm256_andnot_si256(_mm256_srai_epi32(value, 31),
                                   _mm256_cmpgt_epi32(_mm256_set1_epi32(limit), value));
    }

    template <bool kCubic>
    static void CurveOfFloats(const SourcePixels& from, const EnlargedRow& along, std::int32_t x, int count,
                              std::byte* samples) {
        static constexpr std::byte kTransparent[16]{};
        const SourcePixels source = from;  // a local copy, so that writes to `samples` cannot change it
        // Returns the addresses of the places with even numbers, because the multiplication reads only these. For
        // the odd ones, the arguments are shifted.
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
            const __m256i columns = LoadBytes(places.columns + i);
            const __m256i rows = LoadBytes(places.rows + i);
            const __m256i inside = AreInside(columns, source.width) & AreInside(rows, source.height);
            const std::byte* even[4];
            const std::byte* odd[4];
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(even), address(columns, rows, inside));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(odd),
                                address(_mm256_srli_epi64(columns, 32), _mm256_srli_epi64(rows, 32),
                                        _mm256_srli_epi64(inside, 32)));
            for (int j = 0; j < 4; j += kLanes / 8) {
                Store(samples + j * 32, LoadPixels([&](int k) { return (k % 2 == 0 ? even : odd)[j + k / 2]; }));
                if (j % 2 == 0) Prefetch(even[j] + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
            }
        }
    }
};

}  // namespace
}  // namespace nuv
