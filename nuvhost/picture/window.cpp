#include "picture/window.h"

#include <algorithm>
#include <cstring>

namespace nuvhost {
namespace {

std::size_t At(int x, int y, int width, std::size_t bytesPerPixel) {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
           bytesPerPixel;
}

}  // namespace

Window Union(const Window& a, const Window& b) {
    const int left = std::min(a.x, b.x), top = std::min(a.y, b.y);
    return {left, top, std::max(a.x + a.width, b.x + b.width) - left,
            std::max(a.y + a.height, b.y + b.height) - top};
}

std::vector<std::byte> Region(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, const Window& from,
                              const Window& to) {
    std::vector<std::byte> region(At(0, to.height, to.width, bytesPerPixel));
    const int left = std::max(from.x, to.x), right = std::min(from.x + from.width, to.x + to.width);
    const int top = std::max(from.y, to.y), bottom = std::min(from.y + from.height, to.y + to.height);
    for (int y = top; y < bottom && left < right; ++y) {
        std::memcpy(region.data() + At(left - to.x, y - to.y, to.width, bytesPerPixel),
                    pixels.data() + At(left - from.x, y - from.y, from.width, bytesPerPixel),
                    static_cast<std::size_t>(right - left) * bytesPerPixel);
    }
    return region;
}

std::vector<std::byte> Upright(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, int width,
                               int height, int orientation) {
    const bool transposed = orientation >= 5;
    const bool mirrored = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool flipped = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const int newWidth = transposed ? height : width, newHeight = transposed ? width : height;
    std::vector<std::byte> upright(pixels.size());
    for (int y = 0; y < newHeight; ++y) {
        for (int x = 0; x < newWidth; ++x) {
            const int column = transposed ? y : x, row = transposed ? x : y;
            std::memcpy(upright.data() + At(x, y, newWidth, bytesPerPixel),
                        pixels.data() + At(mirrored ? width - 1 - column : column, flipped ? height - 1 - row : row,
                                           width, bytesPerPixel),
                        bytesPerPixel);
        }
    }
    return upright;
}

}  // namespace nuvhost
