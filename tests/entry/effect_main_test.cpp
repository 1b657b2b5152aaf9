// How a command reaches its handler, and how the handler's answer or exception becomes the code for the host.
#include <array>
#include <limits>
#include <new>
#include <stdexcept>

#include "pf_smart_render.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// ---- Commands without a handler ---------------------------------------------------------------------------------

struct NamedCommand {
    PF_Cmd cmd;
    const char* name;
};

class UnhandledCommand : public testing::TestWithParam<NamedCommand> {};

TEST_P(UnhandledCommand, YieldsZeroAndLeavesOutDataUnchanged) {
    PF_OutData outData = PoisonedOutData();
    const auto before = BytesOf(outData);
    EXPECT_EQ(Binary().effectMain(GetParam().cmd, nullptr, &outData, nullptr, nullptr, nullptr), PF_Err_NONE);
    EXPECT_EQ(BytesOf(outData), before);
}

TEST_P(UnhandledCommand, YieldsZeroWithoutAnyArgument) {
    EXPECT_EQ(Binary().effectMain(GetParam().cmd, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_NONE);
}

TEST_P(UnhandledCommand, HasNoEffect) {
    refhost::Host host(Binary(), InOrder());
    host.SetUp();
    host.account().Reset();

    PF_InData inData = host.InData();
    inData.sequence_data = host.NewHandle(8);
    PF_OutData outData = PoisonedOutData();
    PF_ParamDef param{};
    PF_ParamDef* params[nuv::PARAM_COUNT] = {&param, &param, &param, &param, &param, &param};
    refhost::World output({.width = 3, .height = 2});
    std::array<std::byte, 64> extra{};
    const auto inBefore = BytesOf(inData);
    const auto outBefore = BytesOf(outData);
    const auto pixelsBefore = output.Pixels();

    EXPECT_EQ(host.Send(GetParam().cmd, &inData, &outData, params, output.effectWorld(), extra.data()),
              PF_Err_NONE);
    EXPECT_EQ(CallsOf(host.account()), Lines());
    EXPECT_EQ(BytesOf(inData), inBefore);
    EXPECT_EQ(BytesOf(outData), outBefore);
    EXPECT_EQ(output.Pixels(), pixelsBefore);
    EXPECT_EQ(BytesOf(extra), std::vector<std::byte>(extra.size()));
    EXPECT_EQ(BytesOf(param), std::vector<std::byte>(sizeof param));
    EXPECT_EQ(host.HandleSize(inData.sequence_data), 8u);
    EXPECT_EQ(host.account().Misuse(), Lines());
    host.DisposeHandle(inData.sequence_data);
}

INSTANTIATE_TEST_SUITE_P(Commands, UnhandledCommand,
                         testing::Values(NamedCommand{2, "Number2"}, NamedCommand{3, "GlobalSetdown"},
                                         NamedCommand{7, "SequenceFlatten"}, NamedCommand{9, "DoDialog"},
                                         NamedCommand{10, "FrameSetup"}, NamedCommand{12, "FrameSetdown"},
                                         NamedCommand{13, "UserChangedParam"}, NamedCommand{14, "UpdateParamsUi"},
                                         NamedCommand{15, "Event"}, NamedCommand{16, "GetExternalDependencies"},
                                         NamedCommand{17, "CompletelyGeneral"},
                                         NamedCommand{18, "QueryDynamicFlags"}, NamedCommand{19, "AudioRender"},
                                         NamedCommand{20, "AudioSetup"}, NamedCommand{21, "AudioSetdown"},
                                         NamedCommand{22, "ArbitraryCallback"}, NamedCommand{25, "Number25"},
                                         NamedCommand{28, "GetFlattenedSequenceData"}, NamedCommand{29, "Number29"},
                                         NamedCommand{31, "Number31"}, NamedCommand{32, "Number32"},
                                         NamedCommand{33, "Number33"}, NamedCommand{100, "Number100"},
                                         NamedCommand{-1, "MinusOne"},
                                         NamedCommand{std::numeric_limits<PF_Cmd>::max(), "Greatest"},
                                         NamedCommand{std::numeric_limits<PF_Cmd>::min(), "MostNegative"}),
                         [](const auto& instance) { return instance.param.name; });

// ---- Commands with a handler ------------------------------------------------------------------------------------

class HandledCommand : public testing::TestWithParam<NamedCommand> {};

TEST_P(HandledCommand, ReturnsACodeWhenTheHostLeavesOutItsArguments) {
    EXPECT_EQ(Binary().effectMain(GetParam().cmd, nullptr, nullptr, nullptr, nullptr, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
}

INSTANTIATE_TEST_SUITE_P(Commands, HandledCommand,
                         testing::Values(NamedCommand{0, "About"}, NamedCommand{1, "GlobalSetup"},
                                         NamedCommand{4, "ParamsSetup"}, NamedCommand{5, "SequenceSetup"},
                                         NamedCommand{6, "SequenceResetup"}, NamedCommand{8, "SequenceSetdown"},
                                         NamedCommand{11, "Render"}, NamedCommand{23, "SmartPreRender"},
                                         NamedCommand{24, "SmartRender"}),
                         [](const auto& instance) { return instance.param.name; });

// ---- Commands without a record for their answer
// ------------------------------------------------------------------

struct WithoutAnswer {
    const char* name;
    PF_Cmd cmd;
    std::uint64_t block;  // bytes of sequence data; 0: none
    PF_Err code;
    Lines calls = {};
    refhost::Personality personality = refhost::Personality::compositor;
};

class CommandWithoutOutData : public testing::TestWithParam<WithoutAnswer> {};

INSTANTIATE_TEST_SUITE_P(
    Commands, CommandWithoutOutData,
    testing::Values(WithoutAnswer{"AboutInTheEditor", PF_Cmd_ABOUT, 0, 0, {}, refhost::Personality::editor},
                    WithoutAnswer{"About", PF_Cmd_ABOUT, 0, 516},
                    WithoutAnswer{"GlobalSetup", PF_Cmd_GLOBAL_SETUP, 0, 516},
                    WithoutAnswer{"ParamsSetup", PF_Cmd_PARAMS_SETUP, 0, 516},
                    WithoutAnswer{"SequenceSetup", PF_Cmd_SEQUENCE_SETUP, 0, 516},
                    WithoutAnswer{
                        "SequenceSetupWithABlock", PF_Cmd_SEQUENCE_SETUP, 4, 0, {"host_get_handle_size 4"}},
                    WithoutAnswer{"SequenceSetupWithALargerBlock",
                                  PF_Cmd_SEQUENCE_SETUP,
                                  8,
                                  0,
                                  {"host_get_handle_size 8", "host_resize_handle 4"}},
                    WithoutAnswer{"SequenceResetup", PF_Cmd_SEQUENCE_RESETUP, 0, 516},
                    WithoutAnswer{"SequenceResetupWithABlock", PF_Cmd_SEQUENCE_RESETUP, 8, 0},
                    WithoutAnswer{"SequenceSetdown", PF_Cmd_SEQUENCE_SETDOWN, 0, 0},
                    WithoutAnswer{"SequenceSetdownWithABlock", PF_Cmd_SEQUENCE_SETDOWN, 4, 516}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(CommandWithoutOutData, FailsOnlyIfItWouldWriteThere) {
    refhost::Host host(Binary(), InOrder(GetParam().personality));
    PF_InData inData = host.InData();
    if (GetParam().block > 0) inData.sequence_data = host.NewHandle(GetParam().block);
    EXPECT_EQ(host.Send(GetParam().cmd, &inData, nullptr), GetParam().code);
    EXPECT_EQ(CallsOf(host.account()), GetParam().calls) << "a command that fails calls nothing";
    EXPECT_EQ(inData.sequence_data != nullptr, GetParam().block > 0);
    if (inData.sequence_data != nullptr) host.DisposeHandle(inData.sequence_data);
}

// A render without utilities behaves as if the driver had thrown: it succeeds without a picture.
TEST(Dispatch, ReturnsACodeWhenTheHostLeavesOutItsUtilities) {
    PF_Handle data = nullptr;
    for (const auto& [cmd, code] :
         {std::pair{PF_Cmd_PARAMS_SETUP, PF_Err_BAD_CALLBACK_PARAM},
          std::pair{PF_Cmd_SEQUENCE_SETUP, PF_Err_BAD_CALLBACK_PARAM},
          std::pair{PF_Cmd_SEQUENCE_RESETUP, PF_Err_BAD_CALLBACK_PARAM},
          std::pair{PF_Cmd_SEQUENCE_SETDOWN, PF_Err_BAD_CALLBACK_PARAM}, std::pair{PF_Cmd_RENDER, PF_Err_NONE}}) {
        SCOPED_TRACE(cmd);
        HostedScene scene(InOrder(), Between::Put(Binary()));
        Between::change = [&](PF_Cmd, PF_InData& inData, void*) { inData.utils = nullptr; };
        PF_InData inData = scene.host.InData();
        if (cmd == PF_Cmd_SEQUENCE_SETDOWN) inData.sequence_data = reinterpret_cast<PF_Handle>(&data);
        PF_OutData outData{};
        if (cmd == PF_Cmd_RENDER) {
            EXPECT_EQ(scene.Render(RenderPath::plain), code);
            EXPECT_TRUE(scene.OutputUntouched());
        } else {
            EXPECT_EQ(scene.host.Send(cmd, &inData, &outData), code);
        }
        EXPECT_EQ(scene.Outstanding(), Lines());
        Between::change = nullptr;
    }
}

TEST(Dispatch, ReturnsAHandlersCodeUnchanged) {
    for (const PF_Err code : {1, 4, 516, -12345, std::numeric_limits<PF_Err>::min()}) {
        refhost::Host host(Binary(), InOrder());
        host.options().faults = Fail("add_param 1", code);
        EXPECT_EQ(host.ParamsSetup(), code);
    }
}

// Sends a parameter set-up in which the first add_param throws.
template <auto thrower>
PF_Err SendThrowing(PF_OutData& outData) {
    static PF_UtilCallbacks utils{};
    utils.ansi.strcpy = std::strcpy;
    PF_InData inData{};
    inData.utils = &utils;
    inData.inter.add_param = [](PF_ProgPtr, std::int32_t, PF_ParamDef*) -> PF_Err { return thrower(); };
    return nuv::Dispatch(PF_Cmd_PARAMS_SETUP, &inData, &outData, nullptr, nullptr, nullptr);
}

template <auto thrower>
void ExpectCode(PF_Err code) {
    PF_OutData outData = PoisonedOutData();
    const auto before = BytesOf(outData);
    EXPECT_EQ(SendThrowing<thrower>(outData), code);
    EXPECT_EQ(BytesOf(outData), before) << "nothing is written, not even a message";
}

TEST(Dispatch, ReturnsAThrownIntAsTheCode) {
    ExpectCode<[]() -> PF_Err { throw 516; }>(516);
    ExpectCode<[]() -> PF_Err { throw -1; }>(-1);
    ExpectCode<[]() -> PF_Err { throw std::numeric_limits<int>::min(); }>(std::numeric_limits<int>::min());
    ExpectCode<[]() -> PF_Err { throw 0; }>(0);
}

TEST(Dispatch, TurnsAFailedAllocationInto512) {
    ExpectCode<[]() -> PF_Err { throw std::bad_alloc(); }>(512);
}

TEST(Dispatch, TurnsEveryOtherExceptionInto512) {
    ExpectCode<[]() -> PF_Err { throw std::runtime_error("host"); }>(512);
    ExpectCode<[]() -> PF_Err { throw "host"; }>(512);
    ExpectCode<[]() -> PF_Err { throw 516u; }>(512);
    ExpectCode<[]() -> PF_Err { throw 516L; }>(512);
    ExpectCode<[]() -> PF_Err { throw '!'; }>(512);
}

TEST(Dispatch, Returns516WhenTheHostDoesNotHaveASuite) {
    refhost::Host host(Binary(), InOrder());
    host.options().faults = Fail("AcquireSuite PF ANSI Suite 1");
    EXPECT_EQ(host.About(), 516);
}

// The host sends a second command from a callback of the first.
TEST(Dispatch, IsReentrant) {
    refhost::Host host(Binary(), InOrder());
    PF_OutData inner{};
    PF_Err innerCode = -1;
    host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "add_param 2") {
            PF_InData inData = host.InData();
            innerCode = host.Send(PF_Cmd_ABOUT, &inData, &inner);
        }
        return std::nullopt;
    };
    EXPECT_EQ(host.ParamsSetup(), PF_Err_NONE);
    EXPECT_EQ(host.parameters().size(), 5u);
    EXPECT_EQ(innerCode, PF_Err_NONE);
    EXPECT_STREQ(inner.return_msg, "NUV Chromatic Aberration, v2.0");
}

}  // namespace
