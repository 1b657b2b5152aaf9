// A centre of enlargement inside the frame, on its edge and outside. Where a test does not compare with the model,
// its numbers were worked out by hand, with coordinates for which every step is exact. k is the enlargement at a
// pixel.
#include <gtest/gtest.h>

#include "float_scene.h"
#include "support/support.h"

namespace {

using namespace support;

TEST(RowWorker, ACentreOutsideTheFrameTakesTheDistanceToTheFarthestCorner) {
    Stage stage;
    // The mirrored centre (-20, 50) is 130 pixels from the farthest corner, (100, 0). That is more than the frame's
    // diagonal. The pixel (40, 25) is half as far away. There "square" takes half the amount, so that k = 2.
    Scene scene = FloatScene(100, 60, 100);
    scene.center = Whole(-20, 10);
    scene.scaling = 2;
    const SamplePlaces places(stage, scene);
    EXPECT_EQ(places.At(40, 25), (SamplePlace{10, 37}));
}

TEST(RowWorker, CentreOnTheTopRowActsAsIfOnTheBottomEdge) {
    Stage stage;
    Scene scene = FloatScene(32, 24, 50);
    scene.center = Whole(16, 0);
    const SamplePlaces top(stage, scene);
    scene.center = Whole(16, 24);
    const SamplePlaces bottom(stage, scene);
    for (int y = 0; y < 24; ++y) {
        EXPECT_EQ(top.At(16, y), (SamplePlace{16, 12 + y / 2}));
        EXPECT_EQ(bottom.At(16, y), (SamplePlace{16, y / 2}));
    }
}

TEST(RowWorker, DropsTheCentresFractionTowardMinusInfinity) {
    Stage stage;
    for (auto [fixed, whole] :
         {std::pair{100 * 65536 + 49152, 100}, {100 * 65536 + 65535, 100}, {-32768, -1}, {-1, -1}}) {
        Scene scene = FloatScene(200, 120, 35);
        scene.center = {fixed, 30 * 65536};
        const auto withFraction = ExpectAsModel(stage, scene);
        scene.center = Whole(whole, 30);
        EXPECT_EQ(withFraction, ExpectAsModel(stage, scene)) << fixed;

        scene.center = {30 * 65536, fixed};
        const auto withRowFraction = ExpectAsModel(stage, scene);
        scene.center = Whole(30, whole);
        EXPECT_EQ(withRowFraction, ExpectAsModel(stage, scene)) << fixed;
    }
}

TEST(RowWorker, WithTheCentreInsideAndNoOffsetNoSampleLeavesTheFrame) {
    Stage stage;
    for (auto [x, y] : {std::pair{0, 1}, {0, 21}, {16, 10}, {32, 10}, {33, 21}, {7, 0}}) {
        for (double amount : {0.5, 50.0, 73.0, 100.0}) {
            for (int scaling = 1; scaling <= 3; ++scaling) {
                Scene scene = FloatScene(33, 21, amount);
                scene.center = Whole(x, y);
                scene.scaling = scaling;
                const SamplePlaces places(stage, scene);
                for (int row = 0; row < 21; ++row) {
                    for (int column = 0; column < 33; ++column)
                        EXPECT_NE(places.At(column, row), kOutside)
                            << Describe(scene) << ": column " << column << ", row " << row;
                }
            }
        }
    }
}

TEST(RowWorker, ACentreOutsideOrAnOffsetPutsSamplesOutsideWhichAreTransparentBlack) {
    Stage stage;
    Scene scene = FloatScene(16, 16, 50);
    scene.center = Whole(-12, 8);
    EXPECT_EQ(SamplePlaces(stage, scene).At(2, 8), kOutside);
    EXPECT_EQ(SamplePlaces(stage, scene).At(14, 8), (SamplePlace{1, 8}));

    scene.center = Whole(8, 8);
    scene.offsetX = 6;
    EXPECT_EQ(SamplePlaces(stage, scene).At(2, 8), kOutside);  // column 5 - 6
    EXPECT_EQ(SamplePlaces(stage, scene).At(4, 8), (SamplePlace{0, 8}));

    // The sample in place also leaves the source. Green and blue vanish; red comes from column 6 and stays.
    scene.pixels = Paint(16, 16, [](int, int) { return Rgba{0.5f, 0.5f, 0.5f, 1}; });
    const auto pixels = ReadFloats(ExpectRenders(stage, scene));
    EXPECT_EQ(pixels[At(scene, 4, 8)], (Rgba{0.5f, 0, 0, 1}));
    EXPECT_EQ(pixels[At(scene, 0, 8)], Rgba{});
}

TEST(RowWorker, FollowsTheFormulasForCentresInsideOnTheEdgeAndOutside) {
    Stage stage;
    const int xs[] = {-30000, -41, -1, 0, 1, 11, 22, 23, 24, 60, 30000};
    const int ys[] = {-30000, -29, -1, 0, 1, 9, 18, 19, 20, 45, 30000};
    std::uint64_t seed = 100;
    for (int x : xs) {
        for (int y : ys) {
            Scene scene = SceneOf(kFormats[seed % kFormats.size()], 23, 19);
            scene.seed = ++seed;
            scene.center = Whole(x, y);
            scene.mode = 1 + static_cast<int>(seed % 3);
            scene.scaling = 1 + static_cast<int>(seed / 3 % 3);
            scene.amount = seed % 2 == 0 ? 42.5 : -42.5;
            ExpectAsModel(stage, scene);
        }
    }
}

}  // namespace
