// What all pixels of a frame have in common, and the steps that every row worker takes alike.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "engine/kernels/render_data.h"

namespace nuv {

// Toward zero, and to the most negative integer for what does not fit, as the processor does it. That integer lies
// outside the source, unless an offset as extreme moves it back.
inline std::int32_t Truncate(float value) {
    constexpr float kLimit = 2147483648.0f;
    return value >= -kLimit && value < kLimit ? static_cast<std::int32_t>(value)
                                              : std::numeric_limits<std::int32_t>::min();
}

// Columns and rows in pixels of the output, from its top left; distances are taken between whole positions, not
// pixel middles.
struct FrameGeometry {
    float cx;              // centre of the enlargement
    float cyE;             // mirrored top to bottom, but not left to right: a saved look depends on it
    float R;               // distance of the farthest corner from the centre
    std::int32_t columns;  // computed columns of every row, 0 to output.width; those further right are zero
};

inline FrameGeometry GeometryOf(const RenderData& job) {
    const float Wd = static_cast<float>(job.output.width) * job.downsampleX;
    const float Hd = static_cast<float>(job.output.height) * job.downsampleY;
    const float cx = static_cast<float>(job.centerX);
    const float cy = static_cast<float>(job.centerY);
    const auto distance = [](float dx, float dy) { return std::sqrt(dx * dx + dy * dy); };
    const float R =
        std::max({distance(cx, cy), distance(Wd - cx, Hd - cy), distance(cx, Hd - cy), distance(Wd - cx, cy)});

    // At a reduced resolution only the columns x with x < Wd in single precision are computed. A host that claims
    // more than full resolution still gets no more than its row.
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

// Which channels, in the order R, G, B, come from the enlarged copy.
struct MagnifiedChannels {
    bool channel[3];
};

inline MagnifiedChannels ChannelsOf(std::int32_t mode, float amount) {
    if (mode < 0 || mode > 2) return {{false, false, false}};
    // The named channel for an amount of zero and more, else the two others.
    const bool named = amount >= 0.0f;
    MagnifiedChannels magnified{{!named, !named, !named}};
    magnified.channel[mode] = named;
    return magnified;
}

// Zeroes the pixels of an output row that no worker computes.
inline void ClearBeyond(const FrameGeometry& frame, const ImageBuffer& output, std::byte* row) {
    if (frame.columns >= output.width) return;
    std::memset(row + std::ptrdiff_t{frame.columns} * 16, 0,
                static_cast<std::size_t>(output.width - frame.columns) * 16);
}

}  // namespace nuv
