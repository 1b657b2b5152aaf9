// Compiled for AVX2. All functions are in unnamed namespaces. Otherwise the linker could use one of them in
// place of another file's function, which must run on every processor.
#include "engine/kernels/x86/avx2_vectors.h"

#include "engine/kernels/x86/conversions_text.h"
#include "engine/kernels/x86/tiles_text.h"
#include "engine/kernels/x86/wide_samplers_text.h"

namespace nuv {
namespace {

struct TierSamplers : WideSamplers {
    // Repeats the integer at `from`. Loads that repeat are free, while the processor has one unit for everything
    // that crosses lanes.
    static __m256i Repeated(const std::int32_t* from) { return _mm256_broadcastd_epi32(_mm_loadu_si32(from)); }

    // Eight places usually lie within eight neighbouring columns of one or two source rows. Then this sampler reads
    // each of these rows once, and picks the pixels from the registers. Long runs, as AVX-512 has them, would be
    // slower here: 9.6 ms instead of 8.7 ms for a 4K frame with square scaling.
    template <bool kCubic>
    static void CurveOfBytes(const SourcePixels& from, const EnlargedRow& along, std::int32_t x, int count,
                             std::byte* samples) {
        const SourcePixels source = from;  // a local copy, so that writes to `samples` cannot change it
        Places places;
        Locate<kCubic>(along, x, count, places);
        for (int i = 0; i < count; i += 8, samples += 32) {
            const std::int32_t* const column = places.columns + i;
            const std::int32_t* const row = places.rows + i;
            const __m256i order = _mm256_sub_epi32(LoadBytes(column), Repeated(column));
            const __m256i inRow0 = _mm256_cmpeq_epi32(LoadBytes(row), Repeated(row));
            const __m256i inRow7 = _mm256_cmpeq_epi32(LoadBytes(row), Repeated(row + 7));
            const __m256i stray = _mm256_srli_epi32(order, 3) | ~(inRow0 | inRow7);
            if (IsInside(column[0], source.width - 7) && IsInside(row[0], source.height) &&
                IsInside(row[7], source.height) && _mm256_testz_si256(stray, stray)) {
                const std::byte* const pixels = PixelOf(source, column[0], row[0]);
                const __m256i of0 = Pick(pixels, order);
                const __m256i of7 = Pick(PixelOf(source, column[0], row[7]), order);
                StorePixels(samples, _mm256_blendv_epi8(of7, of0, inRow0));
                if (i % 16 == 0) Prefetch(pixels + std::ptrdiff_t{source.rowBytes} * kRowsAhead);
            } else {
                std::int32_t sample8[8];
                for (int j = 0; j < 8; ++j) {
                    const bool inside = IsInside(column[j], source.width) && IsInside(row[j], source.height);
                    sample8[j] = inside ? _mm_cvtsi128_si32(_mm_loadu_si32(PixelOf(source, column[j], row[j]))) : 0;
                }
                StorePixels(samples, LoadBytes(sample8));
            }
        }
    }
};

constexpr TileKernels kTiles = Tiles::TableOf<TierSamplers>(kRunPixels, false);
static_assert(IsComplete(kTiles));

}  // namespace

constexpr RowKernels kAvx2Kernels = Conversions::TableOf<false>("avx2", Tiles::RenderTiled<kTiles, false>);
constexpr RowKernels kAvx2StreamingKernels =
    Conversions::TableOf<true>("avx2-streaming", Tiles::RenderTiled<kTiles, true>);
static_assert(IsComplete(kAvx2Kernels) && IsComplete(kAvx2StreamingKernels));

}  // namespace nuv
