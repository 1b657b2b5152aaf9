#include "picture_module/drawing/scaled.h"

#include <OpenImageIO/color.h>
#include <OpenImageIO/filter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

#include "picture_module/files/picture_type.h"

namespace nuvhost {
namespace {

using Pixel = std::array<float, 4>;

// A pixel of the result along one side: the sum of source pixels, each multiplied by its weight.
struct Taps {
    int first = 0;
    std::vector<float> weights;

    int end() const { return first + static_cast<int>(weights.size()); }
};

struct Shape {
    const char* name;
    float width;  // in pixels of the source or of the result, whichever are larger
};

// For each pixel of the result. Taps beyond the edge of the source count as the pixel at the edge.
std::vector<Taps> TapsFor(int from, int to, const Shape& shape) {
    const float ratio = static_cast<float>(to) / static_cast<float>(from);
    const std::unique_ptr<OIIO::Filter1D, void (*)(OIIO::Filter1D*)> filter(
        OIIO::Filter1D::create(shape.name, shape.width * std::max(1.0F, ratio)), OIIO::Filter1D::destroy);
    const int reach = static_cast<int>(std::ceil(filter->width() / 2 / ratio));

    std::vector<Taps> all(static_cast<std::size_t>(to));
    for (int i = 0; i < to; ++i) {
        const float center = (static_cast<float>(i) + 0.5F) / ratio - 0.5F;  // in the source
        const int middle = static_cast<int>(std::floor(center + 0.5F));
        Taps& taps = all[static_cast<std::size_t>(i)];
        taps.first = std::clamp(middle - reach, 0, from - 1);
        taps.weights.resize(static_cast<std::size_t>(std::clamp(middle + reach, 0, from - 1) - taps.first + 1));
        float sum = 0;
        for (int at = middle - reach; at <= middle + reach; ++at) {
            const float weight = (*filter)(ratio * (static_cast<float>(at) - center));
            taps.weights[static_cast<std::size_t>(std::clamp(at, 0, from - 1) - taps.first)] += weight;
            sum += weight;
        }
        for (float& weight : taps.weights)
            weight /= sum;
    }
    return all;
}

void Add(Pixel& sum, float weight, const Pixel& pixel) {
    for (std::size_t i = 0; i < pixel.size(); ++i)
        sum[i] += weight * pixel[i];
}

void ToDisplay(std::vector<Pixel>& row) {
    for (Pixel& pixel : row) {
        for (std::size_t i = 0; i < 3; ++i)
            pixel[i] = OIIO::linear_to_sRGB(pixel[i]);
    }
}

}  // namespace

OIIO::ImageBuf Scaled(const Picture& picture, bool linear, int width, int height) {
    // These are the filters that the picture library uses by default to enlarge and to reduce pictures.
    const bool larger = width > picture.width || height > picture.height;
    const Shape shape = larger ? Shape{"blackman-harris", 3} : Shape{"lanczos3", 6};
    const auto columns = TapsFor(picture.width, width, shape), rows = TapsFor(picture.height, height, shape);

    OIIO::ImageBuf scaled(OIIO::ImageSpec(width, height, 4, OIIO::TypeDesc::FLOAT));
    auto* const pixels = static_cast<Pixel*>(scaled.localpixels());
    std::fill_n(pixels, static_cast<std::size_t>(width) * static_cast<std::size_t>(height), Pixel{});

    std::vector<Pixel> row(static_cast<std::size_t>(picture.width)), narrow(columns.size());
    const std::size_t rowBytes = row.size() * picture.bytesPerPixel();
    std::size_t begun = 0;  // the first row of the result that is not complete
    for (int y = 0; y < picture.height; ++y) {
        OIIO::convert_pixel_values(TypeOf(picture.depth),
                                   picture.pixels.data() + static_cast<std::size_t>(y) * rowBytes,
                                   OIIO::TypeDesc::FLOAT, row.data(), 4 * picture.width);
        if (linear) ToDisplay(row);
        for (std::size_t x = 0; x < narrow.size(); ++x) {
            const Pixel* from = row.data() + columns[x].first;
            Pixel sum{};
            for (const float weight : columns[x].weights)
                Add(sum, weight, *from++);
            narrow[x] = sum;
        }
        while (begun < rows.size() && rows[begun].end() <= y)
            ++begun;
        for (std::size_t to = begun; to < rows.size() && rows[to].first <= y; ++to) {
            const float weight = rows[to].weights[static_cast<std::size_t>(y - rows[to].first)];
            for (std::size_t x = 0; x < narrow.size(); ++x)
                Add(pixels[to * narrow.size() + x], weight, narrow[x]);
        }
    }
    return scaled;
}

}  // namespace nuvhost
