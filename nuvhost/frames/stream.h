// Renders raw frames from standard input to standard output, in the layout of ffmpeg's rawvideo.
#pragma once

#include <array>
#include <string_view>

#include "effect/effect_runner.h"
#include "effect/settings.h"
#include "frames/progress.h"

namespace nuvhost {

// Numbers are in the machine's byte order. The top row comes first, and there are no bytes between rows.
struct RawFormat {
    std::string_view name;
    Depth depth;
    bool planar;  // true: planes of G, B, R, A; false: pixels of R, G, B, A
};
inline constexpr std::array<RawFormat, 4> kRawFormats{{
    {"rgba8", Depth::bits8, false},     // ffmpeg: rgba
    {"rgba16", Depth::bits16, false},   // rgba64le
    {"rgbaf32", Depth::bits32, false},  // rgbaf32le, in newer versions of ffmpeg
    {"gbrapf32", Depth::bits32, true},  // gbrapf32le
}};

struct StreamSettings {
    MovingSettings effect;  // the first frame is 0
    RenderPath path = RenderPath::smart;
    Size size;
    RawFormat format = kRawFormats[0];
    bool premultiply = true;  // multiplies colour by alpha before the effect, and divides it afterwards
};

// Renders until the input ends. Frames are read and written in order and as a whole. As many frames are worked on
// at the same time as there are threads, and the runner must have as many instances. Throws std::runtime_error,
// also if the input ends within a frame or before the first one. If nobody reads the output any more, the process
// dies of SIGPIPE, as other programs in a pipe do.
void RenderStream(const StreamSettings& settings, EffectRunner& runner, int threads, Progress& progress);

}  // namespace nuvhost
