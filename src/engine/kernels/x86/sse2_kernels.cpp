// For every x86-64 processor. SSE2 cannot shuffle or gather by variable indices, so these samplers read pixel by
// pixel.
#include "engine/kernels/x86/sse2_vectors.h"

#include "engine/kernels/x86/conversions_text.h"
#include "engine/kernels/x86/tiles_text.h"

namespace nuv {
namespace {

struct TierSamplers : Tiles {
    static void FetchBytes(const SourcePixels& source, int count, std::byte* samples, auto at) {
        const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
        for (int i = 0; i < count; i += 4) {
            const std::byte* const first = at(i);
            const __m128i low = _mm_unpacklo_epi32(_mm_loadu_si32(first), _mm_loadu_si32(at(i + 1)));
            const __m128i high = _mm_unpacklo_epi32(_mm_loadu_si32(at(i + 2)), _mm_loadu_si32(at(i + 3)));
            Store(samples + i * 4, _mm_unpacklo_epi64(low, high));
            if (i % 16 == 0) Prefetch(first + ahead);
        }
    }

    static void LineOfBytes(const SourcePixels& source, const std::byte* line, const std::int32_t* columns,
                            int count, std::byte* samples) {
        FetchBytes(source, count, samples, [=](int i) { return line + std::ptrdiff_t{columns[i]} * 4; });
    }

    static const std::byte* PixelAt(const SourcePixels& source, const Places& places, int i) {
        static constexpr std::byte kTransparent[16]{};
        // As unsigned numbers, negative places lie beyond any size.
        const auto column = static_cast<std::uint32_t>(places.columns[i]);
        const auto row = static_cast<std::uint32_t>(places.rows[i]);
        const bool inside =
            column < static_cast<std::uint32_t>(source.width) && row < static_cast<std::uint32_t>(source.height);
        return inside ? PixelOf(source, places.columns[i], places.rows[i]) : kTransparent;
    }

    template <bool kCubic>
    static void CurveOfBytes(const SourcePixels& from, const EnlargedRow& row, std::int32_t x, int count,
                             std::byte* samples) {
        const SourcePixels source = from;  // a local copy, so that writes to `samples` cannot change it
        Places places;
        Locate<kCubic>(row, x, count, places);
        FetchBytes(source, count, samples, [&](int i) { return PixelAt(source, places, i); });
    }

    template <bool kCubic>
    static void CurveOfFloats(const SourcePixels& from, const EnlargedRow& row, std::int32_t x, int count,
                              std::byte* samples) {
        const SourcePixels source = from;
        Places places;
        Locate<kCubic>(row, x, count, places);
        FetchFloats(source, count, samples, [&](int i) { return PixelAt(source, places, i); });
    }
};

}  // namespace

constexpr TileKernels kSse2Tiles = Tiles::TableOf<TierSamplers>(kRunPixels, false);
static_assert(IsComplete(kSse2Tiles));
constexpr RowKernels kSse2Kernels = Conversions::TableOf<false>("sse2", Tiles::RenderTiled<kSse2Tiles, false>);
constexpr RowKernels kSse2StreamingKernels =
    Conversions::TableOf<true>("sse2-streaming", Tiles::RenderTiled<kSse2Tiles, true>);
static_assert(IsComplete(kSse2Kernels) && IsComplete(kSse2StreamingKernels));

}  // namespace nuv
