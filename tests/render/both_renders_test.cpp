// What smart and plain render both promise.
#include "pf_smart_render.h"
#include "render_fixture.h"
#include "support/call_script.h"

namespace {

using namespace protocol;

INSTANTIATE_TEST_SUITE_P(Both, Render, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

Script SmartRenderCalls(const DriverCalls& driver) {
    return Join({
        PreRenderCalls(),
        {{"checkout_layer_pixels 0", kFault, kUntouched}, {"checkout_output", kFault, kUntouched}},
        ParameterCheckouts(),
        {
            {"AcquireSuite PF Handle Suite 2", 516, kUntouched},
            {"host_lock_handle 8", PF_Err_NONE, kWithoutOffset},
            {"host_unlock_handle 8", PF_Err_NONE, kAsClean},
        },
        driver.Steps(),
        ParameterCheckins(),
        {{"ReleaseSuite PF Handle Suite 2", PF_Err_NONE, kAsClean}},
    });
}

Script CallsOf(RenderPath path, const DriverCalls& driver = {}) {
    return path == RenderPath::smart ? SmartRenderCalls(driver) : PlainRenderCalls(driver);
}

TEST_P(Render, CallsTheHostInOrder) {
    HostedScene alone;
    ExpectOrder(alone, GetParam(), CallsOf(GetParam()));
}

TEST_P(Render, KeepsItsPromisesWhicheverCallFails) {
    HostedScene alone;
    ExpectEveryFailure(alone, GetParam(), CallsOf(GetParam()));
}

TEST_P(Render, KeepsItsPromisesWith16BitAndFloatPixels) {
    for (const PF_PixelFormat format : {kFormatArgb16, kFormatArgbFloat}) {
        HostedScene alone;
        alone.UseFormat(format);
        DriverCalls driver;
        driver.deep = true;
        ExpectOrder(alone, GetParam(), CallsOf(GetParam(), driver));
        ExpectEveryFailure(alone, GetParam(), CallsOf(GetParam(), driver));
    }
}

TEST_P(Render, PassesTheAbortCodeOnUnchanged) {
    for (const PF_Err code : {PF_Interrupt_CANCEL, -3, 1}) {
        scene.host.options().faults = Fail("abort", code);
        EXPECT_EQ(Go(), code);
        EXPECT_TRUE(scene.OutputUntouched());
        ExpectAllCheckedIn();
    }
}

TEST_P(Render, WritesNeitherToItsInputNorOutsideItsOutput) {
    const auto source = scene.input.Pixels();
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.input.Pixels(), source);
    EXPECT_EQ(scene.input.Surroundings(), "");
    EXPECT_EQ(scene.output.Surroundings(), "");
}

TEST_P(Render, DoesNotWriteOutData) {
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_FALSE(Between::wroteOutData);
}

TEST_P(Render, ReturnsAnErrorWithoutAnOutput) {
    scene.settings.output = nullptr;
    EXPECT_NE(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

}  // namespace
