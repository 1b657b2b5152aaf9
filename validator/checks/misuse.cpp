// Hosts that do what hosts should not do. The effect may refuse, but must not crash. If a correct host can never do
// such a thing, the promise begins with "Beyond the protocol".
#include <array>
#include <limits>
#include <optional>

#include "pf_smart_render.h"
#include "validator/kit/interview.h"
#include "validator/kit/scene.h"
#include "validator/registry.h"

namespace validator {
namespace {

std::string Numbered(PF_Cmd cmd) {
    return "command " + std::to_string(cmd);
}

void ExpectSuccess(Context& context, PF_Err code, const std::string& what) {
    context.Expect(code == PF_Err_NONE, what + " gives code " + std::to_string(code));
}

void ExpectBalance(Context& context, Interview& interview) {
    context.ExpectNone(interview.host.account().Outstanding(), "kept");
    context.ExpectNone(interview.host.account().Misuse(), "misuse");
}

// ---- Commands that do not exist -------------------------------------------------------------------------------

std::vector<PF_Cmd> UnknownCommands(Context& context) {
    std::vector<PF_Cmd> commands{
        2, signs::kUnknownCommands, 100, 255, 256, 1000, 65536 + PF_Cmd_RENDER, std::numeric_limits<PF_Cmd>::max()};
    for (int i = 0; i < 20; ++i)
        commands.push_back(static_cast<PF_Cmd>(signs::kUnknownCommands + context.random()() % 0x7FFFFF00));
    return commands;
}

void AnswersUnknownCommands(Context& context) {
    Interview interview(context);
    interview.SetUp();
    for (const PF_Cmd cmd : UnknownCommands(context))
        ExpectSuccess(context, interview.Send(cmd), Numbered(cmd));
}

// Sends a command with every record that the effect could write to.
void ExpectUntouched(Context& context, Interview& interview, PF_Cmd cmd) {
    PF_ParamDef layer{};
    PF_ParamDef* params[] = {&layer};
    PF_LayerDef output{};
    std::array<char, 256> extra{};
    interview.Prepare();
    interview.host.account().Reset();
    const std::string before = BytesOf(interview.in);
    interview.host.Send(cmd, &interview.in, &interview.out, params, &output, extra.data());
    context.Expect(BytesOf(interview.in) == before, Numbered(cmd) + " changes the host's own record");
    context.Expect(BytesOf(interview.out) == BytesOf(PF_OutData{}), Numbered(cmd) + " writes its answer");
    context.Expect(BytesOf(layer) == BytesOf(PF_ParamDef{}), Numbered(cmd) + " writes into the parameters");
    context.Expect(BytesOf(output) == BytesOf(PF_LayerDef{}), Numbered(cmd) + " writes into the output's record");
    context.Expect(extra == std::array<char, 256>{}, Numbered(cmd) + " writes into its extra record");
    context.Expect(interview.host.account().Calls().empty(), Numbered(cmd) + " calls the host");
}

void LeavesUnknownCommandsAlone(Context& context) {
    Interview interview(context);
    interview.SetUp();
    for (const PF_Cmd cmd : UnknownCommands(context))
        ExpectUntouched(context, interview, cmd);
}

void AnswersNegativeCommands(Context& context) {
    Interview interview(context);
    interview.SetUp();
    for (const PF_Cmd cmd : {-1, -2, -PF_Cmd_RENDER, std::numeric_limits<PF_Cmd>::min()}) {
        ExpectSuccess(context, interview.Send(cmd), Numbered(cmd));
        ExpectUntouched(context, interview, cmd);
    }
}

// ---- A host that nobody knows ---------------------------------------------------------------------------------

constexpr std::int32_t kStrangeHosts[] = {0, signs::kStrangeHost, 0x41424344,
                                          0x43545846 /* the compositor's, other order */};

PF_Err SendAs(Interview& interview, std::int32_t host, PF_Cmd cmd) {
    interview.Prepare();
    interview.in.appl_id = host;
    interview.added.clear();
    return interview.host.Send(cmd, &interview.in, &interview.out);
}

void ServesStrangeHosts(Context& context) {
    for (const std::int32_t id : kStrangeHosts) {
        Interview interview(context);
        for (const PF_Cmd cmd : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP})
            ExpectSuccess(context, SendAs(interview, id, cmd), "host " + std::to_string(id) + ": " + Numbered(cmd));
    }
}

void OffersStrangeHostsTheSame(Context& context) {
    Interview known(context);
    known.SetUp();
    for (const std::int32_t id : kStrangeHosts) {
        Interview strange(context);
        SendAs(strange, id, PF_Cmd_GLOBAL_SETUP);
        SendAs(strange, id, PF_Cmd_PARAMS_SETUP);
        const std::string differing = WhatDiffers(known.added, strange.added);
        context.Expect(differing.empty(), "for host " + std::to_string(id) + " " + differing);
    }
}

// ---- Null pointers --------------------------------------------------------------------------------------------

// The effect may return any code. A crash is a failure.
void LivesWithoutOutData(Context& context) {
    Interview interview(context);
    interview.SetUp();
    interview.host.account().Reset();
    for (const PF_Cmd cmd : {PF_Cmd_ABOUT, PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP,
                             PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_GLOBAL_SETDOWN}) {
        interview.Prepare();
        interview.host.Send(cmd, &interview.in, nullptr);
        ExpectBalance(context, interview);
    }
}

void LivesWithoutSuites(Context& context) {
    Interview interview(context);
    PF_Handle block = nullptr;
    for (const PF_Cmd cmd : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_ABOUT}) {
        interview.Prepare();
        interview.in.pica_basicP = nullptr;
        const PF_Err code = interview.host.Send(cmd, &interview.in, &interview.out);
        if (cmd != PF_Cmd_ABOUT) ExpectSuccess(context, code, "without suites " + Numbered(cmd));
    }
    for (const PF_Cmd cmd : {PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_SETDOWN}) {
        interview.Prepare();
        interview.in.pica_basicP = nullptr;
        interview.in.sequence_data = block;
        const PF_Err code = interview.host.Send(cmd, &interview.in, &interview.out);
        ExpectSuccess(context, code, "without suites " + Numbered(cmd));
        if (interview.out.sequence_data != nullptr) block = interview.out.sequence_data;
    }
    ExpectBalance(context, interview);
}

void ExpectRefusal(Context& context, Interview& interview, PF_Cmd cmd, PF_ParamDef** params, void* extra) {
    interview.Prepare();
    const PF_Err code = interview.host.Send(cmd, &interview.in, &interview.out, params, nullptr, extra);
    context.Expect(code != PF_Err_NONE, Numbered(cmd) + " is answered with success");
    ExpectBalance(context, interview);
}

void RequireSmartRender(Context& context, Interview& interview) {
    interview.Send(PF_Cmd_GLOBAL_SETUP);
    if ((static_cast<std::uint32_t>(interview.out.out_flags2) & PF_OutFlag2_SUPPORTS_SMART_RENDER) == 0) {
        context.NotApplicable("the effect does not declare smart render");
    }
    interview.Send(PF_Cmd_PARAMS_SETUP);
    interview.host.account().Reset();
}

void RefusesSmartRenderWithoutRecord(Context& context) {
    Interview interview(context);
    RequireSmartRender(context, interview);
    for (const PF_Cmd cmd : {PF_Cmd_SMART_PRE_RENDER, PF_Cmd_SMART_RENDER})
        ExpectRefusal(context, interview, cmd, nullptr, nullptr);
}

void RefusesSmartRenderWithEmptyRecord(Context& context) {
    Interview interview(context);
    RequireSmartRender(context, interview);
    PF_PreRenderExtra preRender{};
    ExpectRefusal(context, interview, PF_Cmd_SMART_PRE_RENDER, nullptr, &preRender);
    PF_SmartRenderExtra render{};
    ExpectRefusal(context, interview, PF_Cmd_SMART_RENDER, nullptr, &render);
}

void RefusesRenderWithoutParams(Context& context) {
    Interview interview(context);
    interview.SetUp();
    interview.host.account().Reset();
    ExpectRefusal(context, interview, PF_Cmd_RENDER, nullptr, nullptr);
}

// The effect may return any code for a frame in which one world is missing. The next frame must be right.
template <bool Frame::*part>
void LivesWithout(Context& context) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    const auto expected = scene.Picture(frame);
    std::vector<RenderPath> paths{RenderPath::plain};
    if (scene.path() == RenderPath::smart) paths.push_back(RenderPath::smart);
    for (const RenderPath path : paths) {
        frame.*part = false;
        frame.Render(scene.host, scene.instance, path);
        frame.*part = true;
        context.ExpectNone(scene.host.account().Misuse(), "misuse");
        scene.host.account().Reclaim();
        context.Expect(scene.Picture(frame) == expected, "the next picture is different");
    }
}

// ---- Out of order ---------------------------------------------------------------------------------------------

// No command was sent in this process before these.
void LivesBeforeGlobalSetup(Context& context) {
    Interview interview(context);
    PF_Handle block = nullptr;
    for (const PF_Cmd cmd :
         {PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_SETDOWN})
        interview.Send(cmd, &block);
    for (const PF_Cmd cmd : {PF_Cmd_ABOUT, PF_Cmd_PARAMS_SETUP, PF_Cmd_GLOBAL_SETDOWN}) {
        interview.Send(cmd);
        ExpectBalance(context, interview);
    }
    interview.SetUp();
}

void SetsUpAgain(Context& context) {
    Interview interview(context);
    for (int i = 0; i < signs::kSessions; ++i) {
        interview.SetUp();
        PF_Handle block = nullptr;
        ExpectSuccess(context, interview.Send(PF_Cmd_SEQUENCE_SETUP, &block), "sequence set-up");
        ExpectSuccess(context, interview.Send(PF_Cmd_SEQUENCE_SETDOWN, &block), "sequence set-down");
        ExpectSuccess(context, interview.Send(PF_Cmd_GLOBAL_SETDOWN), "global set-down");
        ExpectBalance(context, interview);
    }
}

void SetsDownTwice(Context& context) {
    Interview interview(context);
    interview.SetUp();
    for (int i = 0; i < 2; ++i)
        ExpectSuccess(context, interview.Send(PF_Cmd_GLOBAL_SETDOWN), "global set-down");
    ExpectBalance(context, interview);
}

// The host shows the about box while the effect adds its first parameter.
void AnswersInsideACallback(Context& context) {
    Interview interview(context);
    interview.Send(PF_Cmd_GLOBAL_SETUP);
    PF_Err inner = -1;
    interview.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::addParam && call.index == 0) {
            PF_InData in = interview.host.InData();
            PF_OutData out{};
            inner = interview.host.Send(PF_Cmd_ABOUT, &in, &out);
        }
        return std::nullopt;
    };
    ExpectSuccess(context, interview.Send(PF_Cmd_PARAMS_SETUP), "parameter set-up");
    if (interview.added.empty()) context.NotApplicable("the effect has no parameters");
    ExpectSuccess(context, inner, "the about command in between");
    ExpectBalance(context, interview);
}

constexpr Check kChecks[] = {
    {"misuse.unknown-commands", "An unknown command is answered with success.", Where::compositor,
     AnswersUnknownCommands},
    {"misuse.unknown-untouched", "An unknown command changes nothing and calls nothing.", Where::compositor,
     LeavesUnknownCommandsAlone},
    {"misuse.negative-commands", "A negative command is answered with success, changes nothing and calls nothing.",
     Where::compositor, AnswersNegativeCommands},
    {"misuse.unknown-host", "A host with an unknown application id can set the effect up.", Where::compositor,
     ServesStrangeHosts},
    {"misuse.unknown-host-params", "A host with an unknown application id gets the same parameters as a known one.",
     Where::compositor, OffersStrangeHostsTheSame},
    {"misuse.no-out-data",
     "Beyond the protocol: a set-up or set-down command without a record for the answer does no harm.", Where::both,
     LivesWithoutOutData},
    {"misuse.no-suites", "A host without suites can set the effect and its instances up and down.", Where::both,
     LivesWithoutSuites},
    {"misuse.no-extra", "Beyond the protocol: a smart command without its record is refused.", Where::compositor,
     RefusesSmartRenderWithoutRecord},
    {"misuse.empty-extra", "Beyond the protocol: a smart command whose record holds null pointers is refused.",
     Where::compositor, RefusesSmartRenderWithEmptyRecord},
    {"misuse.no-params", "Beyond the protocol: a plain render without parameters and output is refused.",
     Where::both, RefusesRenderWithoutParams},
    {"misuse.no-input", "A frame without an input world does no harm.", Where::both,
     LivesWithout<&Frame::withInput>},
    {"misuse.no-output", "A frame without an output world does no harm.", Where::both,
     LivesWithout<&Frame::withOutput>},
    {"misuse.before-global-setup", "Commands before global set-up do no harm.", Where::both,
     LivesBeforeGlobalSetup},
    {"misuse.set-up-again", "The effect can be set up again after each global set-down.", Where::both, SetsUpAgain},
    {"misuse.set-down-twice", "A second global set-down succeeds.", Where::both, SetsDownTwice},
    {"misuse.nested-command", "The effect answers a command that arrives while it handles another one.",
     Where::both, AnswersInsideACallback},
};

}  // namespace

std::span<const Check> MisuseChecks() {
    return kChecks;
}

}  // namespace validator
