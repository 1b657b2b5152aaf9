// The innermost steps of the vector row workers, as one table per instruction set. They work on runs of pixels of
// one row, short enough to stay in the first-level cache. Plain pointers and numbers only: this is all that a file
// compiled for a wider instruction set gets to see.
#pragma once

#include "engine/kernels/row_kernels.h"

namespace nuv {

// Kernels take their pixels in steps of so many; the count that they get is a multiple of it, and at most a run. In
// short runs the processor computes the next one while the stores of the last one are still on their way. Long
// runs, as wide as a tile, are for samplers of bytes that overlap the arithmetic of one step with the samples of
// another.
inline constexpr int kTileStep = 8;
inline constexpr int kRunPixels = 64;
inline constexpr int kLongRunPixels = 256;

// Orders of a pixel's four channels, as shuffles take them: two bits for each channel of the result, from the
// lowest on, name the channel that goes there.
inline constexpr int kArgbToRgba = 0b00'11'10'01;
inline constexpr int kRgbaToArgb = 0b10'01'00'11;
inline constexpr int kSwapRedBlue = 0b11'00'01'10;
inline constexpr int kAlphaEverywhere = 0b11'11'11'11;

struct SourcePixels {
    const std::byte* first;
    std::int32_t width, height;  // 0 and more
    std::int32_t rowBytes, pixelBytes;
};

// Source rows by which the samples' prefetching is ahead: an output row reads at most one row further down than the
// one above it.
inline constexpr int kRowsAhead = 2;

// Samplers bring the samples of a run together, as neighbours, into `samples`, which has room for a whole run: more
// of it than `count` pixels may be written.

// From one source row of at least a step's pixels: `line` is its first one, and `columns` are inside of it, none
// more than 7 apart from the 7th before, and ascending.
using SampleLine = void (*)(const SourcePixels& source, const std::byte* line, const std::int32_t* columns,
                            int count, std::byte* samples);

// The enlargement along one output row, in the terms of scalar_row_worker.cpp.
struct MagnifiedRow {
    float cx, cyE, R, amount;
    float percent;  // k = 1 + s * percent: 0.02, or -0.02 for a negative amount
    float dy, dy2;
    float offsetX, offsetY;  // of the source
};

// From wherever the pixels x, x + 1, … of the output row read their enlarged samples; outside of the source is
// transparent black.
using SampleCurve = void (*)(const SourcePixels& source, const MagnifiedRow& row, std::int32_t x, int count,
                             std::byte* samples);

// For sources of bytes and of floats.
struct Samplers {
    SampleLine line;
    SampleCurve square, cubic;
    int curveRunPixels;  // the longest run of `square` and `cubic`
    bool nearOnly;       // they take only sources that lie within 2^31 bytes from their first pixel on
};

// All bits set for a channel (R, G, B) that comes from the enlarged sample, else none; none for alpha.
struct ChannelMasks {
    std::uint32_t channel[4];
};

// Makes result pixels of both samples, which are pixels of the source's depth. Nothing need be aligned. Meanwhile
// the pixels at `next`, as many as at `direct`, are brought into the cache.
using ComposePixels = void (*)(const std::byte* direct, const std::byte* magnified, const std::byte* next,
                               std::byte* result, int count, const ChannelMasks& masks);

inline constexpr int kShowCount = 5;  // any other value shows as 0

struct Composers {
    ComposePixels bytes[kShowCount];
    ComposePixels floats[kShowCount];
};

struct TileKernels {
    Samplers bytes, floats;
    Composers cached;
    Composers streamed;  // stores bypass the cache, without a fence; the result is aligned to a cache line
};

// Whether the table has every kernel, as for RowKernels.
consteval bool IsComplete(const Samplers& samplers) {
    const auto& [line, square, cubic, curveRunPixels, nearOnly] = samplers;
    return line && square && cubic && curveRunPixels > 0;
}
consteval bool IsComplete(const Composers& composers) {
    const auto& [bytes, floats] = composers;
    for (int show = 0; show < kShowCount; ++show) {
        if (!bytes[show] || !floats[show]) return false;
    }
    return true;
}
consteval bool IsComplete(const TileKernels& table) {
    const auto& [bytes, floats, cached, streamed] = table;
    return IsComplete(bytes) && IsComplete(floats) && IsComplete(cached) && IsComplete(streamed);
}

// The kernels for every x86-64 processor also stand in for those that take near sources alone.
extern const TileKernels kSse2Tiles;

// The row worker made of them. A streaming one bypasses the cache wherever the result is aligned to its pixels.
void RenderTiles(const TileKernels& kernels, bool stream, const RenderData& job, std::int32_t firstRow,
                 std::int32_t endRow);

}  // namespace nuv
