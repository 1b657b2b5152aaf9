// The suites that the effect's commands acquire, and release before they return.
#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

TEST(CommandSuites, AreNotAcquiredWhenTheLibraryIsLoadedOrScanned) {
    refhost::Host host(refhost::PluginLibrary(support::PluginPath()), InOrder());
    host.Scan();
    EXPECT_EQ(CallsOf(host.account()), Lines());
}

TEST(CommandSuites, AreReleasedBeforeTheCommandReturns) {
    HostedScene scene;
    EXPECT_EQ(scene.host.About(), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST(CommandSuites, Yield516WhenTheHostSucceedsButGivesNone) {
    HostedScene scene;
    scene.host.options().faults = Fail("AcquireSuite PF Handle Suite 2", PF_Err_NONE);
    EXPECT_EQ(scene.Render(RenderPath::smart), 516);
    EXPECT_EQ(scene.result.preRender, 516);
    scene.host.options().faults = Fail("AcquireSuite PF ANSI Suite 1", PF_Err_NONE);
    EXPECT_EQ(scene.host.About(), 516);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST(CommandSuites, AreAcquiredAndReleasedOnTheCommandsThread) {
    HostedScene scene;
    scene.host.options().iterationThreads = 4;
    EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
    std::uint64_t thread = 0;
    for (const auto& call : scene.host.account().Calls()) {
        if (call.call != refhost::Call::acquireSuite && call.call != refhost::Call::releaseSuite) continue;
        if (thread == 0) thread = call.thread;
        EXPECT_EQ(call.thread, thread) << Line(call);
    }
    EXPECT_NE(thread, 0u);
}

}  // namespace
