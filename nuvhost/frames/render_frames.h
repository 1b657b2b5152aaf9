// Renders the frames of a plan, several at once.
#pragma once

#include <optional>

#include "effect/effect_runner.h"
#include "effect/settings.h"
#include "picture/picture_file.h"
#include "frames/frame_plan.h"
#include "frames/progress.h"

namespace nuvhost {

struct FrameSettings {
    MovingSettings effect;
    RenderPath path = RenderPath::smart;
    ReadOptions read;
    Reduction reduction;
    bool keepGoing = false;  // past frames that fail
};

// Each of `threads` workers takes a frame through reading, rendering and writing at a time, so that files are read
// and written while others render and no more than `threads` frames are in memory. The runner has as many
// instances. Throws what the first frame that failed threw, as std::runtime_error that names the frame, once the
// frames under way are done; with keepGoing in the end, with a list of all that failed.
void RenderFrames(const FramePlan& plan, const FrameSettings& settings, EffectRunner& runner, int threads,
                  Progress& progress);

}  // namespace nuvhost
