#include "runner.h"

#include <algorithm>

namespace nuvhost::validate {
namespace {

using refhost::Personality;

std::vector<Personality> PersonalitiesOf(const Check& check) {
    if (check.where == Where::compositing) return {Personality::compositor};
    if (check.where == Where::editing) return {Personality::editor};
    return {Personality::compositor, Personality::editor};
}

std::vector<Job> JobsOf(const Check& check, const RunOptions& options) {
    std::vector<Job> jobs;
    for (int i = 0; i < options.repeat; ++i) {
        for (const Personality personality : PersonalitiesOf(check))
            jobs.push_back({&check, options.plugin, personality, options.seed + static_cast<std::uint64_t>(i)});
    }
    return jobs;
}

Status StatusOf(const JobOutcome& outcome, bool listed) {
    if (!outcome.failures.empty()) return listed ? Status::deviates : Status::failed;
    return outcome.notApplicable.empty() ? Status::passed : Status::notApplicable;
}

Result RunJob(const Job& job, const RunOptions& options, bool blocked) {
    Result result{job.check, job.personality, job.seed, Status::notRun, {}, {}};
    if (blocked) return result;
    result.outcome =
        options.inProcess
            ? RunInThisProcess(job)
            : RunInOwnProcess(job, options.timeout * (job.check->kind == Kind::slow ? 10 : 1), options.nuvhost);
    const auto listed = options.deviations.find(job.check->id);
    result.status = StatusOf(result.outcome, listed != options.deviations.end());
    if (listed != options.deviations.end()) result.reason = listed->second;
    return result;
}

}  // namespace

std::string_view NameOf(Status status) {
    constexpr std::string_view kNames[] = {"passed",           "FAILED",         "deviates",
                                           "DOES NOT DEVIATE", "not applicable", "not run"};
    return kNames[static_cast<std::size_t>(status)];
}

std::vector<Result> Run(const RunOptions& options, const RunObserver& observer) {
    std::vector<Result> results;
    bool blocked = false;
    int number = 0;
    for (const Check* check : options.checks) {
        ++number;
        const std::vector<Job> jobs = JobsOf(*check, options);
        bool deviated = false;
        for (const Job& job : jobs) {
            if (observer.onStart) observer.onStart(*check, number, static_cast<int>(options.checks.size()));
            Result result = RunJob(job, options, blocked);
            deviated = deviated || result.status == Status::deviates;
            const bool last = &job == &jobs.back();
            if (last && !blocked && !deviated && options.deviations.contains(check->id)) {
                result.status = Status::doesNotDeviate;
            }
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

}  // namespace nuvhost::validate
