// One frame through the driver: unknown formats, values that the driver must not change, and memory that it must
// clear.
#include <gtest/gtest.h>

#include "support/support.h"

namespace {

using support::ExpectRenders;
using support::Outcome;
using support::Paint;
using support::ReadFloats;
using support::RenderPath;
using support::Rgba;
using support::Scene;
using support::SceneOf;
using support::Stage;

constexpr PF_PixelFormat kUnknownFormats[] = {0, -1, 0x41524742, 0x61726763};  // the last two: "BGRA", "cgra"

const std::vector<std::string> kNone;

TEST(UnknownFormat, OfTheSourceIsNoErrorAndNothingIsWrittenOutsideThePixels) {
    Stage stage;
    for (PF_PixelFormat format : kUnknownFormats) {
        for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
            Scene scene = SceneOf(kFormatArgbFloat, 17, 18);
            scene.source.format = format;
            scene.source.padding = 17 * 16;  // padding: nothing may be written there
            scene.amount = 50;
            scene.path = path;
            ExpectRenders(stage, scene);
        }
    }
}

TEST(UnknownFormat, OfTheOutputIsNoErrorAndNothingIsWritten) {
    Stage stage;
    for (PF_PixelFormat format : kUnknownFormats) {
        for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
            Scene scene = SceneOf(kFormatArgbFloat, 17, 18);
            scene.output.format = format;
            scene.output.padding = 17 * 16;  // the padding is guarded
            scene.amount = 50;
            scene.path = path;
            ExpectRenders(stage, scene);
        }
    }
}

TEST(Format, IsTheWorldSuitesInTheCompositingHostAndThePixelFormatSuitesInTheEditingHost) {
    Scene scene = SceneOf(kFormatBgra8, 17, 18);
    scene.path = RenderPath::plain;
    scene.amount = 50;
    const auto worldSuiteSaysArgb = [](refhost::RenderSettings& settings) {
        settings.worldSuiteFormat = kFormatArgb8;
    };

    refhost::HostOptions options;
    options.personality = refhost::Personality::editor;
    Stage editor(options);
    const Outcome edited = editor.Render(scene, worldSuiteSaysArgb);
    EXPECT_EQ(edited.complaints, kNone);
    support::ExpectSamePixels(support::Expected(scene), edited.pixels, scene.output);

    Stage compositor;
    const Outcome composited = compositor.Render(scene, worldSuiteSaysArgb);
    EXPECT_EQ(composited.complaints, kNone);
    Scene asArgb = scene;
    asArgb.pixels = support::SourcePixels(scene);
    asArgb.source.format = asArgb.output.format = kFormatArgb8;
    support::ExpectSamePixels(support::Expected(asArgb), composited.pixels, scene.output);
}

TEST(Driver, InTheEditingHostWithoutThePixelFormatSuiteReturnsAtOnceAndLeavesTheOutput) {
    refhost::HostOptions options;
    options.personality = refhost::Personality::editor;
    Stage stage(options);
    stage.host().options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::acquireSuite && call.detail == "PF Pixel Format Suite 1") return 1;
        return std::nullopt;
    };
    Scene scene = SceneOf(kFormatBgra8, 17, 18);
    scene.path = RenderPath::plain;
    const Outcome outcome = stage.Render(scene);
    EXPECT_EQ(outcome.code, PF_Err_NONE);
    EXPECT_EQ(outcome.pixels, std::vector<std::byte>(std::size_t{17} * 18 * 4, std::byte{refhost::World::kPoison}));
    EXPECT_EQ(stage.host().account().Count(refhost::Call::newHandle), 0);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 0);
    stage.host().account().Reclaim();
}

TEST(Driver, PassesValuesOutsideTheRangeToTheWorkersAndClampsThemOnTheWayOut) {
    Stage stage;
    for (PF_PixelFormat format : {kFormatArgbFloat, kFormatBgraFloat, kFormatBgraFloatLinear}) {
        // The square of alpha shows whether -0.5 and 4 came in unclamped. Colour is clamped.
        Scene scene = SceneOf(format, 2, 1);
        const Rgba below{-0.5f, -3.0f, -0.25f, -0.5f}, above{1.5f, 4.0f, 2.0f, 4.0f};
        const auto put = [&](int x, int) {
            const Rgba& p = x == 0 ? below : above;
            return format == kFormatArgbFloat ? p : Rgba{p.g, p.r, p.a, p.b};  // so that B G R A is written
        };
        scene.pixels = Paint(2, 1, put);
        scene.output.format = kFormatArgbFloat;
        scene.show = 3;
        const auto pixels = ReadFloats(ExpectRenders(stage, scene));
        EXPECT_EQ(pixels[0], (Rgba{0, 0, 0, 0.25f}));
        EXPECT_EQ(pixels[1], (Rgba{1, 1, 1, 1}));
    }
}

TEST(Driver, ClearsWhatNoWorkerWritesWhateverTheHostsMemoryHeld) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgb16, 20, 20);
    scene.downsampleX = {0, 1};
    const auto pixels = ExpectRenders(stage, scene);
    EXPECT_EQ(pixels, std::vector<std::byte>(pixels.size()));
}

}  // namespace
