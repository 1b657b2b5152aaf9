// The host's callbacks fail while it sets the effect and its instances up.
#include <algorithm>
#include <iterator>
#include <utility>

#include "fault_points.h"
#include "registry.h"

namespace nuvhost::validate {
namespace {

using refhost::Call;

struct Sent {
    const char* command;
    PF_Err code;
};

// From the scan to global set-down, with an instance made and one taken from a project that has kept no data for
// it. A host goes no further with an effect whose set-up fails.
std::vector<Sent> Session(refhost::Host& host) {
    std::vector<Sent> sent;
    const auto send = [&](const char* command, PF_Err code) {
        sent.push_back({command, code});
        return code == PF_Err_NONE;
    };
    if (!send("the scan", host.Scan().result) || !send("global set-up", host.GlobalSetup())) return sent;
    if (send("parameter set-up", host.ParamsSetup())) {
        send("about", host.About());
        for (const bool made : {true, false}) {
            refhost::Instance instance(host);
            if (made) {
                send("sequence set-up", instance.SequenceSetup());
            } else {
                send("sequence re-set-up", instance.SequenceResetup());
            }
            send("sequence set-down", instance.SequenceSetdown());
        }
    }
    send("global set-down", host.GlobalSetdown());
    return sent;
}

Lines Failures(const std::vector<Sent>& session) {
    Lines lines;
    for (const auto& [command, code] : session) {
        if (code != PF_Err_NONE) lines.push_back(std::string(command) + " gives code " + std::to_string(code));
    }
    return lines;
}

Lines LeftBy(refhost::Host& host) {
    Lines lines;
    for (const std::string& line : host.account().Outstanding())
        lines.push_back("kept: " + line);
    for (const std::string& line : host.account().Misuse())
        lines.push_back("misuse: " + line);
    return lines;
}

template <Call... calls>
void TryEachInSetUp(Context& context, PF_Err code, bool mustFail) {
    constexpr Call kCalls[] = {calls...};
    refhost::Host host(context.Load(), context.HostOptions());
    const Lines failures = Failures(Session(host));
    context.ExpectNone(failures, "nothing fails in the host, but");
    if (!failures.empty()) return;
    const std::size_t parameters = host.parameters().size();
    const Lines always = LeftBy(host);

    int points = 0;
    for (const auto& call : host.account().Calls()) {
        if (std::ranges::find(kCalls, call.call) == std::end(kCalls)) continue;
        ++points;
        host.account().Reclaim();
        host.options().faults = [&](const refhost::CallRecord& record) {
            return record.call == call.call && record.index == call.index ? std::optional(code) : std::nullopt;
        };
        const bool failed = !Failures(Session(host)).empty();
        host.options().faults = nullptr;
        Lines lines;
        std::ranges::set_difference(LeftBy(host), always, std::back_inserter(lines));
        if (mustFail && !failed) lines.push_back("every command succeeds");

        host.account().Reclaim();
        for (const std::string& line : Failures(Session(host)))
            lines.push_back("when nothing fails any more, " + line);
        if (host.parameters().size() != parameters) lines.push_back("the parameters are others afterwards");
        context.ExpectNone(lines, std::string(Name(call.call)) + " " + call.detail + " fails (call " +
                                      std::to_string(call.index + 1) + " of its kind)");
    }
    if (points == 0) context.NotApplicable("the effect makes no such call in set-up");
    context.AddPoints(points);
}

template <PF_Err code>
void Suites(Context& context) {
    TryEachInSetUp<Call::acquireSuite>(context, code, false);
}

void Parameters(Context& context) {
    TryEachInSetUp<Call::addParam>(context, kRefused, true);
}

void Handles(Context& context) {
    TryEachInSetUp<Call::newHandle>(context, kRefused, false);
}

void Formats(Context& context) {
    TryEachInSetUp<Call::clearPixelFormats, Call::addPixelFormat>(context, kRefused, false);
}

constexpr Check kChecks[] = {
    {"faults.setup-suite-refused", "Each set-up command survives each suite that the host refuses.", Where::both,
     Suites<kRefused>},
    {"faults.setup-suite-null",
     "Each set-up command survives each suite that the host answers with a null pointer.", Where::both,
     Suites<PF_Err_NONE>},
    {"faults.setup-parameter", "Parameter set-up fails when the host refuses a parameter.", Where::both,
     Parameters},
    {"faults.setup-handle", "Each set-up command survives each handle that the host refuses.", Where::both,
     Handles},
    {"faults.setup-formats", "Global set-up survives each pixel format that the host refuses.", Where::editing,
     Formats},
};

}  // namespace

std::span<const Check> SetUpFaultsChecks() {
    return kChecks;
}

}  // namespace nuvhost::validate
