// How the validator judges checks that fail in every way there is.
#if !defined(_WIN32)

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "nuvhost/validate/report.h"
#include "nuvhost/validate/runner.h"

namespace {

using namespace nuvhost::validate;
using refhost::Personality;

void Hold(Context&) {}
void Break(Context& context) {
    context.Fail("first");
    context.Fail("second");
}
void BreakInEditing(Context& context) {
    context.Expect(!context.editing(), "is the editing host");
}
void Throw(Context&) {
    throw std::runtime_error("thrown");
}
void Crash(Context&) {
    ::raise(SIGSEGV);
}
void Exit(Context&) {
    ::_exit(0);
}
void Hang(Context&) {
    ::pause();
}
void BeElsewhere(Context& context) {
    context.NotApplicable("has no editing side");
}
void Tell(Context& context) {
    context.AddPoints(3);
    context.AddPoints(4);
    context.Fail(std::to_string(context.random()()));
}

Check Make(void (*run)(Context&), Where where = Where::compositing, Kind kind = Kind::usual) {
    return {"family.check", "A promise.", where, run, kind};
}

std::vector<Result> RunAll(const std::vector<Check>& checks, RunOptions options = {}) {
    for (const Check& check : checks)
        options.checks.push_back(&check);
    return Run(options);
}

Result RunOne(void (*run)(Context&), RunOptions options = {}) {
    const std::vector<Check> checks = {Make(run)};
    Result result = RunAll(checks, std::move(options)).at(0);
    result.check = nullptr;
    return result;
}

std::vector<std::string> FailuresOf(void (*run)(Context&)) {
    return RunOne(run, {.timeout = std::chrono::milliseconds(200)}).outcome.failures;
}

using Lines = std::vector<std::string>;

TEST(Validator, ReportsEveryFailureOfACheck) {
    EXPECT_EQ(FailuresOf(Hold), Lines{});
    EXPECT_EQ(FailuresOf(Break), (Lines{"first", "second"}));
    EXPECT_EQ(FailuresOf(Throw), Lines{"thrown"});
}

TEST(Validator, SurvivesACrashAnExitAndAHang) {
    EXPECT_EQ(FailuresOf(Crash), Lines{"the process crashed with SIGSEGV"});
    EXPECT_EQ(FailuresOf(Exit), Lines{"the process exited with code 0 before the check was through"});
    EXPECT_EQ(FailuresOf(Hang), Lines{"the process was still running after 200 ms"});
}

TEST(Validator, RunsACheckInBothPersonalitiesAndSaysWhichFailed) {
    const std::vector<Check> checks = {Make(BreakInEditing, Where::both)};
    const auto results = RunAll(checks);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].personality, Personality::compositor);
    EXPECT_EQ(results[0].status, Status::passed);
    EXPECT_EQ(results[1].personality, Personality::editor);
    EXPECT_EQ(results[1].status, Status::failed);
}

TEST(Validator, IsGreenOnlyWhenExactlyTheListedChecksDeviate) {
    RunOptions options;
    options.deviations = {{"family.check", "on purpose"}};
    EXPECT_EQ(RunOne(Break, options).status, Status::deviates);
    EXPECT_EQ(RunOne(Hold, options).status, Status::doesNotDeviate);
    EXPECT_EQ(RunOne(Break).status, Status::failed);
    EXPECT_TRUE(Count(std::vector{RunOne(Break, options)}).Green());
    EXPECT_FALSE(Count(std::vector{RunOne(Hold, options)}).Green());
    EXPECT_FALSE(Count(std::vector{RunOne(Break)}).Green());
}

TEST(Validator, TakesADeviationInOnePersonalityForADeviation) {
    RunOptions options;
    options.deviations = {{"family.check", "on purpose"}};
    const std::vector<Check> checks = {Make(BreakInEditing, Where::both)};
    EXPECT_TRUE(Count(RunAll(checks, options)).Green());
}

TEST(Validator, RunsNothingAfterAGateThatFails) {
    const std::vector<Check> checks = {Make(Break, Where::compositing, Kind::gate), Make(Hold)};
    const auto results = RunAll(checks);
    EXPECT_EQ(results.at(1).status, Status::notRun);
    EXPECT_FALSE(Count(results).Green());
}

TEST(Validator, CountsWhatDoesNotApplyNeitherAsPassedNorAsFailed) {
    const Counts counts = Count(std::vector{RunOne(BeElsewhere)});
    EXPECT_EQ(counts.passed + counts.failed, 0);
    EXPECT_EQ(counts.notApplicable, 1);
}

TEST(Validator, RepeatsWithTheSeedsThatFollowAndTheSameNumbersForASeed) {
    const std::vector<Check> checks = {Make(Tell)};
    const auto first = RunAll(checks, {.seed = 7, .repeat = 2});
    const auto again = RunAll(checks, {.seed = 8});
    ASSERT_EQ(first.size(), 2u);
    EXPECT_NE(first[0].outcome.failures, first[1].outcome.failures);
    EXPECT_EQ(first[1].outcome.failures, again.at(0).outcome.failures);
    EXPECT_EQ(Count(first).points, 14);
    EXPECT_NE(nuvhost::validate::Lines(first[1], "/a/b.so")
                  .find("nuvhost validate \"/a/b.so\" --check family.check --seed 8\n"),
              std::string::npos);
}

}  // namespace

#endif
