// The pixel formats of source and output: which suite decides, and what happens to unknown ones.
#include "driver_fixture.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using refhost::Personality;

using DriverFormats = Driver;

constexpr PF_PixelFormat kUnknown = 0x3F3F3F3F;

TEST_F(DriverFormats, WriteNothingIntoAnOutputOfAnUnknownFormat) {
    scene.UseFormats(kFormatArgb8, kUnknown);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Surroundings(), "");
    EXPECT_EQ(CallsThatBegin("iterate"), Lines{"iterate_generic 3"});
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverFormats, RenderFromASourceOfAnUnknownFormat) {
    scene.UseFormats(kUnknown, kFormatArgb8);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_FALSE(scene.OutputUntouched());
    EXPECT_EQ(CallsThatBegin("iterate"), Lines{"iterate_generic 3"});
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverFormats, AreTheWorldSuitesInTheCompositor) {
    scene.settings.worldSuiteFormat = kUnknown;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(CallsThatBegin("GetPixelFormat"), Lines(2, "GetPixelFormat PF World Suite"));
}

TEST_F(DriverFormats, AreThePixelFormatSuitesInTheEditor) {
    scene.host.options().personality = Personality::editor;
    const auto clean = scene.CleanPicture(RenderPath::plain);
    scene.settings.worldSuiteFormat = kUnknown;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(CallsThatBegin("GetPixelFormat"),
              (Lines{"GetPixelFormat PF World Suite", "GetPixelFormat PF Pixel Format Suite",
                     "GetPixelFormat PF World Suite", "GetPixelFormat PF Pixel Format Suite"}));
}

TEST_F(DriverFormats, MayDifferFromFrameToFrame) {
    for (const PF_PixelFormat format : {kFormatArgb8, kFormatBgraFloat, kFormatArgb16, kFormatArgb8}) {
        scene.UseFormat(format);
        const auto first = scene.CleanPicture(RenderPath::plain);
        EXPECT_EQ(scene.CleanPicture(RenderPath::plain), first);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

}  // namespace
