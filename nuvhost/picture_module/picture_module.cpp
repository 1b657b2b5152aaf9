#include "picture_module/picture_module.h"

#include <cmath>

#include "effect/effect_runner.h"
#include "files/output_file.h"
#include "picture_module/drawing/chart.h"
#include "picture_module/drawing/sheet.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/render_files.h"

namespace nuvhost {
namespace {

void WriteChart(const std::filesystem::path& output, Size size) {
    RemoveTemporariesOnSignal();
    CheckFormat(output);
    PictureFile file;
    file.picture = DrawChart(size.width, size.height);
    file.spec = OIIO::ImageSpec(size.width, size.height, 4, OIIO::TypeDesc::UINT8);
    file.layer = DataWindow(file.spec);
    file.straight = file.fileStraight = true;
    WritePicture(output, file);
}

void WriteSheet(const SheetSettings& settings) {
    RemoveTemporariesOnSignal(WipeBarForGood);
    CheckFormat(settings.output);
    const PictureFile source = ReadPicture(settings.input, {.firstPage = true});
    EffectRunner runner(settings.plugin.empty() ? FindPlugin() : settings.plugin, refhost::Personality::compositor);
    Progress progress({.mode = ProgressMode::bar, .unit = "tile"}, kSheetTiles);
    const PictureFile sheet = DrawSheet(source, runner, settings, progress);
    runner.Close();
    WritePicture(settings.output, sheet);
    progress.End();
}

}  // namespace
}  // namespace nuvhost

extern "C" [[gnu::visibility("default")]] const nuvhost::PictureModule NuvhostPictureModule{
    NUVHOST_VERSION, nuvhost::RenderFiles, nuvhost::WriteChart, nuvhost::WriteSheet};
