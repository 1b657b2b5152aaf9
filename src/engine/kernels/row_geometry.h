// What is the same for all pixels of a frame, and the steps that are the same in every row worker.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "engine/kernels/render_data.h"

namespace nuv {

// Rounds toward zero. A value that does not fit becomes the most negative integer, as in the processor's
// conversion. That integer lies outside the source, unless an equally extreme offset moves it back.
inline std::int32_t Truncate(float value) {
    constexpr float kLimit = 2147483648.0f;
    return value >= -kLimit && value < kLimit ? static_cast<std::int32_t>(value)
                                              : std::numeric_limits<std::int32_t>::min();
}

// Columns and rows are pixels of the output, counted from its top left. Distances are taken between pixel
// positions, which are whole numbers, and not between the middles of pixels.
struct FrameGeometry {
    float cx;   // centre of the enlargement
    float cyE;  // row of the centre, mirrored from top to bottom; cx is not mirrored, and neither may change
    float R;    // distance from the centre to the farthest corner
    std::int32_t columns;  // computed columns of each row, 0 to output.width; the rest is zero
};

inline FrameGeometry GeometryOf(const RenderData& job) {
    const float Wd = static_cast<float>(job.output.width) * job.downsampleX;
    const float Hd = static_cast<float>(job.output.height) * job.downsampleY;
    const float cx = static_cast<float>(job.centerX);
    const float cy = static_cast<float>(job.centerY);
    const auto distance = [](float dx, float dy) { return std::sqrt(dx * dx + dy * dy); };
    const float R =
        std::max({distance(cx, cy), distance(Wd - cx, Hd - cy), distance(cx, Hd - cy), distance(Wd - cx, cy)});

    // Only the columns x with x < Wd are computed. At a reduced resolution, these are not all. The comparison is in
    // single precision. If a host claims more than full resolution, all columns are computed.
    std::int32_t columns = 0;
    for (std::int32_t end = job.output.width; columns < end;) {
        const std::int32_t middle = columns + (end - columns) / 2;
        if (static_cast<float>(middle) < Wd) {
            columns = middle + 1;
        } else {
            end = middle;
        }
    }
    return {cx, Hd - cy, R, columns};
}

// Which of the channels R, G, B come from the enlarged copy.
struct EnlargedChannels {
    bool channel[3];
};

inline EnlargedChannels ChannelsOf(std::int32_t mode, float amount) {
    if (mode < 0 || mode > 2) return {{false, false, false}};
    // An amount of zero or more takes the named channel; a negative amount takes the two others.
    const bool named = amount >= 0.0f;
    EnlargedChannels enlarged{{!named, !named, !named}};
    enlarged.channel[mode] = named;
    return enlarged;
}

// Sets to zero those pixels of an output row that no worker computes.
inline void ClearBeyond(const FrameGeometry& frame, const ImageBuffer& output, std::byte* row) {
    if (frame.columns >= output.width) return;
    std::memset(row + std::ptrdiff_t{frame.columns} * 16, 0,
                static_cast<std::size_t>(output.width - frame.columns) * 16);
}

}  // namespace nuv
