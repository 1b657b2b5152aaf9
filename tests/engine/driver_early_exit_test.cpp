// A host that lacks a suite that every render needs. The driver returns early and keeps what it has acquired.
#include "driver_fixture.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using refhost::Personality;

using EarlyExit = Driver;

TEST_F(EarlyExit, KeepsThePixelFormatSuiteWhenTheWorldSuiteIsMissing) {
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(DriversCalls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                     "host_unlock_handle", "host_unlock_handle"}));
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept});
    EXPECT_EQ(scene.Misuse(), kUnlockedNothing);
}

TEST_F(EarlyExit, ReturnsZeroWhenTheHostSucceedsWithoutAWorldSuite) {
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2", PF_Err_NONE);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept});
    EXPECT_EQ(scene.Misuse(), kUnlockedNothing);
}

TEST_F(EarlyExit, KeepsTheWorldSuiteInAnEditorWithoutThePixelFormatSuite) {
    scene.host.options().personality = Personality::editor;
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        scene.host.options().faults = Fail("AcquireSuite PF Pixel Format Suite 1", code);
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(DriversCalls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                         "host_unlock_handle", "host_unlock_handle"}));
        EXPECT_EQ(scene.Outstanding(), Lines{kWorldSuiteKept});
        EXPECT_EQ(scene.Misuse(), kUnlockedNothing);
        scene.host.account().Reclaim();
    }
}

TEST_F(EarlyExit, ReturnsTheWorldSuitesErrorInAnEditorWithoutEitherSuite) {
    scene.host.options().personality = Personality::editor;
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "AcquireSuite PF Pixel Format Suite 1") return 101;
        if (Line(call) == "AcquireSuite PF World Suite 2") return 102;
        return std::nullopt;
    };
    EXPECT_EQ(Render(), 102);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), kUnlockedNothing);
}

TEST_F(EarlyExit, ReturnsTheWorldSuitesErrorAlsoWhenOnlyTheEditorsSuiteIsMissing) {
    scene.host.options().personality = Personality::editor;
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        if (name == "PF Pixel Format Suite") return FakeBasic::Answer{101, nullptr};
        return FakeBasic::Answer{102, Acquire(name, version).suite};
    };
    EXPECT_EQ(Render(), 102);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(basic.released, Lines());
    EXPECT_EQ(scene.Outstanding(), Lines{kWorldSuiteKept});
    EXPECT_EQ(scene.Misuse(), kUnlockedNothing);
}

TEST_F(EarlyExit, UnlocksTheSequenceDataAndThenTheGlobalData) {
    const PF_Handle sequence = scene.host.NewHandle(5), global = scene.host.NewHandle(9);
    change = [&](PF_InData& inData) {
        inData.sequence_data = sequence;
        inData.global_data = global;
        inData.utils->host_lock_handle(sequence);
        inData.utils->host_lock_handle(global);
    };
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    EXPECT_EQ(CallsThatBegin("host_unlock_handle"), (Lines{"host_unlock_handle 5", "host_unlock_handle 9"}));
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept}) << "neither handle is locked any more";
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(EarlyExit, IsTheOnlyTimeThatTheseHandlesAreUnlocked) {
    const PF_Handle sequence = scene.host.NewHandle(5), global = scene.host.NewHandle(9);
    change = [&](PF_InData& inData) {
        inData.sequence_data = sequence;
        inData.global_data = global;
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(CallsThatBegin("host_unlock_handle"), (Lines{"host_unlock_handle 72", "host_unlock_handle 288"}));
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(EarlyExit, DoesNotKeepTheNextRenderFromSucceeding) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    scene.host.options().faults = nullptr;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.Outstanding(), Lines{"suite \"PF Pixel Format Suite\" 1: acquired 2, released 1"})
        << "that of the first render, and no more";
}

}  // namespace
