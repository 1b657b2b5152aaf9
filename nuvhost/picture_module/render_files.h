// The command `render` for files.
#pragma once

#include "commands/pictures/render.h"

namespace nuvhost {

void RenderFiles(const RenderOptions& options, const FramePlan& plan, Look& look);

}  // namespace nuvhost
