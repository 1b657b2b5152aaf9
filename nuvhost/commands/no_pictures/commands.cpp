// Replaces the picture commands in a build without the picture library.
#include <CLI/CLI.hpp>

#include <string>

#include "commands/commands.h"
#include "console/errors.h"

namespace nuvhost {
namespace {

void AddMissing(CLI::App& program, const std::string& name) {
    auto& command = *program.add_subcommand(name, "Not in this build of nuvhost, which has no picture commands");
    command.allow_extras();
    command.callback([name] {
        throw UsageError(name +
                         ": this build of nuvhost has no picture commands, as it was made without OpenImageIO");
    });
}

}  // namespace

void AddRenderCommand(CLI::App& program) {
    AddMissing(program, "render");
}

void AddChartCommand(CLI::App& program) {
    AddMissing(program, "chart");
}

void AddSheetCommand(CLI::App& program) {
    AddMissing(program, "sheet");
}

}  // namespace nuvhost
