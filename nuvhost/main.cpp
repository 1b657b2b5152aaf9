// nuvhost: renders pictures through the effect, without a host application, and checks effects.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <system_error>

#include "commands/commands.h"
#ifndef _WIN32
#include "console/descriptors.h"
#endif
#include "console/errors.h"
#include "console/one_line.h"

namespace {

constexpr auto kVersion = "nuvhost " NUVHOST_VERSION;
constexpr int kFailure = 1;
constexpr int kUsage = 2;

int Report(const char* text, int exitCode) {
    std::fprintf(stderr, "nuvhost: %s\n", nuvhost::OneLine(text).c_str());
    return exitCode;
}

int ReportSystem(const std::system_error& error) {
    const bool thread = error.code() == std::errc::resource_unavailable_try_again;
    const std::string text = error.what();
    return Report((thread ? "no further thread can be started: " + text : text).c_str(), kFailure);
}

int Run(int argc, char** argv) {
    CLI::App program(
        "Renders pictures through the effect NUV Chromatic Aberration, and checks effects of its kind.", "nuvhost");
    program.require_subcommand(0, 1);
    program.get_formatter()->column_width(44);
    nuvhost::AddRenderCommand(program);
    nuvhost::AddChartCommand(program);
    nuvhost::AddSheetCommand(program);
    nuvhost::AddValidateCommand(program);
    nuvhost::AddInfoCommand(program);
    for (CLI::App* command : program.get_subcommands({})) {
        command->set_version_flag("--version", kVersion, "Print the version and exit");
    }
    program.set_version_flag("--version", kVersion, "Print the version and exit");
    try {
        program.parse(argc, argv);
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string text = error.what();  // starts with the option's name and a colon
        throw nuvhost::UsageError(text.substr(0, text.find(':')) + ": takes exactly one value");
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
        if (asked) return program.exit(error);
        throw nuvhost::UsageError(error.what());
    }
    if (program.get_subcommands().empty()) throw nuvhost::UsageError("no command; nuvhost --help lists them");
    return 0;
}

#ifndef _WIN32
// Handles an exception that nobody catches: on a thread of the effect or of a library, or while a library is
// loaded.
[[noreturn]] void ReportTermination() {
    try {
        if (const auto failure = std::current_exception()) std::rethrow_exception(failure);
        Report("ended for an unknown reason", kFailure);
    } catch (const std::system_error& error) {
        ReportSystem(error);
    } catch (const std::exception& error) {
        Report(error.what(), kFailure);
    } catch (...) {
        Report("unknown failure", kFailure);
    }
    std::_Exit(kFailure);
}
#endif

}  // namespace

int main(int argc, char** argv) {
#ifndef _WIN32
    nuvhost::HoldStandardDescriptors();
    std::set_terminate(ReportTermination);
#endif
    try {
        const int code = Run(argc, argv);
        const bool told = std::cout.flush() && std::fflush(stdout) == 0;
        return told ? code : Report("standard output cannot be written", kFailure);
    } catch (const nuvhost::ExitWith& exit) {
        return exit.code;
    } catch (const nuvhost::UsageError& error) {
        return Report(error.what(), kUsage);
    } catch (const std::bad_alloc&) {
        return Report("out of memory", kFailure);
    } catch (const std::system_error& error) {
        return ReportSystem(error);
    } catch (const std::exception& error) {
        return Report(error.what(), kFailure);
    } catch (...) {
        return Report("unknown failure", kFailure);
    }
}
