// What is the same in the tile kernels of all instruction sets. One file for each instruction set includes this
// text after its vector operations. Because of the unnamed namespace, each of these files has functions of its own.
#pragma once

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

struct Tiles : Vectors {
    static void Prefetch(const std::byte* pixels) {
        _mm_prefetch(reinterpret_cast<const char*>(pixels), _MM_HINT_T1);
    }

    static bool IsInside(std::int32_t value, std::int32_t limit) { return value >= 0 && value < limit; }

    static const std::byte* PixelOf(const SourcePixels& source, std::int32_t column, std::int32_t row) {
        return source.first + std::ptrdiff_t{source.rowBytes} * row + std::ptrdiff_t{column} * source.pixelBytes;
    }

    // Copies the float pixels at the addresses at(0), at(1), … to `samples`.
    static void FetchFloats(const SourcePixels& source, int count, std::byte* samples, auto at) {
        const std::ptrdiff_t ahead = std::ptrdiff_t{source.rowBytes} * kRowsAhead;
        for (int i = 0; i < count; i += kLanes / 4) {
            const std::byte* const first = at(i);
            Store(samples + i * 16, LoadPixels([&](int j) { return j == 0 ? first : at(i + j); }));
            if (i % 4 == 0) Prefetch(first + ahead);
        }
    }

    static void LineOfFloats(const SourcePixels& source, const std::byte* line, const std::int32_t* columns,
                             int count, std::byte* samples) {
        FetchFloats(source, count, samples, [=](int i) { return line + std::ptrdiff_t{columns[i]} * 16; });
    }

    // The horizontal distances of the pixels x, x + 1, … from the centre.
    static Floats DistancesFrom(const EnlargedRow& row, std::int32_t x) { return CountFrom(x) - Repeat(row.cx); }

    // The enlargement k at these distances.
    template <bool kCubic>
    static Floats Enlargement(const EnlargedRow& row, Floats dx) {
        const Floats t = Quotient(SquareRoot(dx * dx + Repeat(row.dy2)), row.R);
        const Floats ta = t * Repeat(row.amount);
        const Floats s = kCubic ? ta * t : ta;
        return Repeat(1.0f) + s * Repeat(row.percent);
    }

    static Floats Inverse(Floats k) { return Repeat(1.0f) / k; }

    // Returns columns or rows of the source. Without an offset, the second truncation is left out. It would change
    // nothing, because a float can hold every truncated float exactly, and also the most negative integer.
    static Integers PlacesAt(Floats inv, Floats distance, float centre, float offset) {
        const Integers whole = Truncate(inv * distance + Repeat(centre));
        if (offset == 0) return whole;
        return Truncate(ToFloats(whole) - Repeat(offset));
    }
    static Integers ColumnsAt(const EnlargedRow& row, Floats inv, Floats dx) {
        return PlacesAt(inv, dx, row.cx, row.offsetX);
    }
    static Integers RowsAt(const EnlargedRow& row, Floats inv) {
        return PlacesAt(inv, Repeat(row.dy), row.cyE, row.offsetY);
    }

    // The columns and rows where a run reads its enlarged samples. They may lie outside the source.
    struct Places {
        std::int32_t columns[kRunPixels], rows[kRunPixels];
    };

    // There are two passes. In a single pass, each place would need a long chain of a root and two quotients. The
    // processor does not look far enough ahead to overlap such chains, so it would wait for each of them.
    template <bool kCubic>
    static void Locate(const EnlargedRow& row, std::int32_t x, int count, Places& places) {
        static_assert(kRunPixels % kLanes == 0);
        float k[kRunPixels];
        for (int i = 0; i < count; i += kLanes)
            Store(k + i, Enlargement<kCubic>(row, DistancesFrom(row, x + i)));
        for (int i = 0; i < count; i += kLanes) {
            const Floats inv = Inverse(LoadFloats(k + i));
            Store(places.columns + i, ColumnsAt(row, inv, DistancesFrom(row, x + i)));
            Store(places.rows + i, RowsAt(row, inv));
        }
    }

    static constexpr float kFrom8Bits = 0.003921569f;
    static_assert(255 * kFrom8Bits == 1.0f, "full coverage is a byte of 255");

    // `pixels` holds colour and alpha. For the views 1 and 2, its alphas are zero, and the function takes `alphas`
    // instead, which are computed in floats.
    template <int kShow, bool kStream, int kPart = 0>
    static void StoreBytesAsFloats(std::byte* result, Bytes pixels, Floats alphas) {
        Floats floats = BytesToFloats<kPart>(pixels) * Repeat(kFrom8Bits);
        if constexpr (kShow == 1 || kShow == 2) floats = PutAlphas<kPart>(floats, alphas);
        Store<kStream>(result + kPart * kLanes * 4, floats);
        if constexpr ((kPart + 1) * kLanes < kBytePixels * 4)
            StoreBytesAsFloats<kShow, kStream, kPart + 1>(result, pixels, alphas);
    }

    // Alphas are compared as bytes, because the larger byte also becomes the larger float.
    template <int kShow, bool kStream>
    static void ComposeBytes(const std::byte* direct, const std::byte* enlarged, const std::byte* next,
                             std::byte* result, int count, const ChannelMasks& masks) {
        const Bytes alphaBits = RepeatBits(0xFF000000);
        const Bytes take =
            RepeatBits((masks.channel[0] & 0xFF) | (masks.channel[1] & 0xFF00) | (masks.channel[2] & 0xFF0000));
        const Bytes keep = ~(take | alphaBits);
        for (int i = 0; i < count; i += kBytePixels) {
            if (i % 16 == 0) Prefetch(next + i * 4);
            const Bytes d = LoadBytes(direct + i * 4);
            const Bytes m = LoadBytes(enlarged + i * 4);
            const Bytes covered = LargerBytes(d, m) & alphaBits;
            Bytes pixels;
            if constexpr (kShow == 3) {
                pixels = OrderBytes<kAlphaEverywhere>(covered);
            } else if constexpr (kShow == 4) {
                pixels = AllBitsUnlessZero(covered);
            } else {
                // Colour under zero alpha is black.
                pixels =
                    (AllBitsUnlessZero(d & alphaBits) & d & keep) | (AllBitsUnlessZero(m & alphaBits) & m & take);
                if constexpr (kShow == 0) pixels = pixels | covered;
            }
            Floats alphas = Repeat(0.0f);
            if constexpr (kShow == 1 || kShow == 2) {
                const Floats a0 = AlphasToFloats(d) * Repeat(kFrom8Bits);
                const Floats a1 = AlphasToFloats(m) * Repeat(kFrom8Bits);
                alphas = kShow == 1 ? Absolute(a0 - a1) : a0 * a1;
            }
            StoreBytesAsFloats<kShow, kStream>(result + i * 16, pixels, alphas);
        }
    }

    // See Product in scalar_row_worker.cpp.
    static Floats Product(Floats a0, Floats a1) { return Choose(IsNotANumber(a0), a0 + a0, a0 * a1); }

    template <int kShow, bool kStream>
    static void ComposeFloats(const std::byte* direct, const std::byte* enlarged, const std::byte* next,
                              std::byte* result, int count, const ChannelMasks& masks) {
        const Mask take = MaskOf(masks);
        for (int i = 0; i < count; i += kLanes / 4) {
            Prefetch(next + i * 16);
            const Floats d = LoadFloats(direct + i * 16);
            const Floats m = LoadFloats(enlarged + i * 16);
            const Floats a0 = OrderFloats<kAlphaEverywhere>(d);
            const Floats a1 = OrderFloats<kAlphaEverywhere>(m);
            const Floats covered = Larger(a0, a1);
            Floats pixels;
            if constexpr (kShow == 3) {
                pixels = covered;
            } else if constexpr (kShow == 4) {
                pixels = Choose(IsAboveZero(covered), Repeat(1.0f), covered);
            } else {
                // Colour under zero alpha is black.
                const Floats colour = Choose(take, ValueOrZero(IsNotZero(a1), m), ValueOrZero(IsNotZero(a0), d));
                const Floats alpha = kShow == 0 ? covered : kShow == 1 ? Absolute(a0 - a1) : Product(a0, a1);
                pixels = WithAlpha(colour, alpha);
            }
            Store<kStream>(result + i * 16, pixels);
        }
    }

    template <bool kStream>
    static constexpr Composers kComposers = {
        {ComposeBytes<0, kStream>, ComposeBytes<1, kStream>, ComposeBytes<2, kStream>, ComposeBytes<3, kStream>,
         ComposeBytes<4, kStream>},
        {ComposeFloats<0, kStream>, ComposeFloats<1, kStream>, ComposeFloats<2, kStream>, ComposeFloats<3, kStream>,
         ComposeFloats<4, kStream>},
    };

    // `Own` holds the samplers of the instruction set.
    template <class Own>
    static constexpr TileKernels TableOf(int bytesRunPixels, bool bytesNearOnly) {
        return {
            .bytes = {Own::LineOfBytes, Own::template CurveOfBytes<false>, Own::template CurveOfBytes<true>,
                      bytesRunPixels, bytesNearOnly},
            .floats = {Own::LineOfFloats, Own::template CurveOfFloats<false>, Own::template CurveOfFloats<true>,
                       kRunPixels, false},
            .cached = kComposers<false>,
            .streamed = kComposers<true>,
        };
    }

    template <const TileKernels& kTiles, bool kStream>
    static void RenderTiled(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
        RenderTiles(kTiles, kStream, job, firstRow, endRow);
    }
};

}  // namespace
}  // namespace nuv
