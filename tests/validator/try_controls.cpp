// Tries every check of nuvhost validate on the effect, where it must hold, and on its control, where it must fail.
//   try_controls PLUGIN BROKEN_PLUGIN [NUVHOST] [--family | --full] [--check GLOB] [--share I/N]
// A control is tried with its own check. With --family it is also tried with the other checks of the family, and
// with --full with all checks but the slow ones; there the other checks must hold. --share tries every N-th check
// and every N-th control, from number I on (the first one is 0). Only Windows needs NUVHOST, which runs each check
// in a process of its own.
#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "control.h"
#include "system.h"
#include "validator/registry.h"
#include "validator/run/runner.h"

namespace {

using namespace validator;
using Ids = std::set<std::string>;

struct Options {
    std::filesystem::path plugin, broken, nuvhost;
    bool family = false, full = false;
    std::string glob = "*";
    std::size_t share = 0, shares = 1;
};

int g_passed = 0, g_failed = 0;

void Judge(bool holds, const std::string& text) {
    (holds ? g_passed : g_failed) += 1;
    std::printf("%s %s\n", holds ? "ok  " : "FAIL", text.c_str());
    std::fflush(stdout);
}

std::string FamilyOf(std::string_view id) {
    return std::string(id.substr(0, id.find('.')));
}

std::string Joined(const Ids& ids) {
    std::string text;
    for (const std::string& id : ids)
        text += (text.empty() ? "" : ", ") + id;
    return text.empty() ? "none" : text;
}

void ChooseFault(std::string_view id) {
    broken::SetVariable(broken::kChoice, std::string(id));
}

std::vector<const Check*> ChecksFor(const broken::Control& control, const Options& options) {
    std::vector<const Check*> checks;
    for (const Check& check : AllChecks()) {
        const bool itself = check.id == control.check;
        const bool relative = FamilyOf(check.id) == FamilyOf(control.check);
        const bool other = (options.full || (options.family && relative)) && check.kind != Kind::slow;
        if (itself || other) checks.push_back(&check);
    }
    return checks;
}

// The time limit where nothing may fail. Thousands of threads take long under Wine and on a busy machine.
constexpr std::chrono::seconds kEnough{120};

struct Tried {
    Ids failing;
    std::string lacking;  // why the control's own check does not apply; empty if it does
};

Tried Try(const broken::Control& control, const std::vector<const Check*>& checks, const Options& options) {
    RunOptions run;
    run.plugin = options.broken;
    if (!control.file.empty())
        run.plugin.replace_filename(control.file).replace_extension(options.broken.extension());
    run.nuvhost = options.nuvhost;
    run.checks = checks;
    run.timeout = control.mends ? kEnough : std::chrono::seconds(10);  // some faults hang
    ChooseFault(control.check);
    Tried tried;
    for (const Result& result : Run(run)) {
        if (result.status == Status::failed) tried.failing.insert(std::string(result.check->id));
        if (result.check->id == control.check) tried.lacking = result.outcome.notApplicable;
    }
    ChooseFault("");
    return tried;
}

Ids Expected(const broken::Control& control, const std::vector<const Check*>& checks,
             const Deviations& deviations) {
    const Check* const own = FindCheck(control.check);
    if (own != nullptr && own->kind == Kind::gate) return {std::string(control.check)};  // no other check runs then
    Ids expected;
    for (const Check* check : checks) {
        if (deviations.contains(check->id)) expected.insert(std::string(check->id));
    }
    if (control.mends) {
        expected.erase(std::string(control.check));
    } else {
        expected.insert(std::string(control.check));
    }
    return expected;
}

void TryControl(const broken::Control& control, const Options& options, const Deviations& deviations) {
    const auto checks = ChecksFor(control, options);
    const auto [failing, lacking] = Try(control, checks, options);
    if (!control.needs.empty() && !lacking.empty()) {
        std::printf("skip %s needs %s: %s\n", std::string(control.check).c_str(),
                    std::string(control.needs).c_str(), lacking.c_str());
        return;
    }
    const Ids expected = Expected(control, checks, deviations);
    std::string text = std::string(control.check) + ": " + std::string(control.fault);
    if (failing != expected) text += "\n     failing: " + Joined(failing) + "\n     expected: " + Joined(expected);
    Judge(failing == expected, text);
}

void TryTrueEffect(const Options& options, const Deviations& deviations) {
    RunOptions run;
    run.plugin = options.plugin;
    run.nuvhost = options.nuvhost;
    run.deviations = deviations;
    run.timeout = kEnough;
    std::size_t number = 0;
    for (const Check& check : AllChecks()) {
        if (!MatchesGlob(check.id, options.glob)) continue;
        if (number++ % options.shares == options.share) run.checks.push_back(&check);
    }
    Ids needy;  // checks that may not apply
    for (const broken::Control& control : broken::AllControls()) {
        if (!control.needs.empty()) needy.insert(std::string(control.check));
    }
    for (const Result& result : Run(run)) {
        const bool lacks = result.status == Status::notApplicable && needy.contains(std::string(result.check->id));
        const bool good = result.status == Status::passed || result.status == Status::deviates || lacks;
        std::string text = std::string(result.check->id) + " (" + std::string(NameOf(result.personality)) +
                           ") on the effect itself: " + std::string(NameOf(result.status));
        if (!good) {
            text += " " + result.outcome.notApplicable;
            for (const std::string& failure : result.outcome.failures)
                text += "\n     " + failure;
        }
        Judge(good, text);
    }
}

// Whether a family's checks have one control each, in the file of the same name.
void CompareFamily(const std::string& family, std::span<const Check> checks,
                   std::span<const broken::Control> controls) {
    std::multiset<std::string> checkIds, controlIds;
    for (const Check& check : checks)
        checkIds.emplace(check.id);
    for (const broken::Control& control : controls)
        controlIds.emplace(control.check);
    Ids different;
    std::ranges::set_symmetric_difference(checkIds, controlIds, std::inserter(different, different.end()));
    Judge(different.empty(), family + ": " + std::to_string(checks.size()) +
                                 " checks; without exactly one check and one control: " + Joined(different));
}

void CompareTables(const Deviations& deviations) {
#define NUV_COMPARE(family) CompareFamily(#family, family##Checks(), broken::family##Controls());
    NUV_FAMILIES(NUV_COMPARE)
#undef NUV_COMPARE
    for (const signs::FrameSize& frame : signs::kFrameSizes) {
        const bool named = std::ranges::any_of(
            AllChecks(), [&](const Check& check) { return MatchesGlob(check.id, frame.check); });
        Judge(named, std::string(frame.check) + ": the frame size is a check's");
    }
    for (const broken::Control& control : broken::AllControls()) {
        Judge(control.mends == deviations.contains(control.check),
              std::string(control.check) + ": the control mends exactly what deviates");
    }
}

Options Parse(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == "--family") {
            options.family = true;
        } else if (word == "--full") {
            options.full = true;
        } else if (word == "--check" && hasValue) {
            options.glob = argv[++i];
        } else if (word == "--share" && hasValue) {
            const std::string text = argv[++i];
            options.share = std::stoul(text);
            options.shares = std::stoul(text.substr(text.find('/') + 1));
        } else if (!word.starts_with("-") && files.size() < 3) {
            files.push_back(std::filesystem::absolute(word).make_preferred());
        } else {
            throw std::invalid_argument(word + ": unknown option");
        }
    }
    if (files.size() < 2) throw std::invalid_argument("PLUGIN and BROKEN_PLUGIN are needed");
    files.resize(3);
    options.plugin = files[0];
    options.broken = files[1];
    options.nuvhost = files[2];
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = Parse(argc, argv);
        if (std::ranges::none_of(AllChecks(),
                                 [&](const Check& check) { return MatchesGlob(check.id, options.glob); })) {
            throw std::invalid_argument("--check: \"" + options.glob + "\" matches no check");
        }
        const Deviations deviations = ReadDeviations(DeviationsBeside(options.plugin));
        ChooseFault("");
        if (options.share == 0) CompareTables(deviations);
        TryTrueEffect(options, deviations);
        std::size_t number = 0;
        for (const broken::Control& control : broken::AllControls()) {
            if (!MatchesGlob(control.check, options.glob)) continue;
            if (number++ % options.shares == options.share) TryControl(control, options, deviations);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "try_controls: %s\n", error.what());
        return 2;
    }
    std::printf("%d passed, %d failed\n", g_passed, g_failed);
    return g_failed == 0 ? 0 : 1;
}
