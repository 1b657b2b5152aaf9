// How each view composes both samples. Where a test does not compare with the model, its numbers were worked out by
// hand, with coordinates for which every step is exact.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "float_scene.h"
#include "support/support.h"

namespace {

using namespace support;

// The left half of the scene has the alpha `inPlace`. Column 12 takes its enlarged sample from column 20, whose
// alpha is `enlarged`.
Rgba ViewOf(Stage& stage, int show, float inPlace, float enlarged) {
    Scene scene = FloatScene(32, 2, 50);
    scene.center = Whole(28, 1);
    scene.show = show;
    scene.pixels = Paint(32, 2, [&](int x, int) { return Rgba{0.5f, 0.25f, 0.125f, x < 16 ? inPlace : enlarged}; });
    return ReadFloats(ExpectRenders(stage, scene))[At(scene, 12, 0)];
}

TEST(RowWorker, BuildsAlphaFromBothSamplesAccordingToTheView) {
    Stage stage;
    EXPECT_EQ(ViewOf(stage, 1, 0.25f, 0.75f), (Rgba{0.5f, 0.25f, 0.125f, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 1, 0.75f, 0.25f), (Rgba{0.5f, 0.25f, 0.125f, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 2, 0.25f, 0.75f), (Rgba{0.5f, 0.25f, 0.125f, 0.5f}));
    EXPECT_EQ(ViewOf(stage, 2, 0.75f, 0.25f), (Rgba{0.5f, 0.25f, 0.125f, 0.5f}));
    EXPECT_EQ(ViewOf(stage, 3, 0.25f, 0.75f), (Rgba{0.5f, 0.25f, 0.125f, 0.1875f}));
    EXPECT_EQ(ViewOf(stage, 4, 0.25f, 0.75f), (Rgba{0.75f, 0.75f, 0.75f, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 5, 0.25f, 0.75f), (Rgba{1, 1, 1, 1}));
    EXPECT_EQ(ViewOf(stage, 0, 0.25f, 0.75f), (Rgba{0.5f, 0.25f, 0.125f, 0.75f}));
}

TEST(RowWorker, TakesTheColourOfATransparentSampleAsBlack) {
    Stage stage;
    EXPECT_EQ(ViewOf(stage, 1, 0, 0.75f), (Rgba{0.5f, 0, 0, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 1, 0.75f, 0), (Rgba{0, 0.25f, 0.125f, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 1, -0.0f, 0.75f), (Rgba{0.5f, 0, 0, 0.75f}));
    EXPECT_EQ(ViewOf(stage, 1, 0, 0), Rgba{});
}

TEST(RowWorker, FullAlphaMakesAnyCoverageOpaqueWhiteAndNoneTransparentBlack) {
    Stage stage;
    const Rgba white{1, 1, 1, 1};
    constexpr float kLeast = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(ViewOf(stage, 5, 1, 0), white);
    EXPECT_EQ(ViewOf(stage, 5, 0, 1), white);
    EXPECT_EQ(ViewOf(stage, 5, kLeast, 0), white);
    EXPECT_EQ(ViewOf(stage, 5, 0, kLeast), white);
    EXPECT_EQ(ViewOf(stage, 5, 0, 0), Rgba{});
    EXPECT_EQ(ViewOf(stage, 5, -1, -1), Rgba{});

    Scene scene = SceneOf(kFormatArgb8, 40, 30);
    scene.show = 5;
    scene.amount = 30;
    const auto pixels = ExpectAsModel(stage, scene);
    for (std::byte byte : pixels)
        EXPECT_TRUE(byte == std::byte{0} || byte == std::byte{255});
    EXPECT_NE(std::count(pixels.begin(), pixels.end(), std::byte{0}), 0);
}

}  // namespace
