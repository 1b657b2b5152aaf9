// What a check of `nuvhost validate` is, and what its function may use.
//
// To add a check:
//  1. Write its function in its family's file, nuvhost/validate/<family>.cpp:
//
//         void OutputSizeIsKept(Context& context) {
//             refhost::Host host(context.Load(), context.HostOptions());
//             host.SetUp();                                                 // an exception is a failed check
//             context.Require(host.outData().width == 0, "…");              // ends the check if it does not hold
//             context.Expect(host.outData().height == 0, "…");              // goes on: several messages are fine
//             context.ExpectNone(host.account().Misuse(), "misuse");        // one message for each line
//         }
//
//     It runs in a process of its own, so it may leave anything behind, and a crash, a hang or an exit is a failed
//     check. It knows nothing of a particular effect: what an effect may lack is answered by NotApplicable. What is
//     chosen at random comes from context.random(). What it tries at many points, it counts with AddPoints.
//  2. Add one row to the family's table at the end of that file: id, promise, personality, function, and Kind::slow
//     if it runs thousands of cycles or takes gigabytes. The id begins with the family's name and a dot, and never
//     changes: people name it in scripts and deviation files. The promise is one sentence about the effect.
//     A check that can only run on one system stands in the table on that system alone (#if), and in the list of
//     these in registry.cpp.
//  3. Write its control in tests/broken_plugin/<family>_controls.cpp: the effect with one fault, on
//     which this check fails and no other one. A hook of a few lines, and one row with the check's id and what is
//     wrong:
//
//         PF_Err ReportsAWidth(Command& command) {
//             const PF_Err result = Effect(command);
//             command.outData->width = 1;
//             return result;
//         }
//         …
//         {.check = "setup.output-size-kept", .fault = "reports a width", .command = ReportsAWidth},
//
//     Where the effect itself breaks the promise on purpose, its id, the reason and the lines are in
//     src/resources/nuv_chromaber.deviations.json, and the control has `.mends = true`: the effect without the
//     habit, on which the check must hold.
//  4. build/linux/tests/validator_test --check '<family>.*' tries the family against its controls, with --full each
//     control against every check.
//
// A new family: its file, one declaration and one line in registry.h and registry.cpp; for its controls likewise in
// tests/broken_plugin/control.h and control.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/host.h"
#include "validator/signs.h"

namespace validator {

class Context;

// The host under whose eyes a promise holds. `both` runs the check once in each.
enum class Where { compositing, editing, both };

enum class Kind {
    usual,
    slow,  // left out by --quick, and has ten times the time limit
    gate,  // nothing else can be checked where this one fails, and nothing else is then run
};

struct Check {
    std::string_view id;       // "render.padding-untouched"
    std::string_view promise;  // one sentence, with its full stop
    Where where = Where::both;
    void (*run)(Context&) = nullptr;
    Kind kind = Kind::usual;
};
bool IsFor(const Check& check, refhost::Personality personality);

// One run of a check.
struct Job {
    const Check* check = nullptr;
    std::filesystem::path plugin;  // absolute
    refhost::Personality personality = refhost::Personality::compositor;
    std::uint64_t seed = 1;
};

enum class Event { failure, notApplicable, points, done };
using EventSink = std::function<void(Event, const std::string& text)>;

// What a check has in hand. Every member may be used from any thread but random().
class Context {
public:
    Context(Job job, EventSink sink) : job_(std::move(job)), sink_(std::move(sink)), random_(job_.seed) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    const std::filesystem::path& plugin() const { return job_.plugin; }
    refhost::Personality personality() const { return job_.personality; }
    bool editing() const { return personality() == refhost::Personality::editor; }
    // The size of the frames that no other check renders.
    signs::Size size() const { return signs::SizeOf(job_.check->id); }
    std::mt19937_64& random() { return random_; }  // the same numbers for the same --seed

    // Loads the plug-in; unloaded with the last copy. Throws std::runtime_error with a line for the user.
    refhost::PluginLibrary Load() const { return refhost::PluginLibrary(plugin()); }
    // A host of the check's personality that records calls.
    refhost::HostOptions HostOptions() const;

    // Reports a failure; the check goes on. One sentence that names what was seen, without the check's id.
    void Fail(std::string what);
    // As Fail unless `holds`; returns `holds`.
    bool Expect(bool holds, std::string what);
    // As Expect, but ends the check (by an exception, so on the check's own thread only).
    void Require(bool holds, std::string what);
    // One failure for each line.
    void ExpectNone(const std::vector<std::string>& lines, std::string_view about);
    // Ends the check, which then counts neither as passed nor as failed.
    [[noreturn]] void NotApplicable(std::string why);
    // Counts what was tried: the end of the run prints the sum.
    void AddPoints(std::int64_t points);

private:
    void Send(Event event, const std::string& text);

    Job job_;
    std::mutex mutex_;  // guards sink_
    EventSink sink_;
    std::mt19937_64 random_;
};

// Calls the check in this process. Its exceptions become failures; `done` is the last event, unless the effect ends
// or breaks the process.
void RunCheck(const Job& job, const EventSink& sink);

}  // namespace validator
