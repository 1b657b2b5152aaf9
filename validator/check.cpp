#include "validator/check.h"

#include <exception>
#include <utility>

namespace validator {
namespace {

struct Ended {};  // thrown to end a check that has already reported why

}  // namespace

bool IsFor(const Check& check, refhost::Personality personality) {
    switch (check.where) {
        case Where::compositor:
            return personality == refhost::Personality::compositor;
        case Where::editor:
            return personality == refhost::Personality::editor;
        case Where::both:
            break;
    }
    return true;
}

refhost::HostOptions Context::HostOptions() const {
    refhost::HostOptions options;
    options.personality = personality();
    options.recordCalls = true;
    return options;
}

void Context::Send(Event event, const std::string& text) {
    const std::lock_guard lock(mutex_);
    sink_(event, text);
}

void Context::Fail(const std::string& what) {
    Send(Event::failure, what);
}

bool Context::Expect(bool holds, const std::string& what) {
    if (!holds) Fail(what);
    return holds;
}

void Context::Require(bool holds, const std::string& what) {
    if (!Expect(holds, what)) throw Ended{};
}

void Context::ExpectNone(const std::vector<std::string>& lines, std::string_view about) {
    for (const std::string& line : lines)
        Fail(std::string(about) + ": " + line);
}

void Context::NotApplicable(const std::string& why) {
    Send(Event::notApplicable, why);
    throw Ended{};
}

void Context::AddPoints(std::int64_t points) {
    Send(Event::points, std::to_string(points));
}

void RunCheck(const Job& job, const EventSink& sink) {
    Context context(job, sink);
    try {
        job.check->run(context);
    } catch (const Ended&) {
    } catch (const std::exception& error) {
        context.Fail(error.what());
    } catch (...) {
        context.Fail("an exception of unknown type left the check");
    }
    sink(Event::done, "");
}

}  // namespace validator
