#include "validator/run/isolation.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <nlohmann/json.hpp>

#include "validator/run/child_process.h"

namespace validator {
namespace {

using nlohmann::json;

// Each line of a child's report begins with this character, because the effect may print to the same stream.
constexpr char kReport = '\x1e';

constexpr std::array<std::string_view, 4> kEvents = {"failure", "not-applicable", "points", "done"};

struct Report {
    JobOutcome outcome;
    bool done = false;

    void Add(Event event, const std::string& text) {
        if (event == Event::failure) outcome.failures.push_back(text);
        if (event == Event::notApplicable) outcome.notApplicable = text;
        if (event == Event::points) outcome.points += std::stoll(text);
        if (event == Event::done) done = true;
    }
};

// Takes the report out of the child's output. Returns the rest, which the effect has printed.
std::string TakeReport(const std::string& output, Report& report) {
    std::istringstream lines(output);
    std::string printed;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t mark = line.find(kReport);
        if (mark > 0) printed += line.substr(0, mark) + "\n";
        if (mark == std::string::npos) continue;
        const json entry = json::parse(line.substr(mark + 1), nullptr, false);
        if (!entry.is_object()) continue;
        for (std::size_t i = 0; i < kEvents.size(); ++i) {
            if (entry.contains(kEvents[i])) report.Add(static_cast<Event>(i), entry[kEvents[i]]);
        }
    }
    return printed;
}

std::atomic<const Job*> g_running = nullptr;  // the job that runs in this process, or null

void RefuseToExit() {
    const Job* const job = g_running;
    if (job == nullptr) return;
    std::fflush(stdout);
    std::fprintf(stderr, "nuvhost: the effect ended the process in %s (%s)\n", std::string(job->check->id).c_str(),
                 std::string(NameOf(job->personality)).c_str());
    std::fflush(stderr);
    std::_Exit(1);
}

template <typename Run>
JobOutcome Timed(Run run) {
    const auto start = std::chrono::steady_clock::now();
    JobOutcome outcome = run();
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return outcome;
}

}  // namespace

JobOutcome RunInThisProcess(const Job& job) {
    static const bool watched = std::atexit(RefuseToExit) == 0;
    if (!watched) throw std::runtime_error("the process cannot register a function that runs at exit");
    return Timed([&] {
        Report report;
        g_running = &job;
        RunCheck(job, [&](Event event, const std::string& text) { report.Add(event, text); });
        g_running = nullptr;
        return report.outcome;
    });
}

void RunAsChild(const Job& job) {
    RunCheck(job, [](Event event, const std::string& text) {
        const json entry = {{std::string(kEvents[static_cast<std::size_t>(event)]), text}};
        const std::string line = kReport + entry.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fflush(stdout);
    });
}

JobOutcome RunInOwnProcess(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost) {
    return Timed([&] {
        const ChildEnd end = RunChild(job, limit, nuvhost);
        Report report;
        const std::string printed = TakeReport(end.output, report);
        JobOutcome& outcome = report.outcome;
        outcome.died = !report.done || !end.how.empty();
        if (outcome.died) {
            outcome.failures.push_back("the process " + (end.how.empty() ? "ended with exit code 0" : end.how));
        }
        if (!printed.empty()) outcome.printed = printed.substr(0, printed.size() - 1);
        return outcome;
    });
}

}  // namespace validator
