#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>

#include "commands/commands.h"
#include "drawing/sheet.h"
#include "commands/effect_options.h"
#include "picture/output_file.h"
#include "picture/picture_file.h"
#include "frames/frame_plan.h"

namespace nuvhost {
namespace {

struct SheetOptions {
    std::filesystem::path input, output, plugin;
    SheetSettings settings;
};

void Sheet(SheetOptions options) {
    RemoveTemporariesOnSignal();
    const FramePlan plan = PlanFrames({.input = options.input, .output = options.output, .literal = true});
    CheckOutputs(plan, false);
    const PictureFile source = ReadPicture(options.input, {.firstPage = true});
    options.settings.amount = std::abs(options.settings.amount);
    options.settings.name = options.input.filename().string();
    EffectRunner runner(options.plugin.empty() ? FindPlugin() : options.plugin, refhost::Personality::compositor);
    const PictureFile sheet = DrawSheet(source, runner, options.settings);
    runner.Close();
    WritePicture(options.output, sheet);
}

}  // namespace

void AddSheetCommand(CLI::App& program) {
    auto options = std::make_shared<SheetOptions>();
    auto& settings = options->settings;
    auto& command =
        *program.add_subcommand("sheet", "Render every mode and scaling, both ways, on one labelled page");
    command.add_option("IN", options->input, "Picture to read")->required()->check(FileName())->type_name("");
    command.add_option("OUT", options->output, "Picture to write; the extension chooses the format")
        ->required()
        ->check(FileName())
        ->type_name("");
    AddAmountOption(command, settings.amount,
                    "Strength; every tile comes with it and with its negative (default: 1.5)");
    AddWordOption(command, "--show", kShows, settings.show,
                  "Everything, or by alpha only the fringes, or all but the fringes");
    AddCenterOption(command, settings.center);
    command
        .add_option_function<std::string>(
            "--tile-width",
            [&width = settings.tileWidth](const std::string& text) {
                width = static_cast<int>(ParseNumber("--tile-width", text, 256, 4096));
            },
            "Width of one rendered picture on the page (default: 480)")
        ->type_name("PIXELS");
    AddPluginOption(command, options->plugin);
    command.callback([options] { Sheet(*options); });
}

}  // namespace nuvhost
