// What the driver adds to the job that it is given.
#include "engine/render_aberration.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// Plain renders go directly to the driver, so that a test sees the job and what the driver throws.
class DriverJob : public testing::Test {
protected:
    DriverJob() : scene(InOrder(), {Main, Linked().pluginDataEntryFunction}) {
        job_ = {};
        thrown_ = 0;
    }

    PF_Err Render() { return scene.Render(RenderPath::plain); }

    HostedScene scene;
    static inline nuv::RenderData job_;
    static inline int thrown_ = 0;
    static inline bool withoutBasicSuite_ = false;

private:
    static PF_Err Main(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                       PF_LayerDef* output, void* extra) {
        if (cmd != PF_Cmd_RENDER) return nuv::Dispatch(cmd, inData, outData, params, output, extra);
        job_ = {};
        job_.amount = 12.5f;
        job_.show = 3;
        if (withoutBasicSuite_) inData->pica_basicP = nullptr;
        try {
            return nuv::RenderAberration(inData, job_, &params[0]->u.ld, output);
        } catch (int code) {
            thrown_ = code;
            return -1;
        }
    }
};

TEST_F(DriverJob, IsCompletedFromTheCommandsRecord) {
    scene.settings.pixelAspect = {10, 11};
    scene.settings.downsampleX = {1, 2};
    scene.settings.downsampleY = {2, 3};
    scene.settings.currentTime = -45;
    scene.settings.timeScale = 30;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.pixelAspectNum, 10.0f);
    EXPECT_EQ(job_.pixelAspectDen, 11.0f);
    EXPECT_EQ(job_.downsampleX, 0.5f);
    EXPECT_EQ(job_.downsampleY, 2.0f / 3.0f);
    EXPECT_EQ(job_.timeSeconds, -1.5);
}

TEST_F(DriverJob, DescribesBothBuffers) {
    scene.output = refhost::World({.format = kFormatArgb8, .width = 4, .height = 5, .originX = 9, .originY = 9});
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.input.width, 6);
    EXPECT_EQ(job_.input.height, 3);
    EXPECT_EQ(job_.input.bitsPerChannel, 8);
    EXPECT_EQ(job_.input.rowBytes, 24);
    EXPECT_EQ(job_.input.originX, 1.0);
    EXPECT_EQ(job_.input.originY, 1.0);
    EXPECT_EQ(job_.output.width, 4);
    EXPECT_EQ(job_.output.height, 5);
    EXPECT_EQ(job_.output.bitsPerChannel, 32);
    EXPECT_EQ(job_.output.rowBytes, 64);
    EXPECT_EQ(job_.output.originX, 0.0);
    EXPECT_EQ(job_.output.originY, 0.0);
}

TEST_F(DriverJob, KeepsWhatTheCallerHasSet) {
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.amount, 12.5f);
    EXPECT_EQ(job_.show, 3);
    EXPECT_EQ(job_.sourceOffsetX, 0.0f);
}

TEST_F(DriverJob, IsNotBegunWithoutABasicSuite) {
    withoutBasicSuite_ = true;
    EXPECT_EQ(Render(), -1);
    withoutBasicSuite_ = false;
    EXPECT_EQ(thrown_, 516);
    EXPECT_EQ(scene.Calls(), Lines());
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST_F(DriverJob, IsNotBegunWithoutTheIterationSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        thrown_ = 0;
        scene.host.options().faults = Fail("AcquireSuite PF Iterate8 Suite 1", code);
        EXPECT_EQ(Render(), -1);
        EXPECT_EQ(thrown_, 516);
        EXPECT_EQ(scene.Calls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                        "AcquireSuite PF Iterate8 Suite 1", "ReleaseSuite PF Pixel Format Suite 1",
                                        "ReleaseSuite PF World Suite 2"}));
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

}  // namespace
