#include "fault_points.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace nuvhost::validate {
namespace {

using refhost::Call;
using refhost::CallRecord;

refhost::WorldLayout LayoutOf(PF_PixelFormat format) {
    auto layout = Scene::Layout(format, Bench::kWidth, Bench::kHeight);
    layout.padding = 12;
    return layout;
}

Way WayOf(Command command) {
    return command == Command::plainRender ? Way::plain : Way::smart;
}

bool AllPoison(const refhost::World& world) {
    return std::ranges::all_of(world.Pixels(), [](std::byte b) { return b == std::byte{refhost::World::kPoison}; });
}

std::string What(const CallRecord& call, PF_Err code) {
    std::string text = std::string(Name(call.call)) + (call.detail.empty() ? "" : " " + call.detail);
    text += " fails (call " + std::to_string(call.index + 1) + " of its kind";
    return text + (code == PF_Err_NONE ? ", with a null pointer and code 0)" : ")");
}

// Fails one call, and notes whether it came.
struct OneFault {
    CallRecord at;
    PF_Err code;
    bool* came;

    std::optional<PF_Err> operator()(const CallRecord& call) const {
        if (call.call != at.call || call.index != at.index) return std::nullopt;
        *came = true;
        return code;
    }
};

}  // namespace

std::string_view NameOf(Command command) {
    constexpr std::string_view kNames[] = {"pre-render", "smart render", "plain render"};
    return kNames[static_cast<std::size_t>(command)];
}

Lines UsualLook(const Outcome& outcome) {
    Lines lines = outcome.damage;
    for (const std::string& line : outcome.misuse) {
        if (!line.starts_with("host_unlock_handle:")) lines.push_back("misuse: " + line);
    }
    for (const std::string& line : outcome.kept) {
        if (!line.starts_with("suite ")) lines.push_back("kept: " + line);
    }
    return lines;
}

Lines FailsLook(const Outcome& outcome) {
    Lines lines = UsualLook(outcome);
    if (outcome.code == PF_Err_NONE) lines.push_back("the effect answers with success");
    return lines;
}

Lines PassesOnLook(const Outcome& outcome) {
    Lines lines = UsualLook(outcome);
    if (outcome.code != kRefused) {
        lines.push_back("the host's code " + std::to_string(kRefused) + " comes back as " +
                        std::to_string(outcome.code));
    }
    return lines;
}

Bench::Bench(Context& context, Scene& scene, Command command, PF_PixelFormat format)
    : scene_(scene), command_(command), frame_(LayoutOf(format)) {
    const Outcome clean = Render();
    context.Require(clean.code == PF_Err_NONE,
                    Name() + ": code " + std::to_string(clean.code) + " although nothing fails");
    picture_ = frame_.output.Pixels();
    calls_ = scene.host.account().Calls();
    if (command == Command::plainRender) return;

    scene.host.account().Reset();
    frame_.Render(scene.host, scene.instance, Way::smart, false);
    const auto ofPreRender =
        calls_.begin() + std::min(std::ssize(calls_), std::ssize(scene.host.account().Calls()));
    if (command == Command::preRender) {
        calls_.erase(ofPreRender, calls_.end());
    } else {
        calls_.erase(calls_.begin(), ofPreRender);
    }
}

Outcome Bench::Render(const refhost::FaultPlan& faults) {
    auto& host = scene_.host;
    frame_.Poison();
    host.account().Reset();
    const Lines before = host.account().Outstanding();
    Outcome outcome;
    if (faults) {
        host.options().faults = [&](const CallRecord& call) {
            const auto fate = faults(call);
            if (call.call == Call::lockHandle && fate) --outcome.locked;
            return fate;
        };
    }
    outcome.code = CodeOf(frame_.Render(host, scene_.instance, WayOf(command_)));
    host.options().faults = nullptr;
    outcome.written = !AllPoison(frame_.output);
    outcome.damage = frame_.Damage();
    outcome.misuse = host.account().Misuse();
    outcome.locked += host.account().Count(Call::lockHandle);
    outcome.unlocked = host.account().Count(Call::unlockHandle);
    std::ranges::set_difference(host.account().Outstanding(), before, std::back_inserter(outcome.kept));
    return outcome;
}

Lines Bench::NextIsRight() {
    scene_.host.account().Reclaim();
    const Outcome outcome = Render();
    if (outcome.code != PF_Err_NONE) return {"the next render gives code " + std::to_string(outcome.code)};
    const auto& layout = frame_.output.layout();
    const std::string difference = Difference(frame_.output.Pixels(), picture_, layout.format, layout.width);
    return difference.empty() ? Lines() : Lines{"the next render is not right: " + difference};
}

std::string Bench::Name() const {
    return std::string(NameOf(command_)) + ", " + NameOf(frame_.output.layout().format);
}

// A plain render in float is nothing that a host sends.
std::vector<PF_PixelFormat> FormatsOf(Context& context, const Scene& scene, Command command) {
    auto formats = scene.formats();
    if (command != Command::plainRender) {
        if (scene.way() != Way::smart) context.NotApplicable("the effect has no smart render");
    } else if (!context.editing()) {
        std::erase_if(formats, [](PF_PixelFormat format) { return refhost::BytesPerPixel(format) > 8; });
    }
    return formats;
}

refhost::HostOptions InOrder(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    return options;
}

void TryEach(Context& context, Command command, const Fault& fault, Look look) {
    auto options = InOrder(context);
    options.genericIteration = fault.generic;
    Scene scene(context, options);
    int points = 0;
    for (const PF_PixelFormat format : FormatsOf(context, scene, command)) {
        Bench bench(context, scene, command, format);
        for (const CallRecord& call : bench.calls()) {
            if (std::ranges::find(fault.calls, call.call) == fault.calls.end()) continue;
            bool came = false;
            Lines lines = look(bench.Render(OneFault{call, fault.code, &came}));
            if (!came) continue;
            ++points;
            std::ranges::copy(bench.NextIsRight(), std::back_inserter(lines));
            context.ExpectNone(lines, bench.Name() + ", " + What(call, fault.code));
            if (!lines.empty()) return;
        }
    }
    if (points == 0) context.NotApplicable("the effect makes no such call");
    context.AddPoints(points);
}

}  // namespace nuvhost::validate
