// Raw frames from standard input to standard output, as ffmpeg's rawvideo has them.
#pragma once

#include <array>
#include <string_view>

#include "effect/effect_runner.h"
#include "effect/settings.h"
#include "frames/progress.h"

namespace nuvhost {

// In the machine's byte order, rows from the top, with nothing between them.
struct RawFormat {
    std::string_view name;
    Depth depth;
    bool planar;  // whole planes of G, B, R, A; else pixels of R, G, B, A
};
inline constexpr std::array<RawFormat, 4> kRawFormats{{
    {"rgba8", Depth::bits8, false},     // ffmpeg: rgba
    {"rgba16", Depth::bits16, false},   // rgba64le
    {"rgbaf32", Depth::bits32, false},  // rgbaf32le, where it has that
    {"gbrapf32", Depth::bits32, true},  // gbrapf32le
}};

struct StreamSettings {
    MovingSettings effect;  // the first frame is 0
    RenderPath path = RenderPath::smart;
    Size size;
    RawFormat format = kRawFormats[0];
    bool premultiply = true;  // the stream's colour is straight, the effect's is multiplied by alpha
};

// Until the input ends. Frames are read and written in order, each whole; as many are under way as there are
// threads, and the runner has as many instances. Throws std::runtime_error, also for an input that ends within a
// frame or before the first. Dies of SIGPIPE when nobody reads the output any more, as others in a pipe do.
void RenderStream(const StreamSettings& settings, EffectRunner& runner, int threads, Progress& progress);

}  // namespace nuvhost
