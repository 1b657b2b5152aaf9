// The operating system refuses threads and memory.
#include <algorithm>
#include <iterator>

#include "platform/process_usage.h"
#include "validator/kit/fault_session.h"
#include "validator/kit/system_refusal.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace faults;

constexpr const char* NameOf(Ask ask) {
    return ask == Ask::thread ? "thread" : "allocation";
}

// A smart render includes its pre-render, so the requests of the pre-render are refused, too.
template <RenderCommand command, Ask ask>
void EachRefusal(Context& context) {
    HostedScene scene(context, InOrder(context));
    const auto* const code = reinterpret_cast<const void*>(scene.host.library().effectMain);
    Trial trial(context);
    for (Bench& bench : BenchesOf(context, scene, command)) {
        const int threads = platform::ThreadCount();
        const auto asked = [&] {
            const Refusal nothing(ask, code);
            bench.Render();
            return nothing.asked();
        }();
        for (int failing = 1; failing <= asked; ++failing) {
            const auto outcome = [&] {
                const Refusal refusal(ask, code, failing);
                return bench.Render();
            }();
            Lines lines = StrictFlaws(outcome);
            if (platform::ThreadsBeyond(threads) > 0) lines.push_back("threads are left behind");
            std::ranges::copy(bench.NextIsRight(), std::back_inserter(lines));
            trial.Add(lines, bench.Name() + ", " + NameOf(ask) + " " + std::to_string(failing) + " of " +
                                 std::to_string(asked) + " is refused");
        }
    }
    trial.End(std::string("the effect asks for no ") + NameOf(ask) + " that can be refused");
}

// Refuses the requests that the effect makes in set-up and in the frames of a session. Other checks judge the
// frames.
template <Ask ask>
void EachRefusalInSession(Context& context) {
    SessionBench bench(context);
    const auto* const code = reinterpret_cast<const void*>(bench.host().library().effectMain);
    const int threads = platform::ThreadCount();
    const auto run = [&](int failing, int* asked) {
        const Refusal refusal(ask, code, failing);
        SessionOutcome outcome = bench.Run();
        if (asked != nullptr) *asked = refusal.asked();
        return outcome;
    };
    int asked = 0;
    run(0, &asked);
    Trial trial(context);
    for (int failing = 1; failing <= asked; ++failing) {
        const SessionOutcome outcome = run(failing, nullptr);
        Lines lines;
        for (const std::string& line : outcome.kept)
            lines.push_back("kept: " + line);
        for (const std::string& line : outcome.misuse)
            lines.push_back("misuse: " + line);
        if (platform::ThreadsBeyond(threads) > 0) lines.push_back("threads are left behind");
        std::ranges::copy(bench.NextIsRight(), std::back_inserter(lines));
        trial.Add(lines, std::string(NameOf(ask)) + " " + std::to_string(failing) + " of " + std::to_string(asked) +
                             " in a session is refused");
    }
    trial.End(std::string("the effect asks for no ") + NameOf(ask) + " that can be refused");
}

constexpr Check kChecks[] = {
    {"faults.session-thread", "Each command of a session survives each thread that the system refuses.",
     Where::both, EachRefusalInSession<Ask::thread>},
    {"faults.session-memory", "Each command of a session survives each allocation that fails.", Where::both,
     EachRefusalInSession<Ask::memory>},
    {"faults.smart-thread", "Pre-render and smart render survive each thread that the system refuses.",
     Where::compositor, EachRefusal<RenderCommand::smartRender, Ask::thread>},
    {"faults.smart-memory", "Pre-render and smart render survive each allocation that fails.", Where::compositor,
     EachRefusal<RenderCommand::smartRender, Ask::memory>},
    {"faults.plain-thread", "A plain render survives each thread that the system refuses.", Where::both,
     EachRefusal<RenderCommand::plainRender, Ask::thread>},
    {"faults.plain-memory", "A plain render survives each allocation that fails.", Where::both,
     EachRefusal<RenderCommand::plainRender, Ask::memory>},
};

}  // namespace

std::span<const Check> FaultsSystemChecks() {
    return kChecks;
}

}  // namespace validator
