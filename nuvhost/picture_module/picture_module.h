// The picture module, nuvhost_pictures.so: everything of nuvhost that needs the picture library, OpenImageIO. That
// library takes a third of a second to load, so the program does not link it. A command first checks all that can
// be checked without pictures, and then loads the module from the program's own folder.
//
// The program and the module each link their own copy of the code that both use, and the two copies do not share
// their static variables. If a command calls the module, the module alone uses such variables.
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

// The module exports one object of this type under the name kPictureModuleSymbol. All functions throw UsageError or
// another std::exception.
struct PictureModule {
    const char* version;  // of the nuvhost that the module was built with
    void (*renderFiles)(const RenderOptions& options, const FramePlan& plan, Look& look);
    void (*drawChart)(const std::filesystem::path& output, Size size);
    void (*drawSheet)(const SheetSettings& settings);
};
inline constexpr auto kPictureModuleSymbol = "NuvhostPictureModule";

// Throws std::runtime_error with the module's name if the module or a library that it needs is missing, or if the
// module belongs to another version of nuvhost.
const PictureModule& LoadPictureModule();

}  // namespace nuvhost
