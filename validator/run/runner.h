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
    int repeat = 1;                             // with the seeds that follow
    std::chrono::milliseconds timeout{30'000};  // of one check; ten times as long for a slow one
    bool inProcess = false;
};

enum class Status {
    passed,
    failed,
    deviates,        // fails exactly as the deviations say
    doesNotDeviate,  // holds or does not apply although the deviations say that it fails
    notApplicable,
    notRun,  // a gate has failed
};
std::string_view NameOf(Status status);  // for people
std::string_view WordOf(Status status);  // for programs, which rely on it: "does-not-deviate"

// One run of one check.
struct Result {
    const Check* check = nullptr;
    refhost::Personality personality = refhost::Personality::compositor;
    std::uint64_t seed = 1;
    Status status = Status::notRun;
    JobOutcome outcome;
    std::string reason;                    // of a deviation
    std::vector<std::string> differences;  // of a failure from what is listed of it
};

struct Counts {
    int passed = 0, failed = 0, deviating = 0, notApplicable = 0, notRun = 0;
    std::int64_t points = 0;
    bool Green() const { return failed == 0 && notRun == 0; }
};

// What to do at each step; may be empty.
struct RunObserver {
    std::function<void(const Check&, int number, int count)> onStart;
    std::function<void(const Result&)> onResult;
};

// Every check, in the personalities that it is for, `repeat` times. A check that is listed as deviating in a
// personality has to fail there, each time, by the lines that are listed. A crash, a hang and an exit always fail.
std::vector<Result> Run(const RunOptions& options, const RunObserver& observer = {});

Counts Count(std::span<const Result> results);

}  // namespace validator
