// How the validator judges checks that fail in every possible way.

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>

#include "validator/errors.h"
#include "validator/registry.h"
#include "validator/run/report.h"
#include "validator/run/runner.h"

namespace {

using namespace validator;
using refhost::Personality;

void Hold(Context&) {}
void Break(Context& context) {
    context.Fail("first");
    context.Fail("second");
}
void BreakInEditor(Context& context) {
    context.Expect(!context.inEditor(), "is the editing host");
}
void Throw(Context&) {
    throw std::runtime_error("thrown");
}
void Crash(Context&) {
    ::raise(SIGSEGV);
}
void BreakAndCrash(Context& context) {
    Break(context);
    Crash(context);
}
void BreakOnSeedOne(Context& context) {
    context.Expect(context.random()() != std::mt19937_64(1)(), "the seed is 1");
}
void Exit(Context&) {
    ::_exit(0);
}
void Hang(Context&) {
    ::pause();
}
void EndTheProcess(Context&) {
    std::exit(3);
}
void HangInTwo(Context&) {
    ::fork();
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

Check Make(void (*run)(Context&), Where where = Where::compositor, Kind kind = Kind::usual) {
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

constexpr std::chrono::milliseconds kShort{200}, kLong{30'000};  // a busy machine forks slowly

std::vector<std::string> FailuresOf(void (*run)(Context&), std::chrono::milliseconds limit = kLong) {
    return RunOne(run, {.timeout = limit}).outcome.failures;
}

using Lines = std::vector<std::string>;

TEST(Validator, ReportsEveryFailureOfACheck) {
    EXPECT_EQ(FailuresOf(Hold), Lines{});
    EXPECT_EQ(FailuresOf(Break), (Lines{"first", "second"}));
    EXPECT_EQ(FailuresOf(Throw), Lines{"thrown"});
}

TEST(Validator, SurvivesACrashAnExitAndAHang) {
    EXPECT_EQ(FailuresOf(Crash), Lines{"the process crashed with SIGSEGV"});
    EXPECT_EQ(FailuresOf(Exit), Lines{"the process ended with exit code 0"});
    EXPECT_EQ(FailuresOf(Hang, kShort), Lines{"the process was still running after 200 ms"});
}

TEST(Validator, EndsAtOnceWhenTheEffectEndsTheProcess) {
    static const pid_t self = ::getpid();
    std::atexit([] {
        if (::getpid() != self) ::pause();  // like a library that waits for threads which fork did not copy
    });
    EXPECT_EQ(FailuresOf(EndTheProcess), Lines{"the process ended with exit code 3"});
}

TEST(Validator, NamesTheCheckInWhichTheEffectEndsThisProcess) {
    EXPECT_EXIT(RunOne(EndTheProcess, {.inProcess = true}), testing::ExitedWithCode(1),
                "family.check \\(compositing\\)");
}

TEST(Validator, EndsAtTheTimeLimitWhatTheEffectHasStarted) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_EQ(FailuresOf(HangInTwo, kShort), Lines{"the process was still running after 200 ms"});
    ::close(ends[1]);
    pollfd wait{ends[0], POLLIN, 0};
    EXPECT_EQ(::poll(&wait, 1, 5000), 1) << "a process still holds the other end";
    ::close(ends[0]);
}

TEST(Validator, RunsACheckInBothPersonalitiesAndSaysWhichFailed) {
    const std::vector<Check> checks = {Make(BreakInEditor, Where::both)};
    const auto results = RunAll(checks);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].personality, Personality::compositor);
    EXPECT_EQ(results[0].status, Status::passed);
    EXPECT_EQ(results[1].personality, Personality::editor);
    EXPECT_EQ(results[1].status, Status::failed);
}

RunOptions Listing(Lines patterns, Personality personality = Personality::compositor) {
    RunOptions options;
    options.deviations["family.check"] = {"on purpose", {{personality, std::move(patterns)}}};
    return options;
}

TEST(Validator, IsGreenOnlyWhenExactlyTheListedChecksDeviate) {
    const RunOptions options = Listing({"first", "second"});
    EXPECT_EQ(RunOne(Break, options).status, Status::deviates);
    EXPECT_EQ(RunOne(Hold, options).status, Status::doesNotDeviate);
    EXPECT_EQ(RunOne(BeElsewhere, options).status, Status::doesNotDeviate);
    EXPECT_EQ(RunOne(Break).status, Status::failed);
    EXPECT_TRUE(Count(std::vector{RunOne(Break, options)}).Green());
    EXPECT_FALSE(Count(std::vector{RunOne(Hold, options)}).Green());
    EXPECT_FALSE(Count(std::vector{RunOne(Break)}).Green());
}

TEST(Validator, ExcusesOnlyTheLinesThatAreListedAndAllOfThem) {
    EXPECT_EQ(RunOne(Break, Listing({"fi*", "?econd"})).status, Status::deviates);
    const Result another = RunOne(Break, Listing({"first"}));
    EXPECT_EQ(another.status, Status::failed);
    EXPECT_EQ(another.differences, Lines{"not expected: second"});
    const Result missing = RunOne(Break, Listing({"*", "third*"}));
    EXPECT_EQ(missing.status, Status::failed);
    EXPECT_EQ(missing.differences, Lines{"expected, but did not come: third*"});
    EXPECT_EQ(RunOne(Break, Listing({"irst", "secon"})).differences.size(), 4u);
}

TEST(Validator, ExcusesNoProcessThatDies) {
    RunOptions options = Listing({"*"});
    for (const auto die : {Crash, Exit, BreakAndCrash})
        EXPECT_EQ(RunOne(die, options).status, Status::failed);
    options.timeout = kShort;
    EXPECT_EQ(RunOne(Hang, options).status, Status::failed);
}

TEST(Validator, ExcusesADeviationInTheListedPersonalityAlone) {
    const std::vector<Check> checks = {Make(BreakInEditor, Where::both)};
    EXPECT_TRUE(Count(RunAll(checks, Listing({"is the editing host"}, Personality::editor))).Green());
    const auto results = RunAll(checks, Listing({"is the editing host"}, Personality::compositor));
    EXPECT_EQ(results.at(0).status, Status::doesNotDeviate);
    EXPECT_EQ(results.at(1).status, Status::failed);
}

TEST(Validator, JudgesEachRepeatOfADeviationByItself) {
    RunOptions options = Listing({"the seed is 1"});
    options.repeat = 2;
    const std::vector<Check> checks = {Make(BreakOnSeedOne)};
    const auto results = RunAll(checks, options);
    EXPECT_EQ(results.at(0).status, Status::deviates);
    EXPECT_EQ(results.at(1).status, Status::doesNotDeviate);
}

TEST(Validator, TellsOfADeviationTheReasonAndOnRequestTheLines) {
    const std::vector<Check> checks = {Make(Break)};
    const Result result = RunAll(checks, Listing({"*"})).at(0);
    EXPECT_EQ(validator::Lines(result, "/a/b.so"), "deviates          family.check (compositing): on purpose\n");
    EXPECT_EQ(validator::Lines(result, "/a/b.so", true),
              "deviates          family.check (compositing): on purpose\n    first\n    second\n");
    EXPECT_NE(Json(std::vector{result}, "/a/b.so").find("\"second\""), std::string::npos);
    EXPECT_NE(Junit(std::vector{result}, "/a/b.so").find("first&#10;second"), std::string::npos);
}

// A file of deviations with this text. The destructor removes it. Its name is random, because other tests may run
// on the same machine.
class ListOfDeviations {
public:
    explicit ListOfDeviations(const std::string& text) { std::ofstream(file_) << text; }
    ~ListOfDeviations() { std::filesystem::remove(file_); }
    ListOfDeviations(const ListOfDeviations&) = delete;
    ListOfDeviations& operator=(const ListOfDeviations&) = delete;

    const std::filesystem::path& file() const { return file_; }

private:
    const std::filesystem::path file_ =
        std::filesystem::path(testing::TempDir()) / (std::to_string(std::random_device()()) + ".deviations.json");
};

// Why ReadDeviations refuses a file with this text; "" if it accepts the file.
std::string RefusalOf(const std::string& text) {
    const ListOfDeviations list(text);
    const std::filesystem::path& file = list.file();
    try {
        ReadDeviations(file);
    } catch (const validator::UsageError& error) {
        const std::string line = error.what(), name = file.string() + ": ";
        return line.starts_with(name) ? line.substr(name.size()) : "without the file's name: " + line;
    }
    return "";
}

TEST(Validator, SaysWhatIsWrongWithAListOfDeviations) {
    const std::string_view right = R"({"loading.loads": {"reason": "r", "compositing": ["*"]}})";
    EXPECT_EQ(RefusalOf(std::string(right)), "");
    EXPECT_EQ(RefusalOf(std::string(right.substr(1))), "is not one JSON object");
    const std::pair<const char*, const char*> entries[] = {
        {R"("on purpose")", "is not an object with a reason and the lines that it excuses"},
        {R"({"compositing": ["*"]})", "has no reason"},
        {R"({"reason": "", "compositing": ["*"]})", "has no reason"},
        {R"({"reason": "r"})", "names no host in which it fails"},
        {R"({"reason": "r", "compositing": []})", R"("compositing" is not a list of patterns)"},
        {R"({"reason": "r", "compositing": "*"})", R"("compositing" is not a list of patterns)"},
        {R"({"reason": "r", "compositing": [""]})", R"("compositing" is not a list of patterns)"},
        {R"({"reason": "r", "compositing": ["*"], "edting": ["*"]})", R"("edting" is unknown)"},
        {R"({"reason": "r", "editing": ["*"]})", "is no check of the editing host"},
    };
    for (const auto& [entry, refusal] : entries)
        EXPECT_EQ(RefusalOf(std::string(R"({"loading.loads": )") + entry + "}"),
                  std::string(R"("loading.loads": )") + refusal);
    EXPECT_EQ(RefusalOf(R"({"loading.lods": {"reason": "r", "compositing": ["*"]}})"),
              R"("loading.lods": is no check; nuvhost validate --list names them)");
    EXPECT_EQ(RefusalOf(R"({"loading.loads": 1, "loading.loads": 2})"), R"("loading.loads" is listed twice)");
}

TEST(Validator, AcceptsAndLeavesOutDeviationsOfTheOtherSystem) {
    const ListOfDeviations list(R"({"property-list.once": {"reason": "r", "compositing": ["*"]}})");
    EXPECT_TRUE(ReadDeviations(list.file()).empty());
    EXPECT_NE(RefusalOf(R"({"property-list.once": {"reason": "r"}})"), "");
}

TEST(Validator, MatchesGlobsInShortTime) {
    EXPECT_TRUE(MatchesGlob("abcabd", "*ab?"));
    EXPECT_TRUE(MatchesGlob("", "*"));
    EXPECT_FALSE(MatchesGlob("", "?"));
    EXPECT_FALSE(MatchesGlob("ab", "a"));
    EXPECT_FALSE(MatchesGlob(std::string(1000, 'a'), "*a*a*a*a*a*a*a*a*a*a*a*a*b"));
}

TEST(Validator, RunsNothingAfterAGateThatFails) {
    const std::vector<Check> checks = {Make(Break, Where::compositor, Kind::gate), Make(Hold)};
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
    EXPECT_NE(
        validator::Lines(first[1], "/a/b.so").find("nuvhost validate \"/a/b.so\" --check family.check --seed 8\n"),
        std::string::npos);
}

}  // namespace
