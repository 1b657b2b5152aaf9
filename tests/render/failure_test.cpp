// A render that fails, or through which an exception passes, gives everything back.
#include <stdexcept>

#include "render/render_mutex.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// The host's callbacks throw here. They stand for everything that may throw in the driver.
TEST(FailedRender, DropsAnExceptionOfTheDriverAndRendersTheNextFrame) {
    HostedScene scene(InOrder(), Linked());
    const auto clean = scene.CleanPicture(RenderPath::smart);
    for (const char* line :
         {"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
          "AcquireSuite PF Iterate8 Suite 1", "GetPixelFormat PF World Suite", "host_new_handle 72",
          "host_lock_handle 72", "iterate_generic 3", "host_new_handle 288", "host_lock_handle 288"}) {
        SCOPED_TRACE(line);
        scene.host.options().faults = [line](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (Line(call) == line) throw std::runtime_error(line);
            return std::nullopt;
        };
        EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
        ASSERT_TRUE(nuv::g_renderMutex.try_lock());
        nuv::g_renderMutex.unlock();
        EXPECT_EQ(scene.CleanPicture(RenderPath::smart), clean);
    }
}

TEST(FailedRender, GivesEverythingBackWhenAllCallsOfOneKindThrow) {
    for (int kind = 0; kind <= static_cast<int>(refhost::Call::formatString); ++kind) {
        for (const bool generic : {true, false}) {
            for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
                const auto call = static_cast<refhost::Call>(kind);
                SCOPED_TRACE(refhost::Name(call));
                HostedScene scene(InOrder(), Linked());
                scene.host.options().genericIteration = generic;
                scene.host.options().faults = [call](const refhost::CallRecord& made) -> std::optional<PF_Err> {
                    if (made.call == call) throw std::runtime_error("thrown on purpose");
                    return std::nullopt;
                };
                scene.Render(path);
                EXPECT_EQ(scene.Outstanding(), Lines());
                for (const std::string& line : scene.Misuse())
                    EXPECT_FALSE(line.starts_with("an exception left the effect in")) << line;
            }
        }
    }
}

TEST(FailedRender, UnlocksTheMutexAfterAnError) {
    HostedScene scene(InOrder(), Linked());
    scene.host.options().faults = Fail("iterate_generic 3");
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        EXPECT_EQ(scene.Render(path), kFault);
        ASSERT_TRUE(nuv::g_renderMutex.try_lock());
        nuv::g_renderMutex.unlock();
    }
}

TEST(FailedRender, ReturnsAnIntThatACheckoutThrowsAndKeepsNothing) {
    HostedScene scene(InOrder(), Linked());
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkout_param 4") throw 99;
        return std::nullopt;
    };
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        EXPECT_EQ(scene.Render(path), 99);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

}  // namespace
