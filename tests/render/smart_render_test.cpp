// What only the smart render promises.
#include "pf_smart_render.h"
#include "render_fixture.h"
#include "support/call_script.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

class SmartRenderAlone : public Render {};
INSTANTIATE_TEST_SUITE_P(Only, SmartRenderAlone, testing::Values(RenderPath::smart),
                         [](const auto&) { return "Smart"; });

TEST_P(SmartRenderAlone, ShiftsTheSourceByThePreRendersOffset) {
    std::vector<std::vector<std::byte>> pictures;
    for (const auto& [left, top] : {std::pair(0, 0), std::pair(1, 1), std::pair(2, 0), std::pair(-1, 1)}) {
        scene.settings.checkoutResult = PF_LRect{left, top, left + 6, top + 3};
        pictures.push_back(Clean());
    }
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(pictures[i], pictures[j]);
    }
    EXPECT_EQ(pictures[0], scene.CleanPicture(RenderPath::plain));
}

TEST_P(SmartRenderAlone, HasNoOffsetWithoutPreRenderData) {
    scene.host.options().faults = Fail("host_new_handle 8");
    EXPECT_EQ(Go(), PF_Err_NONE);
    const Lines calls = scene.Calls();
    EXPECT_EQ(std::ranges::count(calls, "host_lock_handle"), 1) << "it locks the null handle";
    EXPECT_EQ(std::ranges::count(calls, "host_unlock_handle"), 0);
    EXPECT_EQ(scene.output.Pixels(), scene.CleanPicture(RenderPath::plain));
}

TEST_P(SmartRenderAlone, ChecksOutNoParametersWhenTheHostRefusesThePixels) {
    for (const char* line : {"checkout_layer_pixels 0", "checkout_output"}) {
        scene.host.options().faults = Fail(line);
        EXPECT_EQ(Go(), kFault);
        EXPECT_EQ(scene.host.account().Count(refhost::Call::checkoutParam), 0);
        EXPECT_EQ(scene.Calls().back(), line) << "nothing is acquired yet, so nothing is released";
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

TEST_P(SmartRenderAlone, ChecksTheParametersInWhenTheHandleSuiteIsMissing) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        int asked = 0;
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            const bool second = Line(call) == "AcquireSuite PF Handle Suite 2" && ++asked == 2;
            return second ? std::optional(code) : std::nullopt;
        };
        EXPECT_EQ(Go(), 516);
        EXPECT_EQ(scene.result.preRender, PF_Err_NONE);
        ExpectAllCheckedIn();
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

TEST_P(SmartRenderAlone, Yields516WithoutABasicSuiteAndCallsNothing) {
    BeforeTheEffect([](PF_InData& inData) { inData.pica_basicP = nullptr; });
    EXPECT_EQ(Go(), 516);
    EXPECT_EQ(scene.result.preRender, PF_Err_NONE);
    EXPECT_EQ(scene.Calls().size(), PreRenderCalls().size());
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST_P(SmartRenderAlone, NeverChecksTheInputIn) {
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::checkinLayerPixels), 0);
}

TEST_P(SmartRenderAlone, LeavesThePreRenderDataToTheHost) {
    static PF_Handle handle;
    handle = nullptr;
    Between::change = [](PF_Cmd cmd, PF_InData&, void* extra) {
        if (cmd != PF_Cmd_SMART_RENDER) return;
        handle = static_cast<PF_Handle>(static_cast<PF_SmartRenderExtra*>(extra)->input->pre_render_data);
    };
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_NE(handle, nullptr);
    const auto calls = scene.Calls();
    EXPECT_EQ(std::ranges::count(calls, "host_dispose_handle 8"), 0);
    EXPECT_EQ(scene.Misuse(), Lines()) << "the host would complain of a handle that is locked or freed";
}

}  // namespace
