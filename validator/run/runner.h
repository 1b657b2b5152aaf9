// Runs checks on a plug-in and judges the results.
#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "validator/run/deviations.h"
#include "validator/run/isolation.h"

namespace validator {

struct RunOptions {
    std::filesystem::path plugin;   // absolute
    std::filesystem::path nuvhost;  // this program, for Windows
    std::vector<const Check*> checks;
    Deviations deviations;
    std::uint64_t seed = 1;
    int repeat = 1;                             // each time with the next seed
    std::chrono::milliseconds timeout{30'000};  // for one check; slow checks get ten times as long
    bool inProcess = false;
};

enum class Status {
    passed,
    failed,
    deviates,        // fails exactly as the list of deviations says
    doesNotDeviate,  // holds or does not apply, but the list says that it fails
    notApplicable,
    notRun,  // because a gate has failed
};
std::string_view NameOf(Status status);  // for people
std::string_view WordOf(Status status);  // for programs: "does-not-deviate"; never changes

// One run of one check.
struct Result {
    const Check* check = nullptr;
    refhost::Personality personality = refhost::Personality::compositor;
    std::uint64_t seed = 1;
    Status status = Status::notRun;
    JobOutcome outcome;
    std::string reason;                    // of a deviation
    std::vector<std::string> differences;  // between the failures and the listed deviation
};

struct Counts {
    int passed = 0, failed = 0, deviating = 0, notApplicable = 0, notRun = 0;
    std::int64_t points = 0;
    bool Green() const { return failed == 0 && notRun == 0; }
};

// Called at each step. Each function may be empty.
struct RunObserver {
    std::function<void(const Check&, int number, int count)> onStart;
    std::function<void(const Result&)> onResult;
};

// Runs every check `repeat` times in each personality that it is for. A check whose deviation is listed for a
// personality must fail there each time with exactly the listed lines. A crash, a hang and an exit always fail.
std::vector<Result> Run(const RunOptions& options, const RunObserver& observer = {});

Counts Count(std::span<const Result> results);

}  // namespace validator
