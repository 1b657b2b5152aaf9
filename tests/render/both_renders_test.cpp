// What smart and plain render both promise.
#include "render_fixture.h"

namespace {

using namespace protocol;

INSTANTIATE_TEST_SUITE_P(Both, Render, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

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
