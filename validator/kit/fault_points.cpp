#include "validator/kit/fault_points.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace validator::faults {
namespace {

using refhost::CallRecord;

constexpr std::string_view kSuite = "suite ",
                           kUnlock = "host_unlock_handle: ", kLocksNull = "host_lock_handle: the handle is null";

refhost::WorldLayout LayoutOf(PF_PixelFormat format) {
    auto layout = HostedScene::Layout(format, signs::SizeOf("faults.*"));
    layout.padding = 12;
    return layout;
}

RenderPath PathOf(RenderCommand command) {
    return command == RenderCommand::plainRender ? RenderPath::plain : RenderPath::smart;
}

void Append(Lines& to, const Lines& lines) {
    to.insert(to.end(), lines.begin(), lines.end());
}

// No host sends a plain render in float if the effect has smart render.
bool IsUnusual(const Context& context, RenderCommand command, PF_PixelFormat format) {
    return command == RenderCommand::plainRender && refhost::TraitsOf(context.personality()).smartRender &&
           refhost::FormatOf(format).bitsPerChannel == 32;
}

}  // namespace

std::string_view NameOf(RenderCommand command) {
    constexpr std::string_view kNames[] = {"pre-render", "smart render", "plain render"};
    return kNames[static_cast<std::size_t>(command)];
}

std::string What(const CallRecord& call, PF_Err code) {
    std::string text = std::string(Name(call.call)) + (call.detail.empty() ? "" : " " + call.detail);
    text += " fails (call " + std::to_string(call.index + 1) + " of its kind";
    return text + (code == PF_Err_NONE ? ", with a null pointer and code 0)" : ")");
}

std::optional<PF_Err> OneFault::operator()(const CallRecord& call) const {
    if (call.call != at.call || call.index != at.index) return std::nullopt;
    *came = true;
    return code;
}

Lines SuitesFlaws(const FrameOutcome& outcome) {
    Lines lines;
    for (const std::string& line : outcome.kept) {
        if (line.starts_with(kSuite)) lines.push_back("kept: " + line);
    }
    return lines;
}

Lines UnlocksFlaws(const FrameOutcome& outcome) {
    std::string unlocked;
    for (const std::string& line : outcome.misuse) {
        if (line.starts_with(kUnlock)) unlocked += (unlocked.empty() ? "" : "; ") + line.substr(kUnlock.size());
    }
    return unlocked.empty() ? Lines() : Lines{"unlocked: " + unlocked};
}

Lines LocksFlaws(const FrameOutcome& outcome) {
    return std::ranges::count(outcome.misuse, kLocksNull) > 0 ? Lines{"locked: the handle is null"} : Lines();
}

Lines UsualFlaws(const FrameOutcome& outcome) {
    Lines lines = outcome.damage;
    for (const std::string& line : outcome.misuse) {
        if (!line.starts_with(kUnlock) && line != kLocksNull) lines.push_back("misuse: " + line);
    }
    for (const std::string& line : outcome.kept) {
        if (!line.starts_with(kSuite)) lines.push_back("kept: " + line);
    }
    return lines;
}

Lines PassesOnFlaws(const FrameOutcome& outcome) {
    Lines lines = UsualFlaws(outcome);
    if (outcome.code != kRefused) {
        lines.push_back("the host's code " + std::to_string(kRefused) + " comes back as " +
                        std::to_string(outcome.code));
    }
    return lines;
}

Lines StrictFlaws(const FrameOutcome& outcome) {
    Lines lines = UsualFlaws(outcome);
    Append(lines, SuitesFlaws(outcome));
    Append(lines, UnlocksFlaws(outcome));
    Append(lines, LocksFlaws(outcome));
    return lines;
}

void Trial::Add(const Lines& lines, const std::string& about) {
    ++points_;
    for (const std::string& line : lines) {
        if (++lines_ > kMostLines) continue;
        std::string text = about;
        context_.Fail(text.append(": ").append(line));
    }
}

void Trial::End(const std::string& whyNothing) {
    if (lines_ > kMostLines) context_.Fail("and " + std::to_string(lines_ - kMostLines) + " more lines");
    if (points_ == 0) context_.NotApplicable(whyNothing);
    context_.AddPoints(points_);
}

Bench::Bench(HostedScene& scene, RenderCommand command, PF_PixelFormat format)
    : scene_(scene), command_(command), frame_(LayoutOf(format)) {
    code_ = Render().code;
    picture_ = frame_.output.Pixels();
    calls_ = scene.host.account().Calls();
    if (command == RenderCommand::plainRender) return;

    scene.host.account().Reset();
    frame_.Render(scene.host, scene.instance, RenderPath::smart, false);
    const auto ofPreRender =
        calls_.begin() + std::min(std::ssize(calls_), std::ssize(scene.host.account().Calls()));
    if (command == RenderCommand::preRender) {
        calls_.erase(ofPreRender, calls_.end());
    } else {
        calls_.erase(calls_.begin(), ofPreRender);
    }
}

FrameOutcome Bench::Render(const refhost::FaultPlan& faults) {
    auto& host = scene_.host;
    frame_.Poison();
    host.account().Reset();
    const Lines before = host.account().Outstanding();
    FrameOutcome outcome;
    host.options().faults = faults;
    outcome.code = CodeOf(frame_.Render(host, scene_.instance, PathOf(command_)));
    host.options().faults = nullptr;
    outcome.damage = frame_.Damage();
    outcome.misuse = host.account().Misuse();
    std::ranges::set_difference(host.account().Outstanding(), before, std::back_inserter(outcome.kept));
    const auto& layout = frame_.output.layout();
    if (!picture_.empty())
        outcome.difference = Difference(frame_.output.Pixels(), picture_, layout.format, layout.width);
    return outcome;
}

Lines Bench::NextIsRight() {
    scene_.host.account().Reclaim();
    const FrameOutcome outcome = Render();
    if (outcome.code != PF_Err_NONE) return {"the next render gives code " + std::to_string(outcome.code)};
    if (outcome.difference.empty()) return {};
    return {"the next render is not right: " + outcome.difference};
}

std::string Bench::Name() const {
    return std::string(faults::NameOf(command_)) + ", " + validator::NameOf(frame_.output.layout().format);
}

std::vector<RenderCommand> CommandsOf(Context& context) {
    using enum RenderCommand;
    return HostedScene(context).path() == RenderPath::smart ? std::vector{preRender, smartRender, plainRender}
                                                            : std::vector{plainRender};
}

std::vector<Bench> BenchesOf(Context& context, HostedScene& scene, RenderCommand command) {
    if (command != RenderCommand::plainRender && scene.path() != RenderPath::smart)
        context.NotApplicable("the effect has no smart render");
    std::vector<Bench> benches;
    for (const PF_PixelFormat format : scene.formats()) {
        Bench bench(scene, command, format);
        if (bench.code() != PF_Err_NONE && IsUnusual(context, command, format)) continue;
        context.Require(bench.code() == PF_Err_NONE,
                        bench.Name() + ": code " + std::to_string(bench.code()) + " although nothing fails");
        benches.push_back(std::move(bench));
    }
    return benches;
}

refhost::HostOptions InOrder(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    return options;
}

void TryEach(Trial& trial, RenderCommand command, const Fault& fault, Flaws flaws) {
    auto options = InOrder(trial.context());
    options.genericIteration = fault.generic;
    HostedScene scene(trial.context(), options);
    const std::string host = fault.generic ? "" : " in a host without iterate_generic";
    for (Bench& bench : BenchesOf(trial.context(), scene, command)) {
        for (const CallRecord& call : bench.calls()) {
            if (std::ranges::find(fault.calls, call.call) == fault.calls.end()) continue;
            bool came = false;
            Lines lines = flaws(bench.Render(OneFault{call, fault.code, &came}));
            const Lines next = bench.NextIsRight();
            if (!came) continue;
            Append(lines, next);
            trial.Add(lines, bench.Name() + host + ", " + What(call, fault.code));
        }
    }
}

}  // namespace validator::faults
