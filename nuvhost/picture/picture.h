// A picture in memory.
#pragma once

#include <cstddef>
#include <vector>

namespace nuvhost {

// Bits of one channel, and the type that holds it.
enum class Depth {
    bits8 = 8,    // std::uint8_t, 0 to 255
    bits16 = 16,  // std::uint16_t, 0 to 65535
    bits32 = 32,  // float, nominally 0 to 1
};

// Pixels are R, G, B, A, left to right, top row first, with nothing between the rows.
struct Picture {
    int width = 0;
    int height = 0;
    Depth depth = Depth::bits8;
    std::vector<std::byte> pixels;

    std::size_t bytesPerPixel() const { return static_cast<std::size_t>(depth) / 8 * 4; }
    std::size_t pixelCount() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

}  // namespace nuvhost
