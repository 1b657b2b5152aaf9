// The operating system refuses threads and memory.
#if defined(__linux__)

#include <algorithm>
#include <iterator>

#include "fault_points.h"
#include "process_state.h"
#include "registry.h"
#include "system_refusal.h"

namespace nuvhost::validate {
namespace {

template <Command command, Ask ask>
void EachRefusal(Context& context) {
    Scene scene(context, InOrder(context));
    const auto* const code = reinterpret_cast<const void*>(scene.host.library().effectMain);
    const std::string what = ask == Ask::thread ? "thread" : "allocation";
    int points = 0;
    for (const PF_PixelFormat format : FormatsOf(context, scene, command)) {
        Bench bench(context, scene, command, format);
        const int threads = ThreadCount();
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
            Lines lines = UsualLook(outcome);
            if (ThreadsBeyond(threads) > 0) lines.push_back("threads are left behind");
            std::ranges::copy(bench.NextIsRight(), std::back_inserter(lines));
            context.ExpectNone(lines, bench.Name() + ", " + what + " " + std::to_string(failing) + " of " +
                                          std::to_string(asked) + " is refused");
            if (!lines.empty()) return;
        }
        points += asked;
    }
    if (points == 0) context.NotApplicable("the effect asks for no " + what + " that can be refused");
    context.AddPoints(points);
}

constexpr Check kChecks[] = {
    {"faults.smart-thread", "A smart render survives each thread that the system refuses.", Where::compositing,
     EachRefusal<Command::smartRender, Ask::thread>},
    {"faults.smart-memory", "A smart render survives each allocation that fails.", Where::compositing,
     EachRefusal<Command::smartRender, Ask::memory>},
    {"faults.plain-thread", "A plain render survives each thread that the system refuses.", Where::both,
     EachRefusal<Command::plainRender, Ask::thread>},
    {"faults.plain-memory", "A plain render survives each allocation that fails.", Where::both,
     EachRefusal<Command::plainRender, Ask::memory>},
};

}  // namespace

std::span<const Check> SystemFaultsChecks() {
    return kChecks;
}

}  // namespace nuvhost::validate

#endif
