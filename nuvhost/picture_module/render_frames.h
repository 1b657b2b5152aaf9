// Renders the frames of a plan, several at the same time.
#pragma once

#include "effect/effect_runner.h"
#include "frames/frame_plan.h"
#include "frames/frame_settings.h"
#include "frames/progress.h"

namespace nuvhost {

// Each of `threads` workers reads, renders and writes one frame after another. Files are thus read and written
// while other frames are rendered, and at most `threads` frames are in memory. The runner must have as many
// instances. If a frame fails, the frames that have been started are finished, and then its error is thrown as a
// std::runtime_error that names the frame. With keepGoing all frames are tried, and the error at the end lists all
// that failed.
void RenderFrames(const FramePlan& plan, const FrameSettings& settings, EffectRunner& runner, int threads,
                  Progress& progress);

}  // namespace nuvhost
