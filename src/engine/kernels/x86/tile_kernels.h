// The innermost steps of the vector row workers: one table for each instruction set. They work on runs of pixels
// that fit the first-level cache. Files for a wider instruction set include only this header and texts whose code
// is in unnamed namespaces, so that no object shares code with another.
#pragma once

#include "engine/kernels/row_kernels.h"

namespace nuv {

// Kernels work in steps of kTileStep pixels. Their argument `count` is a multiple of kTileStep, and at most one
// run. A run is short, so that the processor computes the next run while it still stores the last one. A long run
// is as wide as a tile. It is for byte samplers that compute one step while they read the pixels of another.
inline constexpr int kTileStep = 8;
inline constexpr int kRunPixels = 64;
inline constexpr int kLongRunPixels = 256;

// Orders of a pixel's four channels, in the form that shuffle instructions take. The lowest two bits are for the
// first channel of the result, and so on. They are the number of the source channel that goes there.
inline constexpr int kArgbToRgba = 0b00'11'10'01;
inline constexpr int kRgbaToArgb = 0b10'01'00'11;
inline constexpr int kSwapRedBlue = 0b11'00'01'10;
inline constexpr int kAlphaEverywhere = 0b11'11'11'11;

struct SourcePixels {
    const std::byte* first;
    std::int32_t width, height;  // not negative
    std::int32_t rowBytes, pixelBytes;
};

// How many source rows ahead the samplers prefetch. From one output row to the next, the source row moves down
// by one at most.
inline constexpr int kRowsAhead = 2;

// Samplers write the samples of a run to `samples`, without gaps. There is room for a whole run, so a sampler may
// write more than `count` pixels.

// Fetches samples from one source row, which has at least kTileStep pixels. `line` is its first pixel. All columns
// lie inside the row. Columns ascend, and any eight consecutive ones span at most eight source pixels.
using SampleLine = void (*)(const SourcePixels& source, const std::byte* line, const std::int32_t* columns,
                            int count, std::byte* samples);

// A divisor of many values, and the float nearest to its inverse. The product with the inverse, corrected by two
// fused multiply-adds, is the same float as the quotient (Markstein's theorem), if nothing overflows or underflows.
struct Divisor {
    float value, inverse;

    explicit Divisor(float divisor) : value(divisor), inverse(1.0f / divisor) {}

    // Whether nothing does for zero and for values from 2^-100 to 2^60. Square roots of floats are not smaller, and
    // distances from the centre are not larger if this holds for R.
    bool IsModerate() const { return value >= 0x1p-20f && value <= 0x1p40f; }
};

// The enlargement along one output row. The names are those of scalar_row_worker.cpp.
struct EnlargedRow {
    float cx, cyE;
    Divisor R;
    float amount;
    float percent;  // 0.02, or -0.02 for a negative amount; k = 1 + Strength * percent
    float dy, dy2;
    float offsetX, offsetY;  // job.sourceOffsetX and job.sourceOffsetY
};

// Fetches the enlarged samples of the output pixels x, x + 1, … from any places in the source. Outside the source
// they are transparent black.
using SampleCurve = void (*)(const SourcePixels& source, const EnlargedRow& row, std::int32_t x, int count,
                             std::byte* samples);

// The samplers for one depth of the source, bytes or floats.
struct Samplers {
    SampleLine line;
    SampleCurve square, cubic;
    int curveRunPixels;  // the longest run that `square` and `cubic` take
    bool nearOnly;       // whether they reach only pixels less than 2^31 bytes before or behind the first one
};

// A channel (R, G, B) that comes from the enlarged sample has all bits set; the others, and alpha, have none.
struct ChannelMasks {
    std::uint32_t channel[4];
};

// Composes result pixels from the direct and the enlarged samples, which have the source's depth. It also
// prefetches `count` pixels at `next`. Nothing needs to be aligned, except the results of `streamed` (see below).
using ComposePixels = void (*)(const std::byte* direct, const std::byte* enlarged, const std::byte* next,
                               std::byte* result, int count, const ChannelMasks& masks);

inline constexpr int kShowCount = 5;  // other values act as 0

struct Composers {
    ComposePixels bytes[kShowCount];
    ComposePixels floats[kShowCount];
};

struct TileKernels {
    Samplers bytes, floats;
    Composers cached;
    Composers streamed;  // stores bypass the cache, without a fence; results must be aligned to a cache line
};

// Whether the table has every kernel. See IsComplete for RowKernels.
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

// The kernels for every x86-64 processor. If the source is too large for samplers with `nearOnly`, these samplers
// are used instead.
extern const TileKernels kSse2Tiles;

// The row worker that uses these kernels. With `stream`, stores bypass the cache in every output row whose address
// is a multiple of 16, the bytes of a pixel.
void RenderTiles(const TileKernels& kernels, bool stream, const RenderData& job, std::int32_t firstRow,
                 std::int32_t endRow);

}  // namespace nuv
