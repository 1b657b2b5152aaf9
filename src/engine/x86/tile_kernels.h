// The innermost steps of the vector row workers, as one table per instruction set. A tile is a run of pixels of one
// row, short enough to stay in the first-level cache. Plain pointers and numbers only: this is all that a file
// compiled for a wider instruction set gets to see.
#pragma once

#include "engine/row_kernels.h"

namespace nuv {

// Kernels take their pixels in steps of so many; the count that they get is a multiple of it.
inline constexpr int kTileStep = 8;

// The enlargement along one row, in the terms of scalar_row_worker.cpp.
struct MagnifiedRow {
    float cx, cyE, R, amount;
    float percent;  // k = 1 + s * percent: 0.02, or -0.02 for a negative amount
    float dy, dy2;
    float offsetX, offsetY;  // of the source
};

// Where the pixels x, x + 1, … of the row read their enlarged samples: columns and rows of the source, which may
// lie outside of it.
using MapPixels = void (*)(const MagnifiedRow& row, std::int32_t x, int count, std::int32_t* columns,
                           std::int32_t* rows);

struct SourcePixels {
    const std::byte* first;
    const std::byte* outside;  // the transparent black pixel that is read outside of the source
    std::int32_t width, height, rowBytes, pixelBytes;
};

using LocatePixels = void (*)(const SourcePixels& source, const std::int32_t* columns, const std::int32_t* rows,
                              int count, const std::byte** pixels);

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
    MapPixels square;
    MapPixels cubic;
    LocatePixels locate;
    Composers cached;
    Composers streamed;  // stores bypass the cache, without a fence; the result is aligned to a cache line
};

extern const TileKernels kSse2Tiles;
extern const TileKernels kAvx2Tiles;

// The row workers made of them. The streaming ones bypass the cache wherever the result is aligned to its pixels.
void RenderRowsSse2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);
void RenderRowsSse2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);
void RenderRowsAvx2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);
void RenderRowsAvx2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);

}  // namespace nuv
