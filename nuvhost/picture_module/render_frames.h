// Renders the frames of a plan, several at once.
#pragma once

#include "effect/effect_runner.h"
#include "frames/frame_plan.h"
#include "frames/frame_settings.h"
#include "frames/progress.h"

namespace nuvhost {

// Each of `threads` workers takes a frame through reading, rendering and writing at a time, so that files are read
// and written while others render and no more than `threads` frames are in memory. The runner has as many
// instances. Throws what the first frame that failed threw, as std::runtime_error that names the frame, once the
// frames under way are done; with keepGoing in the end, with a list of all that failed.
void RenderFrames(const FramePlan& plan, const FrameSettings& settings, EffectRunner& runner, int threads,
                  Progress& progress);

}  // namespace nuvhost
