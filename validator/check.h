// What a check of `nuvhost validate` is, and what its function may use. docs/contributing/check.md says how to add
// one.
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

// The host in which a check runs. `both` runs it once in each.
enum class Where { compositor, editor, both };

enum class Kind {
    usual,
    slow,  // --quick leaves it out, and its time limit is ten times as long
    gate,  // runs before the others; if it fails, nothing else can be checked, and no further check runs
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

// What a check works with. Any thread may use every member except random().
class Context {
public:
    Context(Job job, EventSink sink) : job_(std::move(job)), sink_(std::move(sink)), random_(job_.seed) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    const std::filesystem::path& plugin() const { return job_.plugin; }
    refhost::Personality personality() const { return job_.personality; }
    bool inEditor() const { return personality() == refhost::Personality::editor; }
    // The check's own frame size in signs.h, which no other check renders.
    signs::Size size() const { return signs::SizeOf(job_.check->id); }
    std::mt19937_64& random() { return random_; }  // the same numbers for the same --seed

    // Loads the plug-in. The last copy unloads it. Throws std::runtime_error with a line for the user.
    refhost::PluginLibrary Load() const { return refhost::PluginLibrary(plugin()); }
    // A host of the check's personality that records calls.
    refhost::HostOptions HostOptions() const;

    // Reports a failure; the check goes on. `what` is a sentence about what was seen, without the check's id.
    void Fail(const std::string& what);
    // Calls Fail if `holds` is false. Returns `holds`.
    bool Expect(bool holds, const std::string& what);
    // Like Expect, but a failure ends the check. It throws an exception, so only the check's own thread may call
    // it.
    void Require(bool holds, const std::string& what);
    // Reports one failure for each line. Each begins with `about`.
    void ExpectNone(const std::vector<std::string>& lines, std::string_view about);
    // Ends the check, which then counts neither as passed nor as failed.
    [[noreturn]] void NotApplicable(const std::string& why);
    // Adds to the number of points that were tried. The end of the run prints their sum.
    void AddPoints(std::int64_t points);

private:
    void Send(Event event, const std::string& text);

    Job job_;
    std::mutex mutex_;  // guards sink_
    EventSink sink_;
    std::mt19937_64 random_;
};

// Calls the check in this process. Its exceptions become failures. The last event is `done`, unless the effect ends
// or breaks the process.
void RunCheck(const Job& job, const EventSink& sink);

}  // namespace validator
