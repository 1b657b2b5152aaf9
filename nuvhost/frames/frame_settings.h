// How every frame of a render is read, rendered and written.
#pragma once

#include "effect/effect_runner.h"
#include "effect/settings.h"
#include "picture/file_options.h"

namespace nuvhost {

struct FrameSettings {
    MovingSettings effect;
    RenderPath path = RenderPath::smart;
    ReadOptions read;
    Reduction reduction;
    bool keepGoing = false;  // continues after frames that fail
};

}  // namespace nuvhost
