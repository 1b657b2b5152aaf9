// The effect itself. An output pixel takes one channel, or the two others, from a copy of the source that is
// enlarged k times about the centre. It takes its other channels from the source pixel at its own place.
#include <cmath>
#include <cstring>

#include "engine/kernels/row_geometry.h"
#include "engine/kernels/row_kernels.h"

namespace nuv {
namespace {

struct Rgba {
    float r, g, b, a;
};

// Returns the pixel at this place, or transparent black outside the source. If the pixel's alpha is zero, its
// colour becomes black.
Rgba Sample(const ImageBuffer& source, std::int32_t column, std::int32_t row) {
    if (column < 0 || column >= source.width || row < 0 || row >= source.height) return {0, 0, 0, 0};
    const std::byte* const line = source.pixels + std::ptrdiff_t{source.rowBytes} * row;
    Rgba pixel;
    if (source.bitsPerChannel == 8) {
        constexpr float kFrom8Bits = 0.003921569f;  // the float nearest 1/255
        std::uint8_t bytes[4];
        std::memcpy(bytes, line + std::ptrdiff_t{column} * 4, sizeof bytes);
        pixel = {static_cast<float>(bytes[0]) * kFrom8Bits, static_cast<float>(bytes[1]) * kFrom8Bits,
                 static_cast<float>(bytes[2]) * kFrom8Bits, static_cast<float>(bytes[3]) * kFrom8Bits};
    } else {
        std::memcpy(&pixel, line + std::ptrdiff_t{column} * 16, sizeof pixel);
    }
    if (pixel.a == 0.0f) pixel.r = pixel.g = pixel.b = 0.0f;
    return pixel;
}

// How strongly a pixel at distance r from the centre is enlarged. R is the distance of the farthest corner.
float Strength(std::int32_t scaling, float amount, float r, float R) {
    if (scaling == 1) return (r / R) * amount;
    if (scaling == 2) {
        const float t = r / R;
        return t * amount * t;
    }
    return amount;
}

// If both factors are not numbers, the result is the first one. In a plain product, the compiler could swap the
// factors, and the result could be the second one.
float Product(float a0, float a1) {
    return std::isnan(a0) ? a0 + a0 : a0 * a1;
}

// Sets alpha in `pixel`, and for the two alpha views colour, too. a0 and a1 are the alphas of the samples.
void ApplyShow(std::int32_t show, float a0, float a1, Rgba& pixel) {
    const float covered = a0 > a1 ? a0 : a1;
    switch (show) {
        case 1:
            pixel.a = std::fabs(a0 - a1);
            break;
        case 2:
            pixel.a = Product(a0, a1);
            break;
        case 3:
            pixel = {covered, covered, covered, covered};
            break;
        case 4: {
            const float full = covered > 0.0f ? 1.0f : covered;
            pixel = {full, full, full, full};
            break;
        }
        default:
            pixel.a = covered;
            break;
    }
}

}  // namespace

// The results are not clamped.
void RenderRows(const RenderData& job, std::int32_t firstRow, std::int32_t endRow) {
    const FrameGeometry frame = GeometryOf(job);
    const auto [cx, cyE, R, columns] = frame;
    const auto [red, green, blue] = ChannelsOf(job.mode, job.amount).channel;

    for (std::int32_t y = firstRow; y < endRow; ++y) {
        std::byte* const row = job.output.pixels + std::ptrdiff_t{job.output.rowBytes} * y;
        const float fy = static_cast<float>(y);
        const float dy = fy - cyE;
        const float dy2 = dy * dy;
        const std::int32_t directRow = Truncate(fy - job.sourceOffsetY);
        for (std::int32_t x = 0; x < columns; ++x) {
            const float fx = static_cast<float>(x);
            const float dx = fx - cx;
            const float r = std::sqrt(dx * dx + dy2);
            const float e = Strength(job.scaling, job.amount, r, R) * 0.02f;
            const float k = job.amount >= 0.0f ? 1.0f + e : 1.0f - e;
            const float inv = 1.0f / k;
            const float zx = static_cast<float>(Truncate(inv * dx + cx));
            const float zy = static_cast<float>(Truncate(inv * dy + cyE));

            const Rgba direct = Sample(job.input, Truncate(fx - job.sourceOffsetX), directRow);
            const Rgba enlarged =
                Sample(job.input, Truncate(zx - job.sourceOffsetX), Truncate(zy - job.sourceOffsetY));
            Rgba pixel{red ? enlarged.r : direct.r, green ? enlarged.g : direct.g, blue ? enlarged.b : direct.b,
                       0.0f};
            ApplyShow(job.show, direct.a, enlarged.a, pixel);
            std::memcpy(row + std::ptrdiff_t{x} * 16, &pixel, sizeof pixel);
        }
        ClearBeyond(frame, job.output, row);
    }
}

}  // namespace nuv
