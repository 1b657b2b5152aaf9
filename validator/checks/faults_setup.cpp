// The host's callbacks fail while the host sets up the effect and its instances.
#include <algorithm>

#include "reference_host/calls.h"
#include "validator/kit/fault_session.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace faults;
using refhost::Call;

constexpr char kNoSuchCall[] = "the effect makes no such call in set-up";

using SessionFlaws = Lines (*)(const SessionOutcome& outcome, const SessionOutcome& clean);

Lines SurvivesFlaws(const SessionOutcome& outcome, const SessionOutcome&) {
    Lines lines = outcome.frames;
    for (const std::string& line : outcome.kept)
        lines.push_back("kept: " + line);
    for (const std::string& line : outcome.misuse)
        lines.push_back("misuse: " + line);
    return lines;
}

Lines FailsFlaws(const SessionOutcome& outcome, const SessionOutcome& clean) {
    Lines lines = SurvivesFlaws(outcome, clean);
    if (!outcome.Failed()) lines.push_back("every command succeeds");
    return lines;
}

Lines DataFlaws(const SessionOutcome& outcome, const SessionOutcome& clean) {
    Lines lines;
    for (std::size_t i = 0; i < std::min(outcome.sent.size(), clean.sent.size()); ++i) {
        const Sent& sent = outcome.sent[i];
        if (clean.sent[i].data && !sent.data && sent.code == PF_Err_NONE)
            lines.push_back(sent.command + " succeeds and leaves no data");
    }
    return lines;
}

template <typename Wanted>
void TryEachInSetUp(Context& context, PF_Err code, SessionFlaws flaws, Wanted wanted) {
    SessionBench bench(context);
    Trial trial(context);
    for (const refhost::CallRecord& call : bench.calls()) {
        if (!wanted(call.call)) continue;
        bool came = false;
        Lines lines = flaws(bench.Run(OneFault{call, code, &came}), bench.clean());
        const Lines next = bench.NextIsRight();
        if (!came) continue;
        lines.insert(lines.end(), next.begin(), next.end());
        trial.Add(lines, What(call, code));
    }
    trial.End(kNoSuchCall);
}

template <SessionFlaws flaws, PF_Err code, Call... calls>
void Each(Context& context) {
    TryEachInSetUp(context, code, flaws, [](Call call) { return (... || (call == calls)); });
}

template <Call... others>
void EachBut(Context& context) {
    TryEachInSetUp(context, kRefused, SurvivesFlaws, [](Call call) { return (... && (call != others)); });
}

constexpr Check kChecks[] = {
    {"faults.setup-suite-refused", "Each set-up command survives each suite that the host refuses.", Where::both,
     Each<SurvivesFlaws, kRefused, Call::acquireSuite>},
    {"faults.setup-suite-null",
     "Each set-up command survives each suite that the host answers with a null pointer.", Where::both,
     Each<SurvivesFlaws, PF_Err_NONE, Call::acquireSuite>},
    {"faults.setup-parameter", "Parameter set-up fails when the host refuses a parameter.", Where::both,
     Each<FailsFlaws, kRefused, Call::addParam>},
    {"faults.setup-handle", "Each set-up command survives each handle that the host refuses or cannot lock.",
     Where::both, Each<SurvivesFlaws, kRefused, Call::newHandle, Call::lockHandle>},
    {"faults.setup-handle-told", "A set-up command that gets no memory for its data fails.", Where::both,
     Each<DataFlaws, kRefused, Call::newHandle, Call::lockHandle>},
    {"faults.setup-formats", "Global set-up survives each pixel format that the host refuses.", Where::editor,
     Each<SurvivesFlaws, kRefused, Call::clearPixelFormats, Call::addPixelFormat>},
    {"faults.setup-other", "Each set-up command survives the failure of any other callback.", Where::both,
     EachBut<Call::acquireSuite, Call::addParam, Call::newHandle, Call::lockHandle, Call::clearPixelFormats,
             Call::addPixelFormat>},
};

}  // namespace

std::span<const Check> FaultsSetupChecks() {
    return kChecks;
}

}  // namespace validator
