// Parts of pictures: the data window, which a file stores, the display window, and the layer, which contains both.
#pragma once

#include <cstddef>
#include <vector>

namespace nuvhost {

struct Window {
    int x = 0, y = 0, width = 0, height = 0;  // pixels

    bool operator==(const Window&) const = default;
};

// The smallest window that contains both.
Window Union(const Window& a, const Window& b);

// The pixels of `to`, taken from those of `from`. They are zero where `from` has none.
std::vector<std::byte> Region(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, const Window& from,
                              const Window& to);

// Turns the stored pixels upright. `orientation` is the value of the tag Orientation, 1 to 8. From 5 on, width and
// height are swapped.
std::vector<std::byte> Upright(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, int width,
                               int height, int orientation);

}  // namespace nuvhost
