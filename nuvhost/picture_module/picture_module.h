// The picture module, nuvhost_pictures.so: everything of nuvhost that needs the picture library, OpenImageIO. That
// library takes a third of a second to load, so the program is made without it. A command first checks all that can
// be checked without pictures, and then loads the module from the program's own folder.
//
// Program and module each link their own copy of what both use. A run uses only one of the two: the module's as
// soon as it is called.
#pragma once

#include <filesystem>
#include <string>

#include "commands/pictures/render.h"
#include "effect/look.h"
#include "effect/settings.h"
#include "frames/frame_plan.h"

namespace nuvhost {

struct SheetSettings {
    std::filesystem::path input, output, plugin;
    Center center;
    double amount = 1.5;  // its sign does not matter: each tile is drawn for the amount and for its negative
    int show = 1;
    int tileWidth = 480;  // pixels
};

// What the module exports, under the name of its type. All functions throw UsageError or another std::exception.
struct PictureModule {
    const char* version;  // of the nuvhost that it was built with
    void (*renderFiles)(const RenderOptions& options, const FramePlan& plan, Look& look);
    void (*drawChart)(const std::filesystem::path& output, Size size);
    void (*drawSheet)(const SheetSettings& settings);
};
inline constexpr auto kPictureModuleSymbol = "NuvhostPictureModule";

// Throws std::runtime_error with the module's name if it, or a library that it needs, is missing.
const PictureModule& LoadPictureModule();

}  // namespace nuvhost
