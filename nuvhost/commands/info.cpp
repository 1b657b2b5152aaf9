#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "commands/effect_options.h"
#include "console/one_line.h"
#include "info/describe.h"

namespace nuvhost {
namespace {

struct InfoOptions {
    std::filesystem::path plugin;
    bool json = false;
};

// The message for an effect that crashes the process. It is made in advance, because a signal handler may not
// allocate memory.
std::string g_crashed;

void ReportCrash(int) {
    [[maybe_unused]] const auto written =
        ::write(STDERR_FILENO, g_crashed.data(), static_cast<unsigned>(g_crashed.size()));
    std::_Exit(1);
}

// This command accepts any effect. An effect that needs more than the reference host offers may crash.
void ReportCrashesOf(const std::filesystem::path& plugin) {
    g_crashed = "nuvhost: " + OneLine(plugin.string()) + ": the effect crashed\n";
    for (const int signal : {SIGSEGV, SIGILL, SIGFPE, SIGABRT}) {
        std::signal(signal, ReportCrash);
    }
#ifdef SIGBUS
    std::signal(SIGBUS, ReportCrash);
#endif
}

void Info(const InfoOptions& options) {
    ReportCrashesOf(options.plugin);
    const auto description = DescribeEffect(options.plugin);
    constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
    const std::string text = options.json ? description.dump(2, ' ', false, kReplace) + "\n" : TextOf(description);
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        throw std::runtime_error("standard output cannot be written");
    }
}

}  // namespace

void AddInfoCommand(CLI::App& program) {
    auto options = std::make_shared<InfoOptions>();
    auto& command = *program.add_subcommand("info", "Describe an effect by what it tells its hosts");
    command.add_option("PLUGIN", options->plugin, "The binary of this effect or of any other effect")
        ->required()
        ->check(FileName())
        ->type_name("");
    command.add_flag("--json", options->json, "Print the description as JSON, for programs");
    command.callback([options] { Info(*options); });
}

}  // namespace nuvhost
