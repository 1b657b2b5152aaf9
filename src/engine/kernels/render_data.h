// A render job. All worker threads of a frame share it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nuv {

// A pixel buffer of the engine. A pixel has four channels in the order R, G, B, A, whatever the host's format is.
struct ImageBuffer {
    std::int32_t width = 0;   // pixels
    std::int32_t height = 0;  // rows, top to bottom
    std::byte* pixels = nullptr;
    std::int32_t bitsPerChannel = 8;  // 8: unsigned bytes, 0 to 255; 32: floats, nominally 0.0 to 1.0
    std::int32_t rowBytes = 0;
    double originX = 0;  // position of the first pixel in the layer; not used by the kernels
    double originY = 0;
};

// The render commands fill in offsets and parameters. The driver fills in the rest. While the workers run, all of
// it is read-only, except the pixels of `output`: each worker writes its own rows.
struct RenderData {
    ImageBuffer input;         // working copy of the source layer, 8 or 32 bits
    ImageBuffer output;        // result, always 32 bits
    float pixelAspectNum = 0;  // aspect ratio and time are not used by the kernels
    float pixelAspectDen = 0;
    float downsampleX = 0;  // current resolution / full resolution
    float downsampleY = 0;
    float sourceOffsetX = 0;  // output position minus source position, in pixels
    float sourceOffsetY = 0;
    double timeSeconds = 0;
    float amount = 0;          // -100 to 100
    std::int32_t centerX = 0;  // pixels; may lie outside the frame
    std::int32_t centerY = 0;
    std::int32_t mode = 0;     // 0 Red-Cyan, 1 Green-Purple, 2 Blue-Yellow; others change no colour
    std::int32_t scaling = 0;  // 0 linear, 1 square, 2 cubic; others act as linear
    std::int32_t show = 0;     // 0 Final, 1 Just CA, 2 Without CA, 3 Alpha, 4 Full Alpha; others act as Final
};

}  // namespace nuv
