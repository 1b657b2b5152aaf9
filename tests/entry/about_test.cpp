// The text that About gives to the host.
#include "lifecycle_fixture.h"

namespace {

using namespace protocol;
using refhost::Personality;

using About = Lifecycle;

TEST_F(About, WritesNameAndVersionInTheCompositor) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    PF_OutData expected = PoisonedOutData();
    std::strcpy(expected.return_msg, "NUV Chromatic Aberration, v2.0");
    EXPECT_STREQ(outData.return_msg, expected.return_msg);
    EXPECT_EQ(BytesOf(outData), BytesOf(expected)) << "no flag is set";
}

TEST_F(About, FormatsTheTextWithTheHostsFunction) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(Calls(),
              (Lines{"AcquireSuite PF ANSI Suite 1", "sprintf %s, v%d.%d", "ReleaseSuite PF ANSI Suite 1"}));
    ExpectBalanced();
}

TEST_F(About, WritesNothingInTheEditor) {
    UsePersonality(Personality::editor);
    Prepare();
    inData.pica_basicP = nullptr;
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
    EXPECT_EQ(Calls(), Lines());
}

TEST_F(About, Yields516WithoutABasicSuite) {
    Prepare();
    inData.pica_basicP = nullptr;
    EXPECT_EQ(Send(PF_Cmd_ABOUT), 516);
    EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
}

TEST_F(About, Yields516WithoutTheAnsiSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {  // the host fails, or succeeds without a suite
        host.options().faults = Fail("AcquireSuite PF ANSI Suite 1", code);
        Prepare();
        EXPECT_EQ(Send(PF_Cmd_ABOUT), 516);
        EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
        EXPECT_EQ(Calls(), Lines{"AcquireSuite PF ANSI Suite 1"});
        ExpectBalanced();
    }
}

int ThrowingSprintf(char*, const char*, ...) {
    throw 99;
}

TEST(AboutInternals, ReleaseTheSuiteWhenAnExceptionPasses) {
    PF_ANSICallbacksSuite1 ansi{};
    ansi.sprintf = ThrowingSprintf;
    FakeBasic basic;
    basic.onAcquire = [&](const std::string&, std::int32_t) { return FakeBasic::Answer{0, &ansi}; };
    PF_InData inData{};
    inData.pica_basicP = &basic.suite;
    PF_OutData outData{};
    EXPECT_EQ(nuv::Dispatch(PF_Cmd_ABOUT, &inData, &outData, nullptr, nullptr, nullptr), 99);
    EXPECT_EQ(basic.released, Lines{"PF ANSI Suite 1"});
}

}  // namespace
