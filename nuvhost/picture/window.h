// Parts of pictures: the data window that a file stores, the display window, and the layer that has both.
#pragma once

#include <cstddef>
#include <vector>

namespace nuvhost {

struct Window {
    int x = 0, y = 0, width = 0, height = 0;  // pixels

    bool operator==(const Window&) const = default;
};

// The smallest that holds both.
Window Union(const Window& a, const Window& b);

// The pixels of `to`, out of those of `from`; zero where `from` has none.
std::vector<std::byte> Region(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, const Window& from,
                              const Window& to);

// Stored pixels as they are to be seen by the orientation tag, 1 to 8. From 5 on width and height change places.
std::vector<std::byte> Upright(const std::vector<std::byte>& pixels, std::size_t bytesPerPixel, int width,
                               int height, int orientation);

}  // namespace nuvhost
