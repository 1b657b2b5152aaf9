#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "commands/commands.h"
#include "console/errors.h"
#include "console/terminal.h"
#include "validator/registry.h"
#include "validator/run/report.h"
#include "validator/run/runner.h"

namespace nuvhost {
namespace {

using namespace validator;

struct ValidateOptions {
    std::filesystem::path plugin, json, junit, deviations;
    std::vector<std::string> globs;
    bool list = false, quick = false, inProcess = false, verbose = false;
    std::uint64_t seed = 1;
    int repeat = 1;
    int timeout = 30;
    std::string childCheck, personality;
};

std::string_view WhereText(Where where) {
    constexpr std::string_view kTexts[] = {"compositing", "editing", "both"};
    return kTexts[static_cast<std::size_t>(where)];
}

std::vector<const Check*> Chosen(const ValidateOptions& options) {
    std::vector<const Check*> chosen;
    std::vector<bool> used(options.globs.size());
    for (const Check& check : AllChecks()) {
        bool matches = options.globs.empty();
        for (std::size_t i = 0; i < options.globs.size(); ++i) {
            if (!MatchesGlob(check.id, options.globs[i])) continue;
            matches = used[i] = true;
        }
        if (matches && !(options.quick && check.kind == Kind::slow)) chosen.push_back(&check);
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (!used[i]) throw UsageError("--check: \"" + options.globs[i] + "\" matches no check");
    }
    if (chosen.empty()) throw UsageError("--quick: leaves out every check that --check names");
    return chosen;
}

void List(const std::vector<const Check*>& checks) {
    for (const Check* check : checks) {
        std::printf("%-40.*s %-12s %s%s\n", static_cast<int>(check->id.size()), check->id.data(),
                    std::string(WhereText(check->where)).c_str(), std::string(check->promise).c_str(),
                    check->kind == Kind::slow ? " (slow)" : "");
    }
    std::printf("%zu checks\n", checks.size());
}

Deviations ReadChosenDeviations(const ValidateOptions& options) {
    if (!options.deviations.empty()) return ReadDeviations(options.deviations);
    const auto beside = DeviationsBeside(options.plugin);
    return std::filesystem::exists(beside) ? ReadDeviations(beside) : Deviations{};
}

std::uint64_t SeedOf(const std::string& text) {
    std::uint64_t seed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seed);
    if (error != std::errc() || stop != end)
        throw UsageError("--seed: \"" + text + "\" is not a whole number from 0 on");
    return seed;
}

void RunHere(const ValidateOptions& options) {
    const Check* const check = FindCheck(options.childCheck);
    if (!check) throw UsageError("--check-in-process: \"" + options.childCheck + "\" is no check");
    const auto personality = [&] {
        try {
            return refhost::PersonalityNamed(options.personality);
        } catch (const std::invalid_argument& unknown) {
            throw UsageError("--personality: " + std::string(unknown.what()));
        }
    }();
    RunAsChild({check, options.plugin, personality, options.seed});
}

void Validate(const ValidateOptions& given) {
    ValidateOptions options = given;
    if (options.list) return List(Chosen(options));
    if (options.plugin.empty()) throw UsageError("PLUGIN is required");
    if (std::filesystem::is_directory(options.plugin)) throw UsageError(options.plugin.string() + ": is a folder");
    if (!std::filesystem::is_regular_file(options.plugin)) {
        throw UsageError(options.plugin.string() + ": no such file");
    }
    options.plugin = std::filesystem::absolute(options.plugin);
    if (!options.childCheck.empty()) return RunHere(options);

    RunOptions run;
    run.plugin = options.plugin;
    run.nuvhost = ThisProgram();
    run.checks = Chosen(options);
    run.deviations = ReadChosenDeviations(options);
    run.seed = options.seed;
    run.repeat = options.repeat;
    run.timeout = std::chrono::seconds(options.timeout);
    run.inProcess = options.inProcess;

    for (const auto& file : {options.json, options.junit}) {
        if (!file.empty()) RequireWritable(file);
    }

    const ProgressLine progress;
    const auto results =
        Run(run, {.onStart =
                      [&](const Check& check, int number, int count) {
                          progress.Show("[" + std::to_string(number) + "/" + std::to_string(count) + "] " +
                                        std::string(check.id));
                      },
                  .onResult =
                      [&](const Result& result) {
                          if (progress.shown() && result.status == Status::passed) return;
                          if (result.status == Status::notRun) return;  // their number is printed below
                          progress.Clear();
                          std::fputs(Lines(result, options.plugin, options.verbose).c_str(), stdout);
                          std::fflush(stdout);
                      }});
    progress.Clear();
    const Counts counts = Count(results);
    if (counts.notRun > 0) {
        std::printf("not run           %d, because a check on which all others depend has failed\n", counts.notRun);
    }
    std::printf("%s\n", Summary(counts, options.seed).c_str());
    std::fflush(stdout);
    if (!options.json.empty()) WriteFile(options.json, Json(results, options.plugin));
    if (!options.junit.empty()) WriteFile(options.junit, Junit(results, options.plugin));
    if (!counts.Green()) throw ExitWith{1};
}

}  // namespace

void AddValidateCommand(CLI::App& program) {
    auto options = std::make_shared<ValidateOptions>();
    auto& command = *program.add_subcommand("validate", "Check that a plug-in keeps what hosts rely on");
    command.add_option("PLUGIN", options->plugin, "The effect's binary: .so on Linux, .aex on Windows")
        ->type_name("");
    command.add_flag("--list", options->list, "List the checks instead: id, host and promise");
    command
        .add_option("--check", options->globs,
                    "Only checks whose id matches; * and ? as in file names; may be repeated")
        ->type_name("GLOB")
        ->allow_extra_args(false);  // otherwise the option would take PLUGIN, too
    command.add_flag("-v,--verbose", options->verbose, "Also print the failures of checks that deviate as listed");
    command.add_flag("--quick", options->quick, "Leave out the slow checks");
    command
        .add_option_function<std::string>(
            "--seed", [options](const std::string& text) { options->seed = SeedOf(text); },
            "Start of all random numbers (default: 1)")
        ->type_name("N");
    command.add_option("--repeat", options->repeat, "Run each check N times, with the seeds that follow")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000));
    command
        .add_option("--timeout", options->timeout,
                    "Seconds for each check, ten times as many for slow ones "
                    "(default: 30)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 86'400));
    command
        .add_option(
            "--deviations", options->deviations,
            "Promises that the effect breaks on purpose: a JSON object of check ids, each with a reason and "
            "with patterns of the lines that the failing check prints in each host. The run is green if "
            "exactly these lines occur (default: PLUGIN's name with .deviations.json)")
        ->type_name("FILE");
    command.add_option("--json", options->json, "Write the results as JSON")->type_name("FILE");
    command.add_option("--junit", options->junit, "Write the results as JUnit XML")->type_name("FILE");
    command.add_flag("--in-process", options->inProcess,
                     "Run the checks in this process, for a debugger: a crash ends the run");
    command.add_option("--check-in-process", options->childCheck)->group("");
    command.add_option("--personality", options->personality)->group("");
    command.footer("Exit codes: 0 green, 1 not green, 2 wrong usage.");
    command.callback([options] { Validate(*options); });
}

}  // namespace nuvhost
