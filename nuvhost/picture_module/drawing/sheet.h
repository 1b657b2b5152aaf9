// The contact sheet shows one picture in every mode and scaling, with a positive and a negative amount.
#pragma once

#include "effect/effect_runner.h"
#include "frames/progress.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/picture_module.h"

namespace nuvhost {

inline constexpr std::size_t kSheetTiles = kScalings.size() * kModes.size() * 2;

// The columns are the scalings, and the rows are the modes, each with both signs of the amount. A checkerboard
// shows through where tiles are transparent. The result is opaque and has 8 bits. Throws what EffectRunner::Render
// throws, and std::runtime_error if there is no font or if the page would be too large.
// `progress` counts the tiles.
PictureFile DrawSheet(const PictureFile& source, EffectRunner& effect, const SheetSettings& settings,
                      Progress& progress);

}  // namespace nuvhost
