#include "validator/run/runner.h"

#include <algorithm>

namespace validator {
namespace {

std::vector<Job> JobsOf(const Check& check, const RunOptions& options) {
    std::vector<Job> jobs;
    for (int i = 0; i < options.repeat; ++i) {
        for (const refhost::PersonalityTraits& traits : refhost::kPersonalities) {
            if (!IsFor(check, traits.personality)) continue;
            jobs.push_back(
                {&check, options.plugin, traits.personality, options.seed + static_cast<std::uint64_t>(i)});
        }
    }
    return jobs;
}

void Judge(Result& result, const Deviations& deviations) {
    const JobOutcome& outcome = result.outcome;
    const bool fails = outcome.died || !outcome.failures.empty();
    const auto entry = deviations.find(result.check->id);
    const bool listed = entry != deviations.end() && entry->second.lines.contains(result.personality);
    if (!listed) {
        result.status = fails                           ? Status::failed
                        : outcome.notApplicable.empty() ? Status::passed
                                                        : Status::notApplicable;
        return;
    }
    result.reason = entry->second.reason;
    if (!fails) {
        result.status = Status::doesNotDeviate;
        return;
    }
    if (!outcome.died)
        result.differences = Differences(outcome.failures, entry->second.lines.at(result.personality));
    result.status = outcome.died || !result.differences.empty() ? Status::failed : Status::deviates;
}

Result RunJob(const Job& job, const RunOptions& options, bool blocked) {
    Result result{job.check, job.personality, job.seed, Status::notRun, {}, {}, {}};
    if (blocked) return result;
    result.outcome =
        options.inProcess
            ? RunInThisProcess(job)
            : RunInOwnProcess(job, options.timeout * (job.check->kind == Kind::slow ? 10 : 1), options.nuvhost);
    Judge(result, options.deviations);
    return result;
}

struct Names {
    std::string_view name, word;
};
constexpr Names kNames[] = {
    {"passed", "passed"},
    {"FAILED", "failed"},
    {"deviates", "deviates"},
    {"DOES NOT DEVIATE", "does-not-deviate"},
    {"not applicable", "not-applicable"},
    {"not run", "not-run"},
};

}  // namespace

std::string_view NameOf(Status status) {
    return kNames[static_cast<std::size_t>(status)].name;
}

std::string_view WordOf(Status status) {
    return kNames[static_cast<std::size_t>(status)].word;
}

std::vector<Result> Run(const RunOptions& options, const RunObserver& observer) {
    std::vector<Result> results;
    bool blocked = false;
    int number = 0;
    for (const Check* check : options.checks) {
        ++number;
        for (const Job& job : JobsOf(*check, options)) {
            if (observer.onStart) observer.onStart(*check, number, static_cast<int>(options.checks.size()));
            Result result = RunJob(job, options, blocked);
            if (observer.onResult) observer.onResult(result);
            results.push_back(std::move(result));
        }
        const bool failed = std::ranges::any_of(results, [&](const Result& result) {
            return result.check == check && result.status == Status::failed;
        });
        blocked = blocked || (check->kind == Kind::gate && failed);
    }
    return results;
}

Counts Count(std::span<const Result> results) {
    Counts counts;
    for (const Result& result : results) {
        counts.passed += result.status == Status::passed;
        counts.failed += result.status == Status::failed || result.status == Status::doesNotDeviate;
        counts.deviating += result.status == Status::deviates;
        counts.notApplicable += result.status == Status::notApplicable;
        counts.notRun += result.status == Status::notRun;
        counts.points += result.outcome.points;
    }
    return counts;
}

}  // namespace validator
