// The row worker of the vector tables. It computes the formulas of scalar_row_worker.cpp in passes over short runs
// of pixels.
//
// To compose a run, the worker needs its direct and its enlarged samples as two arrays without gaps. The direct
// samples usually lie side by side in the source, and are read there. The enlarged samples are first copied into a
// buffer. Then one pass composes both. tile_kernels.h explains the length of runs.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/kernels/row_geometry.h"
#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

// The worker goes through columns of tiles from top to bottom. Thus a tile finds most of what it reads in the
// cache, and few memory pages are in use at a time.
constexpr int kTilePixels = kLongRunPixels;
static_assert(kTilePixels % kTileStep == 0 && kRunPixels % kTileStep == 0);

// With streaming stores, a tile begins and ends where a step is aligned in memory, so that no two tiles write to
// the same cache line. A tile may therefore be longer by up to one step.
constexpr int kMostPixels = kTilePixels + kTileStep;

// Whether all distances within the source, in bytes, fit into signed 32 bits.
bool IsNear(const SourcePixels& source) {
    const std::int64_t row = source.rowBytes;
    return (row < 0 ? -row : row) * source.height + std::int64_t{source.pixelBytes} * source.width <
           std::numeric_limits<std::int32_t>::max();
}

// The source columns that a tile reads, if they are the same in each row of the output. This always holds for the
// direct sample, and for the enlarged one if k is the same everywhere.
struct ColumnMap {
    bool contiguous;  // all inside the source, without gaps
    bool sampleable;  // all inside the source, ascending, and dense enough for SampleLine
    // -1 is outside the source. The last column is repeated after the tile's end.
    std::int32_t column[kMostPixels + kTileStep];
};

class TiledWorker {
public:
    TiledWorker(const TileKernels& kernels, bool stream, const RenderData& job)
        : stream_(stream), job_(job), frame_(GeometryOf(job)), samplers_(SamplersFor(kernels)) {
        const EnlargedChannels enlarged = ChannelsOf(job.mode, job.amount);
        for (std::size_t i = 0; i < 3; ++i)
            masks_.channel[i] = enlarged.channel[i] ? ~std::uint32_t{0} : 0;
        const int show = job.show > 0 && job.show < kShowCount ? job.show : 0;
        const auto composer = [&](const Composers& composers) {
            return pixelBytes_ == 4 ? composers.bytes[show] : composers.floats[show];
        };
        composeCached_ = composer(kernels.cached);
        composeStreamed_ = composer(kernels.streamed);
    }

    void Render(std::int32_t firstRow, std::int32_t endRow) {
        for (std::int32_t x = 0; x < frame_.columns && firstRow < endRow; x += kTilePixels) {
            StartColumn(x, std::min(kMostPixels, frame_.columns - x));
            for (std::int32_t y = firstRow; y < endRow; ++y)
                RenderTile(y);
        }
        for (std::int32_t y = firstRow; y < endRow; ++y)
            ClearBeyond(frame_, job_.output, ResultRow(y));
        if (stream_) _mm_sfence();
    }

private:
    const Samplers& SamplersFor(const TileKernels& kernels) const {
        const Samplers& samplers = pixelBytes_ == 4 ? kernels.bytes : kernels.floats;
        return samplers.nearOnly && !IsNear(source_) ? SamplersFor(kSse2Tiles) : samplers;
    }

    std::byte* ResultRow(std::int32_t y) const {
        return job_.output.pixels + std::ptrdiff_t{job_.output.rowBytes} * y;
    }

    // Returns null outside the source.
    const std::byte* SourceLine(std::int32_t row) const {
        if (row < 0 || row >= source_.height) return nullptr;
        return source_.first + std::ptrdiff_t{source_.rowBytes} * row;
    }

    void StartColumn(std::int32_t x, int count) {
        x_ = x;
        count_ = count;
        FillMap(directColumns_, [this](float fx) { return Truncate(fx - job_.sourceOffsetX); });
        if (!linear_) return;
        FillMap(enlargedColumns_, [this](float fx) {
            const float zx = static_cast<float>(Truncate(inv_ * (fx - frame_.cx) + frame_.cx));
            return Truncate(zx - job_.sourceOffsetX);
        });
    }

    template <class ColumnOf>
    void FillMap(ColumnMap& map, ColumnOf columnOf) const {
        map.contiguous = true;
        map.sampleable = source_.width >= kTileStep;
        std::int32_t* const column = map.column;
        for (int i = 0; i < count_; ++i) {
            const std::int32_t at = columnOf(static_cast<float>(x_ + i));
            const bool inside = at >= 0 && at < source_.width;
            column[i] = inside ? at : -1;
            map.contiguous = map.contiguous && inside && at == column[0] + i;
            map.sampleable = map.sampleable && inside && at >= column[std::max(i - 1, 0)] &&
                             at - column[std::max(i - (kTileStep - 1), 0)] < kTileStep;
        }
        std::fill_n(column + count_, kTileStep, column[count_ - 1]);
    }

    void RenderTile(std::int32_t y) {
        const float fy = static_cast<float>(y);
        const float dy = fy - frame_.cyE;
        directLine_ = SourceLine(Truncate(fy - job_.sourceOffsetY));
        if (linear_) {
            const float zy = static_cast<float>(Truncate(inv_ * dy + frame_.cyE));
            enlargedLine_ = SourceLine(Truncate(zy - job_.sourceOffsetY));
        } else {
            enlargedRow_.dy = dy;
            enlargedRow_.dy2 = dy * dy;
        }

        std::byte* const row = ResultRow(y);
        const bool stream = stream_ && reinterpret_cast<std::uintptr_t>(row) % 16 == 0;
        const auto boundary = [&](std::int32_t x) { return stream ? StepBoundary(x, row) : x; };
        const std::int32_t begin = x_ == 0 ? 0 : boundary(x_);
        const std::int32_t end = std::min(boundary(std::min(x_ + kTilePixels, frame_.columns)), frame_.columns);
        const std::int32_t body = std::min(boundary(begin), end);
        const std::int32_t tail = body + (end - body) / kTileStep * kTileStep;

        if (begin < body) ComposeFew(begin, body - begin, row);
        const ComposePixels compose = stream ? composeStreamed_ : composeCached_;
        for (std::int32_t x = body; x < tail; x += runPixels_) {
            const int count = std::min(runPixels_, tail - x);
            const std::byte* const enlarged = Enlarged(x, count);
            const std::byte* const direct = Direct(x, count);
            // The next output row most likely reads the source row below.
            const std::byte* const next = direct == directRun_ ? direct : direct + source_.rowBytes;
            compose(direct, enlarged, next, row + std::ptrdiff_t{x} * 16, count, masks_);
        }
        if (tail < end) ComposeFew(tail, end - tail, row);
    }

    // Fewer pixels than a step go through local buffers, so that nothing beyond the row is touched.
    void ComposeFew(std::int32_t x, int count, std::byte* row) {
        std::byte enlarged[kTileStep * 16]{};
        std::byte direct[kTileStep * 16]{};
        std::byte result[kTileStep * 16];
        std::memcpy(enlarged, Enlarged(x, count), static_cast<std::size_t>(count * pixelBytes_));
        std::memcpy(direct, Direct(x, count), static_cast<std::size_t>(count * pixelBytes_));
        composeCached_(direct, enlarged, direct, result, kTileStep, masks_);
        std::memcpy(row + std::ptrdiff_t{x} * 16, result, static_cast<std::size_t>(count * 16));
    }

    // The first column, from `x` on, where streaming stores may begin in this row of the result.
    std::int32_t StepBoundary(std::int32_t x, const std::byte* row) const {
        constexpr std::uintptr_t kStepBytes = kTileStep * 16;
        const std::uintptr_t beyond = reinterpret_cast<std::uintptr_t>(row + std::ptrdiff_t{x} * 16) % kStepBytes;
        return std::min(x + static_cast<std::int32_t>((kStepBytes - beyond) % kStepBytes / 16), frame_.columns);
    }

    const std::byte* Direct(std::int32_t x, int count) {
        return OfLine(directLine_, directColumns_, x, count, directRun_);
    }

    const std::byte* Enlarged(std::int32_t x, int count) {
        if (linear_) return OfLine(enlargedLine_, enlargedColumns_, x, count, enlargedRun_);
        (job_.scaling == 1 ? samplers_.square : samplers_.cubic)(source_, enlargedRow_, x, Steps(count),
                                                                 enlargedRun_);
        return enlargedRun_;
    }

    static constexpr std::size_t kRunBytes = std::max(kLongRunPixels * 4, kRunPixels * 16);

    // Rounds up to whole steps.
    static constexpr int Steps(int count) { return (count + kTileStep - 1) / kTileStep * kTileStep; }

    // Returns the address of the samples from a line. They lie in the source, or this function copies them to
    // `run`.
    const std::byte* OfLine(const std::byte* line, const ColumnMap& map, std::int32_t x, int count,
                            std::byte* run) const {
        const std::int32_t* const column = map.column + (x - x_);
        if (line == nullptr) {
            std::memset(run, 0, static_cast<std::size_t>(count * pixelBytes_));
        } else if (map.contiguous) {
            return line + std::ptrdiff_t{column[0]} * pixelBytes_;
        } else if (map.sampleable) {
            samplers_.line(source_, line, column, Steps(count), run);
        } else {
            for (int i = 0; i < count; ++i) {
                static constexpr std::byte kTransparent[16]{};
                std::memcpy(run + i * pixelBytes_,
                            column[i] < 0 ? kTransparent : line + std::ptrdiff_t{column[i]} * pixelBytes_,
                            static_cast<std::size_t>(pixelBytes_));
            }
        }
        return run;
    }

    const bool stream_;
    const RenderData& job_;
    const FrameGeometry frame_;
    const int pixelBytes_ = job_.input.bitsPerChannel == 8 ? 4 : 16;
    // Hosts may claim any size. Negative sizes become 0, because width - 8 must not overflow in the samplers.
    const SourcePixels source_{job_.input.pixels, std::max(job_.input.width, 0), std::max(job_.input.height, 0),
                               job_.input.rowBytes, pixelBytes_};
    const bool linear_ = job_.scaling != 1 && job_.scaling != 2;
    const float percent_ = job_.amount >= 0.0f ? 0.02f : -0.02f;
    const float inv_ = 1.0f / (1.0f + job_.amount * percent_);  // only for linear
    const Samplers& samplers_;
    const int runPixels_ = linear_ ? kRunPixels : samplers_.curveRunPixels;
    ComposePixels composeCached_, composeStreamed_;
    ChannelMasks masks_{};

    // The current column of tiles.
    std::int32_t x_ = 0;
    int count_ = 0;
    ColumnMap directColumns_;
    ColumnMap enlargedColumns_;

    // The current row.
    const std::byte* directLine_ = nullptr;
    const std::byte* enlargedLine_ = nullptr;  // only for linear
    EnlargedRow enlargedRow_{frame_.cx, frame_.cyE, Divisor(frame_.R),  job_.amount,       percent_,
                             0,         0,          job_.sourceOffsetX, job_.sourceOffsetY};
    alignas(64) std::byte directRun_[kRunBytes];
    alignas(64) std::byte enlargedRun_[kRunBytes];
};

}  // namespace

void RenderTiles(const TileKernels& kernels, bool stream, const RenderData& job, std::int32_t firstRow,
                 std::int32_t endRow) {
    // Hosts may claim sizes that no frame has.
    if (!Divisor(GeometryOf(job).R).IsModerate()) return RenderRows(job, firstRow, endRow);
    TiledWorker(kernels, stream, job).Render(firstRow, endRow);
}

}  // namespace nuv
