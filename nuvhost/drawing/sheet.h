// The contact sheet: one picture through every mode and scaling, both ways.
#pragma once

#include <string>

#include "effect/effect_runner.h"
#include "picture/picture_file.h"

namespace nuvhost {

struct SheetSettings {
    std::string name;  // of the picture, for the heading
    Center center;
    double amount = 1.5;  // size only: every tile comes once with it and once with its negative
    int show = 1;
    int tileWidth = 480;  // pixels
};

// Columns are scalings, rows are modes with either sign. Tiles lie on a checkerboard that shows through where
// they are transparent. The result is opaque, 8 bits. Throws as EffectRunner::Render, or std::runtime_error if
// there is no font or the page would be too large.
PictureFile DrawSheet(const PictureFile& source, EffectRunner& effect, const SheetSettings& settings);

}  // namespace nuvhost
