// What the smart pre-render asks the host for, what it announces, and what it leaves for the render.
#include "pf_smart_render.h"
#include "support/call_script.h"
#include "support/protocol_support.h"

bool operator==(const PF_LRect& a, const PF_LRect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

void PrintTo(const PF_LRect& rect, std::ostream* out) {
    *out << "(" << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << ")";
}

namespace {

using namespace protocol;

class SmartPreRender : public testing::Test {
protected:
    PF_Err Send() {
        scene.host.account().Reset();
        result = scene.instance.SmartRender(scene.settings, false);
        return result.preRender;
    }

    const PF_PreRenderOutput& output() const { return result.preRenderOutput; }

    // Left and top, which the pre-render left for the render.
    std::pair<std::int32_t, std::int32_t> Offset() const {
        std::int32_t offset[2] = {-1, -1};
        EXPECT_EQ(result.preRenderData.size(), sizeof offset);
        if (result.preRenderData.size() == sizeof offset) {
            std::memcpy(offset, result.preRenderData.data(), sizeof offset);
        }
        return {offset[0], offset[1]};
    }

    void ExpectWholeLayer() const {
        constexpr PF_LRect layer{0, 0, HostedScene::kWidth, HostedScene::kHeight};
        EXPECT_EQ(output().result_rect, layer);
        EXPECT_EQ(output().max_result_rect, layer);
    }

    // Calls `alter` with the records of the command before the effect gets them. `alter` may change them.
    void BeforeTheEffect(std::function<void(PF_InData&, PF_PreRenderExtra&)> alter) {
        Between::change = [=](PF_Cmd cmd, PF_InData& inData, void* extra) {
            if (cmd == PF_Cmd_SMART_PRE_RENDER) alter(inData, *static_cast<PF_PreRenderExtra*>(extra));
        };
    }

    ~SmartPreRender() override { Between::change = nullptr; }

    HostedScene scene{InOrder(), Between::Put(Binary())};
    refhost::RenderResult result;
};

TEST_F(SmartPreRender, CallsTheHostInOrder) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(scene.Calls(), LinesOf(PreRenderCalls()));
    EXPECT_EQ(scene.Outstanding(), Lines()) << "the handle belongs to the host now";
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(SmartPreRender, RequestsAndAnnouncesTheWholeLayerWhateverIsAskedFor) {
    for (const PF_LRect& asked : {PF_LRect{2, 1, 3, 2}, PF_LRect{-50, -50, 50, 50}, PF_LRect{9, 9, 4, 4}}) {
        scene.settings.request = asked;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(result.inputRequest.rect, (PF_LRect{0, 0, HostedScene::kWidth, HostedScene::kHeight}));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, TakesTheLayersSizeFromItsRecord) {
    scene.settings.layerWidth = 1920;
    scene.settings.layerHeight = 1080;
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(result.inputRequest.rect, (PF_LRect{0, 0, 1920, 1080}));
    EXPECT_EQ(output().result_rect, (PF_LRect{0, 0, 1920, 1080}));
    EXPECT_EQ(output().max_result_rect, (PF_LRect{0, 0, 1920, 1080}));
}

TEST_F(SmartPreRender, KeepsTheRestOfTheHostsRequest) {
    scene.settings.field = 2;
    scene.settings.channelMask = 9;
    scene.settings.preserveRgbOfZeroAlpha = true;
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(result.inputRequest.field, 2);
    EXPECT_EQ(result.inputRequest.channel_mask, 9);
    EXPECT_EQ(result.inputRequest.preserve_rgb_of_zero_alpha, 1);
}

TEST_F(SmartPreRender, LeavesTheHostsOwnRequestAlone) {
    static PF_RenderRequest asked;
    static PF_PreRenderInput* input;
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) {
        asked = extra.input->output_request;
        input = extra.input;
        extra.cb->checkout_layer = [](PF_ProgPtr, std::int32_t, std::int32_t, const PF_RenderRequest* request,
                                      std::int32_t, std::int32_t, std::uint32_t, PF_CheckoutResult*) -> PF_Err {
            EXPECT_NE(request, &input->output_request);
            EXPECT_EQ(BytesOf(input->output_request), BytesOf(asked));
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
}

TEST_F(SmartPreRender, ChecksOutTheInputLayerAtTheFramesTime) {
    struct Checkout {
        PF_ProgPtr ref;
        std::int32_t index, checkoutId, whatTime, timeStep;
        std::uint32_t timeScale;
    };
    static Checkout got;
    static PF_ProgPtr ref;
    got = {};
    BeforeTheEffect([](PF_InData& inData, PF_PreRenderExtra& extra) {
        ref = inData.effect_ref;
        extra.cb->checkout_layer = [](PF_ProgPtr effect, std::int32_t index, std::int32_t checkoutId,
                                      const PF_RenderRequest*, std::int32_t whatTime, std::int32_t timeStep,
                                      std::uint32_t timeScale, PF_CheckoutResult*) -> PF_Err {
            got = {effect, index, checkoutId, whatTime, timeStep, timeScale};
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(got.ref, ref);
    EXPECT_EQ(got.index, 0);
    EXPECT_EQ(got.checkoutId, 0);
    EXPECT_EQ(got.whatTime, 7);
    EXPECT_EQ(got.timeStep, 2);
    EXPECT_EQ(got.timeScale, 30u);
}

TEST_F(SmartPreRender, StoresTheCheckoutsLeftAndTopIfThereIsNoRectangleYet) {
    scene.settings.checkoutResult = PF_LRect{-3, 4, 30, 40};
    for (const PF_LRect& empty :
         {PF_LRect{0, 0, 0, 0}, PF_LRect{-9, -9, -9, 5}, PF_LRect{-9, -9, 5, -9}, PF_LRect{8, -9, 2, 5}}) {
        scene.settings.initialResultRect = empty;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(-3, 4));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, StoresTheLesserLeftAndTheLesserTopOfTwoRectangles) {
    scene.settings.checkoutResult = PF_LRect{-3, 4, 30, 40};
    scene.settings.initialResultRect = {-2, -8, 10, 10};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-3, -8));

    scene.settings.initialResultRect = {-5, 6, 10, 10};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-5, 4));
    ExpectWholeLayer();
}

TEST_F(SmartPreRender, KeepsItsRectangleWhenTheCheckoutIsEmpty) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    for (const PF_LRect& empty : {PF_LRect{-9, -9, -9, 5}, PF_LRect{-9, -9, 5, -9}}) {
        scene.settings.checkoutResult = empty;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(5, 6));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, CopiesAnEmptyCheckoutIntoAnEmptyRectangle) {
    scene.settings.checkoutResult = PF_LRect{-9, -8, -9, 5};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-9, -8));
}

TEST_F(SmartPreRender, StoresTheOffsetOfTheResultRectangleNotOfTheMaximalOne) {
    scene.settings.initialResultRect = {};
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) {
        extra.cb->checkout_layer = [](PF_ProgPtr, std::int32_t, std::int32_t, const PF_RenderRequest*, std::int32_t,
                                      std::int32_t, std::uint32_t, PF_CheckoutResult* checkout) -> PF_Err {
            checkout->result_rect = {11, 12, 13, 14};
            checkout->max_result_rect = {1, 2, 30, 40};
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(11, 12));
}

TEST_F(SmartPreRender, SetsOnlyTheExtraPixelsFlag) {
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) { extra.output->flags = 0x7FFE; });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().flags, 1);
}

TEST_F(SmartPreRender, LeavesSolidAndTheDeleteFunctionAsTheyAre) {
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) { extra.output->solid = 1; });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().solid, 1);
    EXPECT_EQ(output().delete_pre_render_data_func, nullptr);
}

TEST_F(SmartPreRender, WritesItsWholeAnswerWhenTheLayersCheckoutFails) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    scene.host.options().faults = Fail(refhost::Call::checkoutLayer, 0);
    EXPECT_EQ(Send(), kFault);
    ExpectWholeLayer();
    EXPECT_EQ(output().flags, 1);
    EXPECT_EQ(result.preRenderData.size(), 8u);
    EXPECT_EQ(Offset(), std::pair(5, 6));
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(SmartPreRender, LeavesNoDataIfTheHostGivesNoHandle) {
    scene.host.options().faults = Fail(refhost::Call::newHandle, 0);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().pre_render_data, nullptr);
    ExpectWholeLayer();
    EXPECT_EQ(output().flags, 1);
    EXPECT_EQ(scene.Calls(), (Lines{"checkout_layer 0", "AcquireSuite PF Handle Suite 2", "host_new_handle 8",
                                    "ReleaseSuite PF Handle Suite 2"}));
}

TEST_F(SmartPreRender, LeavesAHandleThatCannotBeLockedUnwritten) {
    scene.host.options().faults = Fail(refhost::Call::lockHandle, 0);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::unlockHandle), 1)
        << "the handle is unlocked even though it could not be locked";
    EXPECT_EQ(result.preRenderData.size(), 8u);
    EXPECT_NE(Offset(), std::pair(1, 1));
    ExpectWholeLayer();
}

TEST_F(SmartPreRender, Yields516WithoutTheHandleSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        scene.host.options().faults = Fail("AcquireSuite PF Handle Suite 2", code);
        EXPECT_EQ(Send(), 516);
        EXPECT_EQ(output().pre_render_data, nullptr);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

TEST_F(SmartPreRender, Yields516WithoutABasicSuiteAndCallsNothing) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    BeforeTheEffect([](PF_InData& inData, PF_PreRenderExtra&) { inData.pica_basicP = nullptr; });
    EXPECT_EQ(Send(), 516);
    EXPECT_EQ(scene.Calls(), Lines());
    EXPECT_EQ(output().result_rect, (PF_LRect{5, 6, 10, 10}));
    EXPECT_EQ(output().flags, 0);
}

TEST_F(SmartPreRender, GivesTheSameAnswerEveryTime) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(1, 1));
    }
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(SmartPreRender, DoesNotWriteOutData) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_FALSE(Between::wroteOutData);
}

}  // namespace
