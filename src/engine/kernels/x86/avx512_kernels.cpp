// Compiled for AVX-512. All functions are in unnamed namespaces. Otherwise the linker could use one of them in
// place of another file's function, which must run on every processor.
#include "engine/kernels/x86/avx512_vectors.h"

#include "engine/kernels/x86/conversions_text.h"
#include "engine/kernels/x86/tiles_text.h"
#include "engine/kernels/x86/wide_samplers_text.h"

namespace nuv {
namespace {

struct TierSamplers : WideSamplers {
    // This sampler begins each root two steps ahead and each quotient one step ahead, so that the processor
    // computes them while it gathers samples. The processor would not look far enough ahead to find them by itself.
    // A 4K frame takes 5.7 ms; with the sampler of AVX2 it would take 7.6 ms.
    template <bool kCubic>
    static void CurveOfBytes(const SourcePixels& source, const EnlargedRow& along, std::int32_t x, int count,
                             std::byte* samples) {
        const EnlargedRow row = along;  // a local copy, so that writes to `samples` cannot change it
        const Integers width = _mm512_set1_epi32(source.width);
        const Integers height = _mm512_set1_epi32(source.height);
        const Integers rowBytes = _mm512_set1_epi32(source.rowBytes);
        const std::byte* const first = source.first;
        // This is a number and not a pointer, because the address may lie outside the source, which may even have
        // no memory.
        const std::intptr_t below =
            reinterpret_cast<std::intptr_t>(first) + std::ptrdiff_t{source.rowBytes} * kRowsAhead;
        static_assert(kLongRunPixels % 16 == 0);
        Floats dx = DistancesFrom(row, x);
        Floats dx16 = DistancesFrom(row, x + 16);
        Floats inv = Inverse(Enlargement<kCubic>(row, dx));
        Floats k16 = Enlargement<kCubic>(row, dx16);
        for (int i = 0; i < count; i += 16) {
            const Floats inv16 = Inverse(k16);
            const Floats dx32 = DistancesFrom(row, x + i + 32);
            const Floats k32 = Enlargement<kCubic>(row, dx32);

            const Integers columns = ColumnsAt(row, inv, dx);
            const Integers rows = RowsAt(row, inv);
            const __mmask16 inside =
                _mm512_cmplt_epu32_mask(columns, width) & _mm512_cmplt_epu32_mask(rows, height);
            const Integers at = _mm512_add_epi32(_mm512_mullo_epi32(rows, rowBytes), _mm512_slli_epi32(columns, 2));
            const Integers pixels = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), inside, at, first, 1);
            Store(samples + i * 4, pixels);
            // NOLINTNEXTLINE(performance-no-int-to-ptr): prefetched, never read; may lie outside the source
            Prefetch(reinterpret_cast<const std::byte*>(below + _mm_cvtsi128_si32(_mm512_castsi512_si128(at))));

            inv = inv16;
            k16 = k32;
            dx = dx16;
            dx16 = dx32;
        }
    }
};

constexpr TileKernels kTiles = Tiles::TableOf<TierSamplers>(kLongRunPixels, true);
static_assert(IsComplete(kTiles));

}  // namespace

constexpr RowKernels kAvx512Kernels = Conversions::TableOf<false>("avx512", Tiles::RenderTiled<kTiles, false>);
constexpr RowKernels kAvx512StreamingKernels =
    Conversions::TableOf<true>("avx512-streaming", Tiles::RenderTiled<kTiles, true>);
static_assert(IsComplete(kAvx512Kernels) && IsComplete(kAvx512StreamingKernels));

}  // namespace nuv
