// What the effect makes of a picture, computed pixel by pixel in the plainest way: no threads, no host, no working
// copy, nothing hoisted out of the loop. The tests compare the plug-in's bytes with this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace model {

// A picture in one of the host's formats, given by the format's four characters, the first in the lowest byte.
// Rows from the top, without padding.
struct Picture {
    std::uint32_t format = 0;
    int width = 0;
    int height = 0;
    std::span<const std::byte> pixels;
};

// The values as the engine gets them: choices count from 0, and the centre is in whole pixels.
struct Settings {
    int centerX = 0;
    int centerY = 0;
    int mode = 0;
    int scaling = 0;
    int show = 0;
    float amount = 0;
    float offsetX = 0;  // source position = output position - offset
    float offsetY = 0;
    float downsampleX = 1;
    float downsampleY = 1;
};

struct Rendering {
    std::vector<float> rgba;        // before clamping: R, G, B, A for each pixel
    std::vector<std::byte> pixels;  // in the output format; empty if that is none of the six
};

// Throws std::invalid_argument if the source's format is none of the six.
Rendering Render(const Picture& source, const Settings& settings, int width, int height, std::uint32_t format);

// The pixels of a float picture (R, G, B, A) in a host format.
std::vector<std::byte> Encode(std::span<const float> rgba, std::uint32_t format);

}  // namespace model
