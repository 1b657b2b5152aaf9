// The row worker of the vector tables: the formulas of scalar_row_worker.cpp, taken apart into passes over tiles.
//
// Both samples of a tile are first brought into a row of neighbours: the direct ones usually are neighbours already
// and are read in place, the enlarged ones are fetched one by one. Then both are put together in one sweep. Tiles
// are worked through in columns from top to bottom, so that the next one lies right below; what it will read is
// asked for in the meantime.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "engine/row_geometry.h"
#include "engine/x86/tile_kernels.h"

namespace nuv {
namespace {

constexpr std::byte kTransparent[16]{};

// Where the columns of a tile read in a source row, if that does not depend on the output's row: always for the
// direct sample, and for the enlarged one as long as k is the same everywhere.
template <std::size_t kPixels>
struct ColumnMap {
    bool inside;                   // every column
    bool contiguous;               // and all are neighbours
    std::int32_t offset[kPixels];  // bytes from the start of the source row; negative: outside
};

void Prefetch(const std::byte* pixel) {
    _mm_prefetch(reinterpret_cast<const char*>(pixel), _MM_HINT_T1);
}

template <int kBytes, std::size_t kPixels>
void FetchLine(const ColumnMap<kPixels>& map, const std::byte* line, int count, std::byte* tile) {
    for (int i = 0; i < count && map.inside; ++i)
        std::memcpy(tile + i * kBytes, line + map.offset[i], kBytes);
    for (int i = 0; i < count && !map.inside; ++i)
        std::memcpy(tile + i * kBytes, map.offset[i] < 0 ? kTransparent : line + map.offset[i], kBytes);
}

template <int kBytes>
void FetchCurve(const std::byte* const* pixels, int count, std::byte* tile) {
    for (int i = 0; i < count; ++i)
        std::memcpy(tile + i * kBytes, pixels[i], kBytes);
}

// Widths of a tile. In a narrow frame the first touch of a wide one's memory, on sixteen fresh stacks, would cost
// more than the pixels.
constexpr int kNarrow = 32, kWide = 512;

template <int kTilePixels>
class TiledWorker {
    static_assert(kTilePixels % kTileStep == 0);

public:
    TiledWorker(const TileKernels& kernels, bool stream, const RenderData& job)
        : kernels_(kernels), stream_(stream), job_(job), frame_(GeometryOf(job)) {
        const MagnifiedChannels magnified = ChannelsOf(job.mode, job.amount);
        for (std::size_t i = 0; i < 3; ++i)
            masks_.channel[i] = magnified.channel[i] ? ~std::uint32_t{0} : 0;
    }

    void Render(std::int32_t firstRow, std::int32_t endRow) {
        for (std::int32_t x = 0; x < frame_.columns && firstRow < endRow; x += kTilePixels) {
            StartColumn(x, std::min(kMostPixels, frame_.columns - x));
            Samples samples[2];
            Prepare(firstRow, samples[0]);
            for (std::int32_t y = firstRow; y < endRow; ++y) {
                const int now = (y - firstRow) % 2;
                const int next = y + 1 < endRow ? 1 - now : now;
                if (next != now) Prepare(y + 1, samples[next]);
                RenderTile(y, samples[now], samples[next]);
            }
        }
        for (std::int32_t y = firstRow; y < endRow; ++y)
            ClearBeyond(frame_, job_.output, ResultRow(y));
        if (stream_) _mm_sfence();
    }

private:
    // In a streaming row a tile begins and ends on a step's boundary of the result's addresses, so that no cache
    // line is split between two tiles. It may have to reach so far into the next one.
    static constexpr int kMostPixels = kTilePixels + kTileStep;
    static constexpr std::size_t kRoom{kMostPixels};
    using Map = ColumnMap<kRoom>;

    // The enlarged samples of one tile where k varies: a curve across many source rows.
    using Curve = const std::byte* [kRoom];

    // Where one tile reads. Lines are rows of the source, null outside of it.
    struct Samples {
        const std::byte* direct;
        const std::byte* magnified;  // for linear alone
        Curve curve;                 // for the others
    };

    std::byte* ResultRow(std::int32_t y) const {
        return job_.output.pixels + std::ptrdiff_t{job_.output.rowBytes} * y;
    }

    const std::byte* SourceLine(std::int32_t row) const {
        if (row < 0 || row >= job_.input.height) return nullptr;
        return job_.input.pixels + std::ptrdiff_t{job_.input.rowBytes} * row;
    }

    void StartColumn(std::int32_t x, int count) {
        x_ = x;
        count_ = count;
        FillMap(directColumns_, [this](float fx) { return Truncate(fx - job_.sourceOffsetX); });
        if (!linear_) return;
        fetched_ = false;
        FillMap(magnifiedColumns_, [this](float fx) {
            const float zx = static_cast<float>(Truncate(inv_ * (fx - frame_.cx) + frame_.cx));
            return Truncate(zx - job_.sourceOffsetX);
        });
    }

    template <class ColumnOf>
    void FillMap(Map& map, ColumnOf columnOf) const {
        map.inside = map.contiguous = true;
        for (int i = 0; i < count_; ++i) {
            const std::int32_t column = columnOf(static_cast<float>(x_ + i));
            const bool inside = column >= 0 && column < job_.input.width;
            map.offset[i] = inside ? column * pixelBytes_ : -1;
            map.inside = map.inside && inside;
            map.contiguous = map.contiguous && inside && map.offset[i] == map.offset[0] + i * pixelBytes_;
        }
    }

    void Prepare(std::int32_t y, Samples& samples) {
        const float fy = static_cast<float>(y);
        const float dy = fy - frame_.cyE;
        samples.direct = SourceLine(Truncate(fy - job_.sourceOffsetY));
        if (linear_) {
            const float zy = static_cast<float>(Truncate(inv_ * dy + frame_.cyE));
            samples.magnified = SourceLine(Truncate(zy - job_.sourceOffsetY));
            PrefetchLine(samples.magnified, magnifiedColumns_);
        } else {
            FindCurve(dy, samples.curve);
        }
    }

    void PrefetchLine(const std::byte* line, const Map& map) const {
        if (line == nullptr || !map.inside) return;
        for (std::int32_t offset = map.offset[0]; offset <= map.offset[count_ - 1]; offset += 64)
            Prefetch(line + offset);
    }

    // The lines of a curve are out of the reach of the processor's own prefetching.
    void FindCurve(float dy, Curve& curve) {
        const MagnifiedRow row{frame_.cx, frame_.cyE, frame_.R,           job_.amount,       percent_,
                               dy,        dy * dy,    job_.sourceOffsetX, job_.sourceOffsetY};
        const int steps = (count_ + kTileStep - 1) / kTileStep * kTileStep;
        std::int32_t columns[kRoom];
        std::int32_t rows[kRoom];
        (job_.scaling == 1 ? kernels_.square : kernels_.cubic)(row, x_, steps, columns, rows);
        kernels_.locate(source_, columns, rows, steps, curve);
        // Neighbours lie at most a pixel apart: half a cache line on is soon enough.
        for (int i = 0; i < count_; i += 32 / pixelBytes_)
            Prefetch(curve[i]);
    }

    void RenderTile(std::int32_t y, const Samples& samples, const Samples& next) {
        const std::byte* const direct = Neighbours(samples.direct, directColumns_, directTile_);
        const bool inPlace = next.direct != nullptr && directColumns_.contiguous;
        const std::byte* const nextDirect = inPlace ? next.direct + directColumns_.offset[0] : direct;
        if (!linear_) {
            pixelBytes_ == 4 ? FetchCurve<4>(samples.curve, count_, magnifiedTile_)
                             : FetchCurve<16>(samples.curve, count_, magnifiedTile_);
            magnified_ = magnifiedTile_;
        } else if (!fetched_ || samples.magnified != fetchedLine_) {
            // An enlarged line serves several rows of the output.
            magnified_ = Neighbours(samples.magnified, magnifiedColumns_, magnifiedTile_);
            fetchedLine_ = samples.magnified;
            fetched_ = true;
        }
        Compose(direct, magnified_, nextDirect, ResultRow(y));
    }

    // The samples of a line, in place or brought into `tile`.
    const std::byte* Neighbours(const std::byte* line, const Map& map, std::byte* tile) const {
        if (line == nullptr) {
            std::memset(tile, 0, static_cast<std::size_t>(count_ * pixelBytes_));
            return tile;
        }
        if (map.contiguous) return line + map.offset[0];
        pixelBytes_ == 4 ? FetchLine<4>(map, line, count_, tile) : FetchLine<16>(map, line, count_, tile);
        return tile;
    }

    // The first column from `x` on where a step of streaming stores may begin in this row of the result.
    std::int32_t StepBoundary(std::int32_t x, const std::byte* row) const {
        constexpr std::uintptr_t kStepBytes = kTileStep * 16;
        const std::uintptr_t beyond = reinterpret_cast<std::uintptr_t>(row + std::ptrdiff_t{x} * 16) % kStepBytes;
        return std::min(x + static_cast<std::int32_t>((kStepBytes - beyond) % kStepBytes / 16), frame_.columns);
    }

    // The samples start at column x_, and so does the tile, unless it streams.
    void Compose(const std::byte* direct, const std::byte* magnified, const std::byte* next, std::byte* row) const {
        const bool stream = stream_ && reinterpret_cast<std::uintptr_t>(row) % 16 == 0;
        const auto boundary = [&](std::int32_t x) { return stream ? StepBoundary(x, row) : x; };
        const std::int32_t begin = x_ == 0 ? 0 : boundary(x_);
        const std::int32_t end = std::min(boundary(std::min(x_ + kTilePixels, frame_.columns)), frame_.columns);

        const auto composer = [this](const Composers& composers) {
            const int show = job_.show > 0 && job_.show < kShowCount ? job_.show : 0;
            return pixelBytes_ == 4 ? composers.bytes[show] : composers.floats[show];
        };
        const ComposePixels cached = composer(kernels_.cached);
        const auto compose = [&](ComposePixels kernel, std::int32_t x, int count) {
            const std::ptrdiff_t sample = std::ptrdiff_t{x - x_} * pixelBytes_;
            kernel(direct + sample, magnified + sample, next + sample, row + std::ptrdiff_t{x} * 16, count, masks_);
        };
        // Fewer pixels than a step take a detour, so that nothing beyond the row is touched.
        const auto composeFew = [&](std::int32_t x, int count) {
            std::byte from[2][kTileStep * 16]{};
            std::byte to[kTileStep * 16];
            const std::ptrdiff_t sample = std::ptrdiff_t{x - x_} * pixelBytes_;
            std::memcpy(from[0], direct + sample, static_cast<std::size_t>(count * pixelBytes_));
            std::memcpy(from[1], magnified + sample, static_cast<std::size_t>(count * pixelBytes_));
            cached(from[0], from[1], from[0], to, kTileStep, masks_);
            std::memcpy(row + std::ptrdiff_t{x} * 16, to, static_cast<std::size_t>(count * 16));
        };
        const std::int32_t body = std::min(boundary(begin), end);
        const std::int32_t tail = body + (end - body) / kTileStep * kTileStep;
        if (begin < body) composeFew(begin, body - begin);
        compose(stream ? composer(kernels_.streamed) : cached, body, tail - body);
        if (tail < end) composeFew(tail, end - tail);
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

    // The column of tiles in work, and its enlarged line fetched last.
    std::int32_t x_ = 0;
    int count_ = 0;
    bool fetched_ = false;
    const std::byte* fetchedLine_ = nullptr;
    const std::byte* magnified_ = nullptr;
    Map directColumns_;
    Map magnifiedColumns_;
    alignas(64) std::byte directTile_[kRoom * 16];
    alignas(64) std::byte magnifiedTile_[kRoom * 16];
};

template <int kTilePixels>
void RenderTiles(const TileKernels& kernels, bool stream, const RenderData& job, std::int32_t firstRow,
                 std::int32_t endRow) {
    TiledWorker<kTilePixels>(kernels, stream, job).Render(firstRow, endRow);
}

// Called through a pointer, lest one function have the stack of both.
auto RenderTilesOf(const RenderData& job) {
    return job.output.width <= 4 * kNarrow ? RenderTiles<kNarrow> : RenderTiles<kWide>;
}

}  // namespace

void RenderRowsSse2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    RenderTilesOf(job)(kSse2Tiles, false, job, firstRow, endRow);
}
void RenderRowsSse2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    RenderTilesOf(job)(kSse2Tiles, true, job, firstRow, endRow);
}
void RenderRowsAvx2(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    RenderTilesOf(job)(kAvx2Tiles, false, job, firstRow, endRow);
}
void RenderRowsAvx2Streaming(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    RenderTilesOf(job)(kAvx2Tiles, true, job, firstRow, endRow);
}

}  // namespace nuv
