// The contact sheet: one picture through every mode and scaling, both ways.
#pragma once

#include "effect/effect_runner.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/picture_module.h"

namespace nuvhost {

// Columns are scalings, rows are modes with either sign. Tiles lie on a checkerboard that shows through where
// they are transparent. The result is opaque, 8 bits. Throws as EffectRunner::Render, or std::runtime_error if
// there is no font or the page would be too large.
PictureFile DrawSheet(const PictureFile& source, EffectRunner& effect, const SheetSettings& settings);

}  // namespace nuvhost
