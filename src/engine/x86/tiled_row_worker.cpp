// The row worker of the vector tables: the formulas of scalar_row_worker.cpp, taken apart into passes over tiles.
//
// Both samples of a tile are first brought into a row of neighbours: the direct one usually is one already and is
// read in place, the enlarged one is fetched pixel by pixel. Then both are put together in one sweep.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "engine/row_geometry.h"
#include "engine/x86/tile_kernels.h"

namespace nuv {
namespace {

constexpr int kTilePixels = 1024;
static_assert(kTilePixels % kTileStep == 0);

constexpr std::byte kTransparent[16]{};

// Columns of the source for the columns of a tile, where they do not depend on the row: always for the direct
// sample, and for the enlarged one as long as k is the same everywhere.
struct ColumnMap {
    bool contiguous;                   // a run of neighbours, all inside
    bool inside;                       // all of them
    std::int32_t offset[kTilePixels];  // bytes from the start of the source row; negative: outside
};

template <int kBytes>
void CopyPixel(std::byte* to, const std::byte* from) {
    std::memcpy(to, from, kBytes);
}

template <int kBytes>
void Fetch(const ColumnMap& map, const std::byte* line, int count, std::byte* tile) {
    for (int i = 0; i < count; ++i) {
        const std::int32_t offset = map.offset[i];
        CopyPixel<kBytes>(tile + i * kBytes, map.inside || offset >= 0 ? line + offset : kTransparent);
    }
}

template <int kBytes>
void Fetch(const std::byte* const* pixels, int count, std::byte* tile) {
    for (int i = 0; i < count; ++i)
        CopyPixel<kBytes>(tile + i * kBytes, pixels[i]);
}

class TiledWorker {
public:
    TiledWorker(const TileKernels& kernels, bool stream, const RenderData& job)
        : kernels_(kernels), stream_(stream), job_(job), frame_(GeometryOf(job)) {
        const MagnifiedChannels magnified = ChannelsOf(job.mode, job.amount);
        for (std::size_t i = 0; i < 3; ++i)
            masks_.channel[i] = magnified.channel[i] ? ~std::uint32_t{0} : 0;
    }

    void Render(std::int32_t firstRow, std::int32_t endRow) {
        for (std::int32_t x = 0; x < frame_.columns; x += kTilePixels) {
            StartTiles(x, std::min(kTilePixels, frame_.columns - x));
            for (std::int32_t y = firstRow; y < endRow; ++y)
                RenderTile(y);
        }
        for (std::int32_t y = firstRow; y < endRow; ++y)
            ClearBeyond(frame_, job_.output, ResultRow(y));
        if (stream_) _mm_sfence();
    }

private:
    std::byte* ResultRow(std::int32_t y) const {
        return job_.output.pixels + std::ptrdiff_t{job_.output.rowBytes} * y;
    }

    // Null outside of the source.
    const std::byte* SourceRow(std::int32_t row) const {
        if (row < 0 || row >= job_.input.height) return nullptr;
        return job_.input.pixels + std::ptrdiff_t{job_.input.rowBytes} * row;
    }

    template <class ColumnOf>
    void FillMap(ColumnMap& map, ColumnOf columnOf) const {
        map.contiguous = map.inside = true;
        for (int i = 0; i < count_; ++i) {
            const std::int32_t column = columnOf(static_cast<float>(x_ + i));
            const bool inside = column >= 0 && column < job_.input.width;
            map.offset[i] = inside ? column * pixelBytes_ : -1;
            map.inside = map.inside && inside;
            map.contiguous = map.contiguous && inside && map.offset[i] == map.offset[0] + i * pixelBytes_;
        }
    }

    void StartTiles(std::int32_t x, int count) {
        x_ = x;
        count_ = count;
        magnifiedPixels_ = nullptr;
        FillMap(directColumns_, [this](float fx) { return Truncate(fx - job_.sourceOffsetX); });
        if (!linear_) return;
        FillMap(magnifiedColumns_, [this](float fx) {
            const float zx = static_cast<float>(Truncate(inv_ * (fx - frame_.cx) + frame_.cx));
            return Truncate(zx - job_.sourceOffsetX);
        });
    }

    // The pixels of a source row, in place or brought into `tile`.
    const std::byte* Pixels(std::int32_t row, const ColumnMap& map, std::byte* tile) const {
        const std::byte* const line = SourceRow(row);
        if (line == nullptr) {
            std::memset(tile, 0, static_cast<std::size_t>(count_ * pixelBytes_));
            return tile;
        }
        if (map.contiguous) return line + map.offset[0];
        pixelBytes_ == 4 ? Fetch<4>(map, line, count_, tile) : Fetch<16>(map, line, count_, tile);
        return tile;
    }

    void RenderTile(std::int32_t y) {
        const float fy = static_cast<float>(y);
        const float dy = fy - frame_.cyE;
        const std::byte* const direct = Pixels(Truncate(fy - job_.sourceOffsetY), directColumns_, directTile_);
        const std::byte* const magnified = linear_ ? MagnifiedLine(dy) : MagnifiedCurve(dy);
        Compose(direct, magnified, ResultRow(y) + std::ptrdiff_t{x_} * 16);
    }

    const std::byte* MagnifiedLine(float dy) {
        const float zy = static_cast<float>(Truncate(inv_ * dy + frame_.cyE));
        const std::int32_t row = Truncate(zy - job_.sourceOffsetY);
        // An enlarged row serves several rows of the output.
        if (magnifiedPixels_ == nullptr || row != fetchedRow_) {
            magnifiedPixels_ = Pixels(row, magnifiedColumns_, magnifiedTile_);
            fetchedRow_ = row;
        }
        return magnifiedPixels_;
    }

    // The samples lie on a curve across many source rows, out of the reach of the processor's own prefetching: all
    // lines are asked for before the first is read.
    const std::byte* MagnifiedCurve(float dy) {
        const MagnifiedRow row{frame_.cx, frame_.cyE, frame_.R,           job_.amount,       percent_,
                               dy,        dy * dy,    job_.sourceOffsetX, job_.sourceOffsetY};
        const int steps = (count_ + kTileStep - 1) / kTileStep * kTileStep;
        (job_.scaling == 1 ? kernels_.square : kernels_.cubic)(row, x_, steps, columns_, rows_);
        kernels_.locate(source_, columns_, rows_, steps, pixels_);
        for (int i = 0; i < count_; ++i)
            _mm_prefetch(reinterpret_cast<const char*>(pixels_[i]), _MM_HINT_T0);
        pixelBytes_ == 4 ? Fetch<4>(pixels_, count_, magnifiedTile_) : Fetch<16>(pixels_, count_, magnifiedTile_);
        return magnifiedTile_;
    }

    void Compose(const std::byte* direct, const std::byte* magnified, std::byte* result) const {
        const auto misaligned = reinterpret_cast<std::uintptr_t>(result);
        const bool stream = stream_ && misaligned % 16 == 0;
        const auto choose = [this](const Composers& composers) {
            const int show = job_.show > 0 && job_.show < kShowCount ? job_.show : 0;
            return pixelBytes_ == 4 ? composers.bytes[show] : composers.floats[show];
        };
        const ComposePixels cached = choose(kernels_.cached);
        int left = count_;
        const auto advance = [&](int pixels) {
            direct += pixels * pixelBytes_;
            magnified += pixels * pixelBytes_;
            result += pixels * 16;
            left -= pixels;
        };
        // Fewer pixels than a step take a detour, so that nothing beyond the row is touched.
        const auto composeFew = [&](int pixels) {
            std::byte from[2][kTileStep * 16]{};
            std::byte to[kTileStep * 16];
            std::memcpy(from[0], direct, static_cast<std::size_t>(pixels * pixelBytes_));
            std::memcpy(from[1], magnified, static_cast<std::size_t>(pixels * pixelBytes_));
            cached(from[0], from[1], to, kTileStep, masks_);
            std::memcpy(result, to, static_cast<std::size_t>(pixels * 16));
            advance(pixels);
        };
        if (stream) {
            const auto alignment = static_cast<std::uintptr_t>(kernels_.streamAlignment);
            const auto head = static_cast<int>((alignment - misaligned % alignment) % alignment / 16);
            if (head > 0) composeFew(std::min(head, left));
        }
        const int steps = left / kTileStep * kTileStep;
        (stream ? choose(kernels_.streamed) : cached)(direct, magnified, result, steps, masks_);
        advance(steps);
        if (left > 0) composeFew(left);
    }

    const TileKernels& kernels_;
    const bool stream_;
    const RenderData& job_;
    const FrameGeometry frame_;
    const int pixelBytes_ = job_.input.bitsPerChannel == 8 ? 4 : 16;
    const bool linear_ = job_.scaling != 1 && job_.scaling != 2;
    const float percent_ = job_.amount >= 0.0f ? 0.02f : -0.02f;
    const float inv_ = 1.0f / (1.0f + job_.amount * percent_);  // for linear alone
    const SourcePixels source_{job_.input.pixels, kTransparent,        job_.input.width,
                               job_.input.height, job_.input.rowBytes, pixelBytes_};
    ChannelMasks masks_{};

    // The tiles in work: a stack of them, one for each row.
    std::int32_t x_ = 0;
    int count_ = 0;
    std::int32_t fetchedRow_ = 0;
    const std::byte* magnifiedPixels_ = nullptr;
    ColumnMap directColumns_;
    ColumnMap magnifiedColumns_;
    std::int32_t columns_[kTilePixels];
    std::int32_t rows_[kTilePixels];
    const std::byte* pixels_[kTilePixels];
    alignas(64) std::byte directTile_[kTilePixels * 16];
    alignas(64) std::byte magnifiedTile_[kTilePixels * 16];
};

}  // namespace

void RenderRowsSse2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    TiledWorker(kSse2Tiles, false, job).Render(firstRow, endRow);
}
void RenderRowsSse2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    TiledWorker(kSse2Tiles, true, job).Render(firstRow, endRow);
}
void RenderRowsAvx2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    TiledWorker(kAvx2Tiles, false, job).Render(firstRow, endRow);
}
void RenderRowsAvx2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    TiledWorker(kAvx2Tiles, true, job).Render(firstRow, endRow);
}

}  // namespace nuv
