#include <CLI/CLI.hpp>

#include <memory>

#include "commands/commands.h"
#include "commands/effect_options.h"
#include "files/file_checks.h"
#include "frames/frame_plan.h"
#include "picture_module/picture_module.h"

namespace nuvhost {
namespace {

void Sheet(const SheetSettings& settings) {
    const FramePlan plan = PlanFrames({.input = settings.input, .output = settings.output, .literal = true});
    CheckOutputs(plan, false);
    CheckReadable(settings.input);
    LoadPictureModule().drawSheet(settings);
}

}  // namespace

void AddSheetCommand(CLI::App& program) {
    auto shared = std::make_shared<SheetSettings>();
    auto& settings = *shared;
    auto& command =
        *program.add_subcommand("sheet", "Render every mode and scaling with either sign on one labelled page");
    command.add_option("IN", settings.input, "Picture to read")->required()->check(FileName())->type_name("");
    command.add_option("OUT", settings.output, "Picture to write; the extension chooses the format")
        ->required()
        ->check(FileName())
        ->type_name("");
    AddParameterOption(
        command, Row(Parameter::amount),
        [&settings](const std::string& text) {
            const auto& row = Row(Parameter::amount);
            settings.amount = ParseNumber(row.option, text, row.least, row.most);
        },
        "Strength; every tile comes with it and with its negative (default: 1.5)");
    AddParameterOption(command, Row(Parameter::show), [&settings](const std::string& text) {
        settings.show = ParseWord(Row(Parameter::show).option, text, kShows);
    });
    AddParameterOption(command, Row(Parameter::center), [&settings](const std::string& text) {
        settings.center = ParseCenter(Row(Parameter::center).option, text);
    });
    command
        .add_option_function<std::string>(
            "--tile-width",
            [&width = settings.tileWidth](const std::string& text) {
                width = static_cast<int>(ParseNumber("--tile-width", text, 256, 4096));
            },
            "Width of one rendered picture on the page (default: 480)")
        ->type_name("PIXELS");
    AddPluginOption(command, settings.plugin);
    command.callback([shared] { Sheet(*shared); });
}

}  // namespace nuvhost
