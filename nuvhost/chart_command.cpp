#include <CLI/CLI.hpp>

#include <memory>

#include "chart.h"
#include "commands.h"
#include "picture_file.h"
#include "settings.h"

namespace nuvhost {
namespace {

struct ChartOptions {
    std::filesystem::path output;
    Size size{960, 540};
};

void Chart(const ChartOptions& options) {
    CheckOutput(options.output, {});
    PictureFile file;
    file.picture = DrawChart(options.size.width, options.size.height);
    file.spec = OIIO::ImageSpec(options.size.width, options.size.height, 4, OIIO::TypeDesc::UINT8);
    file.straight = true;
    WritePicture(options.output, file);
}

}  // namespace

void AddChartCommand(CLI::App& program) {
    auto options = std::make_shared<ChartOptions>();
    auto& command = *program.add_subcommand("chart", "Draw a lens chart to try the effect on");
    command.add_option("OUT", options->output, "Picture to write; the extension chooses the format")
        ->required()
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
