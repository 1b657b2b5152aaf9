#include "validator/kit/fault_session.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace validator::faults {
namespace {

Lines Without(const Lines& lines, const Lines& known) {
    Lines rest;
    std::ranges::set_difference(lines, known, std::back_inserter(rest));
    return rest;
}

}  // namespace

bool SessionOutcome::Failed() const {
    return std::ranges::any_of(sent, [](const Sent& command) { return command.code != PF_Err_NONE; });
}

SessionBench::SessionBench(Context& context) : host_(context.Load(), InOrder(context)) {
    {
        const HostedScene scene(context);
        path_ = scene.path();
        format_ = scene.formats().front();
    }
    const SessionOutcome clean = Run([&](const refhost::CallRecord& call) {
        calls_.push_back(call);
        return std::nullopt;
    });
    for (const Sent& command : clean.sent)
        context.Require(command.code == PF_Err_NONE, "nothing fails in the host, but " + command.command +
                                                         " gives code " + std::to_string(command.code));
    context.Require(clean.frames.empty(),
                    "nothing fails in the host, but " + (clean.frames.empty() ? "" : clean.frames[0]));
    clean_ = clean;
    parameters_ = host_.parameters().size();
}

Lines SessionBench::NextIsRight() {
    const SessionOutcome outcome = Run();
    Lines lines;
    for (const Sent& command : outcome.sent) {
        if (command.code != PF_Err_NONE)
            lines.push_back(command.command + " gives code " + std::to_string(command.code));
    }
    lines.insert(lines.end(), outcome.frames.begin(), outcome.frames.end());
    if (host_.parameters().size() != parameters_) lines.push_back("the number of parameters differs");
    for (std::string& line : lines)
        line.insert(0, "when nothing fails any more, ");
    return lines;
}

bool SessionBench::Send(SessionOutcome& outcome, const char* command, PF_Err code,
                        const refhost::Instance* instance) {
    const bool data =
        instance != nullptr ? instance->sequenceData() != nullptr : host_.InData().global_data != nullptr;
    outcome.sent.push_back({command, code, data});
    return code == PF_Err_NONE;
}

SessionOutcome SessionBench::Run(const refhost::FaultPlan& faults) {
    SessionOutcome outcome;
    host_.account().Reclaim();
    host_.options().faults = faults;
    if (Send(outcome, "the scan", host_.Scan().result) && Send(outcome, "global set-up", host_.GlobalSetup())) {
        if (Send(outcome, "parameter set-up", host_.ParamsSetup())) {
            Send(outcome, "about", host_.About());
            RunInstance(outcome, true);
            RunInstance(outcome, false);
        }
        Send(outcome, "global set-down", host_.GlobalSetdown());
    }
    host_.options().faults = nullptr;
    outcome.kept = Without(host_.account().Outstanding(), clean_.kept);
    Lines misuse = host_.account().Misuse();
    std::ranges::sort(misuse);
    outcome.misuse = Without(misuse, clean_.misuse);
    return outcome;
}

void SessionBench::RunInstance(SessionOutcome& outcome, bool made) {
    refhost::Instance instance(host_);
    const char* const command = made ? "sequence set-up" : "sequence re-set-up";
    const auto setUp = [&] { return made ? instance.SequenceSetup() : instance.SequenceResetup(); };
    std::string whose = std::string("after ") + command;
    bool ready = Send(outcome, command, setUp(), &instance);

    const auto faults = std::exchange(host_.options().faults, nullptr);
    if (!ready) {
        const PF_Err code = setUp();
        ready = code == PF_Err_NONE;
        whose += " and its retry";
        if (!ready) outcome.frames.push_back(whose + ": code " + std::to_string(code));
    }
    if (ready) RunFrame(outcome, instance, whose);
    host_.options().faults = faults;
    Send(outcome, "sequence set-down", instance.SequenceSetdown(), &instance);
}

void SessionBench::RunFrame(SessionOutcome& outcome, refhost::Instance& instance, const std::string& whose) {
    Frame frame(HostedScene::Layout(format_, kSize));
    SetDefaults(host_, instance, kSize);
    const PF_Err code = CodeOf(frame.Render(host_, instance, path_));
    if (code != PF_Err_NONE) {
        outcome.frames.push_back(whose + ": the frame gives code " + std::to_string(code));
        return;
    }
    if (picture_.empty()) picture_ = frame.output.Pixels();
    const std::string difference = Difference(frame.output.Pixels(), picture_, format_, kSize.width);
    if (!difference.empty()) outcome.frames.push_back(whose + ": the frame is not right: " + difference);
}

}  // namespace validator::faults
