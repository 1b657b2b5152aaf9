// Every call that the render driver makes, in order, and what remains when each of them fails. The hosts here are
// the editing host, and a compositing host whose iteration goes over pixels.
#include "support/call_script.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// The editing host has a second suite for pixel formats, which decides.
Script EditorsCalls(bool deep = false) {
    const Script bothOpinions = {
        {"GetPixelFormat PF World Suite", PF_Err_NONE, kAsClean},
        {"GetPixelFormat PF Pixel Format Suite", PF_Err_NONE, kAsClean},
    };
    DriverCalls driver;
    driver.deep = deep;
    driver.suites[0] = {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kUntouched, kWorldSuiteKept,
                        kUnlockedNothing};
    driver.sourceFormat = bothOpinions;
    driver.outputFormat = bothOpinions;
    return PlainRenderCalls(driver);
}

// A host whose iteration suite iterates only over pixels. One pixel of a scratch column stands for a row. The
// effect does not ask for an abort, because the host's iteration does.
Script PixelIterationsCalls(bool deep = false) {
    DriverCalls driver;
    driver.deep = deep;
    // Without the second suite, rows run on the command's thread.
    driver.suites.push_back({"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean});
    driver.sourcePass = {
        {"new_world 1 x 3", kFault, kUntouched}, {"iterate 3", kFault, kUntouched},
        {"row 0", kFault, kUntouched},           {"row 1", kFault, kUntouched},
        {"row 2", kFault, kUntouched},           {"dispose_world 1 x 3", PF_Err_NONE, kAsClean},
    };
    driver.outputPass = {
        {"new_world 1 x 3", kFault, kUntouched}, {"iterate 3", kFault, kUntouched},
        {"row 0", kFault, kUntouched},           {"row 1", kFault, TopRows(1)},
        {"row 2", kFault, TopRows(2)},           {"dispose_world 1 x 3", PF_Err_NONE, kAsClean},
    };
    driver.releases.push_back({"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean});
    return PlainRenderCalls(driver);
}

refhost::HostOptions PixelIteration() {
    auto options = InOrder();
    options.genericIteration = false;
    return options;
}

TEST(DriverInTheEditor, CallsTheHostInOrder) {
    HostedScene scene(InOrder(refhost::Personality::editor));
    ExpectOrder(scene, RenderPath::plain, EditorsCalls());
}

TEST(DriverInTheEditor, KeepsItsPromisesWhicheverCallFails) {
    HostedScene scene(InOrder(refhost::Personality::editor));
    ExpectEveryFailure(scene, RenderPath::plain, EditorsCalls());
}

// The effect does not ask for these formats, but some hosts send whatever they have.
TEST(DriverInTheEditor, KeepsItsPromisesInFloatToo) {
    for (const PF_PixelFormat format : {kFormatBgraFloat, kFormatBgraFloatLinear}) {
        HostedScene scene(InOrder(refhost::Personality::editor));
        scene.UseFormat(format);
        ExpectOrder(scene, RenderPath::plain, EditorsCalls(true));
        ExpectEveryFailure(scene, RenderPath::plain, EditorsCalls(true));
    }
}

TEST(DriverWithPixelIteration, CallsTheHostInOrder) {
    HostedScene scene(PixelIteration());
    ExpectOrder(scene, RenderPath::plain, PixelIterationsCalls());
}

TEST(DriverWithPixelIteration, KeepsItsPromisesWhicheverCallFails) {
    HostedScene scene(PixelIteration());
    ExpectEveryFailure(scene, RenderPath::plain, PixelIterationsCalls());
}

TEST(DriverWithPixelIteration, KeepsItsPromisesInMoreBitsToo) {
    for (const PF_PixelFormat format : {kFormatArgb16, kFormatArgbFloat}) {
        HostedScene scene(PixelIteration());
        scene.UseFormat(format);
        ExpectOrder(scene, RenderPath::plain, PixelIterationsCalls(true));
        ExpectEveryFailure(scene, RenderPath::plain, PixelIterationsCalls(true));
    }
}

TEST(DriverWithPixelIteration, RendersAsWithRowIteration) {
    HostedScene pixels(PixelIteration()), rows;
    EXPECT_EQ(pixels.CleanPicture(RenderPath::smart), rows.CleanPicture(RenderPath::smart));
}

}  // namespace
