#include <CLI/CLI.hpp>

#include <memory>

#include "commands/commands.h"
#include "commands/effect_options.h"
#include "effect/settings.h"
#include "files/file_checks.h"
#include "picture_module/picture_module.h"

namespace nuvhost {
namespace {

struct ChartOptions {
    std::filesystem::path output;
    Size size{960, 540};
};

void Chart(const ChartOptions& options) {
    CheckOutputName(options.output);
    CheckWritable(options.output);
    LoadPictureModule().drawChart(options.output, options.size);
}

}  // namespace

void AddChartCommand(CLI::App& program) {
    auto options = std::make_shared<ChartOptions>();
    auto& command = *program.add_subcommand("chart", "Draw a lens chart to try the effect on");
    command.add_option("OUT", options->output, "Picture to write; the extension chooses the format")
        ->required()
        ->check(FileName())
        ->type_name("");
    command
        .add_option_function<std::string>(
            "--size",
            [&size = options->size](const std::string& text) { size = ParseSize("--size", text, 1, 30000); },
            "In pixels (default: 960x540)")
        ->type_name("WIDTHxHEIGHT");
    command.callback([options] { Chart(*options); });
}

}  // namespace nuvhost
