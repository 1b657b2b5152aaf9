// Compiled for AVX2. All functions are in unnamed namespaces. Otherwise the linker could use one of them in
// place of another file's function, which must run on every processor.
#include "engine/kernels/x86/avx2_vectors.h"

#include "engine/kernels/x86/conversions_text.h"
#include "engine/kernels/x86/tiles_text.h"
#include "engine/kernels/x86/wide_samplers_text.h"

namespace nuv {
namespace {

struct TierSamplers : WideSamplers {
    // Eight places usually lie within eight neighbouring columns of one or two source rows. Then this sampler reads
    // each of these rows once, and picks the pixels from the registers. Long runs, as AVX-512 has them, would be
    // slower here: 9.6 ms instead of 8.7 ms for a 4K frame with square scaling.
    template <bool kCubic>
    static void CurveOfBytes(const SourcePixels& from, const MagnifiedRow& along, std::int32_t x, int count,
                             std::byte* samples) {
        const SourcePixels source = from;  // a local copy, so that writes to `samples` cannot change it
        Places places;
        Locate<kCubic>(along, x, count, places);
        for (int i = 0; i < count; i += 8, samples += 32) {
            const __m256i columns = LoadBytes(places.columns + i);
            const __m256i rows = LoadBytes(places.rows + i);
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
                StorePixels(samples, _mm256_blendv_epi8(of7, of0, inRow0));
                if (i % 16 == 0) Prefetch(pixels + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
            } else {
                std::int32_t column8[8], row8[8], sample8[8];
                Store(column8, columns);
                Store(row8, rows);
                for (int j = 0; j < 8; ++j) {
                    const bool inside = IsInside(column8[j], source.width) && IsInside(row8[j], source.height);
                    sample8[j] =
                        inside ? _mm_cvtsi128_si32(_mm_loadu_si32(PixelOf(source, column8[j], row8[j]))) : 0;
                }
                StorePixels(samples, LoadBytes(sample8));
            }
        }
    }
};

constexpr TileKernels kTiles = Tiles::TableOf<TierSamplers>(kRunPixels, false);
static_assert(IsComplete(kTiles));

}  // namespace

constexpr RowKernels kAvx2Kernels = Conversions::TableOf<false>("avx2", Tiles::RenderRows<kTiles, false>);
constexpr RowKernels kAvx2StreamingKernels =
    Conversions::TableOf<true>("avx2-streaming", Tiles::RenderRows<kTiles, true>);
static_assert(IsComplete(kAvx2Kernels) && IsComplete(kAvx2StreamingKernels));

}  // namespace nuv
