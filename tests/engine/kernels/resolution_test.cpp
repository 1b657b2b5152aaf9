// Reduced resolutions, and sizes down to nothing. Where a test does not compare with the model, its numbers were
// worked out by hand, with coordinates for which every step is exact.
#include <gtest/gtest.h>

#include <limits>

#include "float_scene.h"
#include "support/support.h"

namespace {

using namespace support;

constexpr int kMostNegative = std::numeric_limits<int>::min();
constexpr int kMostPositive = std::numeric_limits<int>::max();

TEST(Resolution, ComputesOnlyTheLeftPartOfEachRow) {
    Stage stage;
    Scene scene = FloatScene(32, 8, 10);
    scene.pixels = Paint(32, 8, [](int, int) { return Rgba{1, 1, 1, 1}; });
    scene.center = Whole(8, 2);
    scene.downsampleX = {1, 2};
    scene.downsampleY = {1, 2};
    const auto pixels = ReadFloats(ExpectAsModel(stage, scene));
    for (int y = 0; y < 8; ++y) {
        EXPECT_EQ(pixels[At(scene, 15, y)], (Rgba{1, 1, 1, 1})) << "row " << y;
        EXPECT_EQ(pixels[At(scene, 16, y)], Rgba{}) << "row " << y;
        EXPECT_EQ(pixels[At(scene, 31, y)], Rgba{}) << "row " << y;
    }
}

TEST(Resolution, MirrorsTheCentreAtTheReducedHeight) {
    Stage stage;
    Scene scene = FloatScene(32, 40, 50);
    scene.center = Whole(8, 4);
    scene.downsampleX = {1, 2};
    scene.downsampleY = {1, 2};
    const SamplePlaces places(stage, scene);  // the centre is at row 20 - 4
    for (int y = 16; y < 40; ++y)
        EXPECT_EQ(places.At(8, y), (SamplePlace{8, 16 + (y - 16) / 2}));
}

TEST(Resolution, FollowsTheFormulasWhenReducedAlsoDifferentlyInXAndY) {
    Stage stage;
    const PF_RationalScale scales[] = {{1, 1}, {1, 2}, {1, 3}, {2, 3}, {1, 4}, {1, 100}};
    std::uint64_t seed = 500;
    for (PF_RationalScale x : scales) {
        for (PF_RationalScale y : scales) {
            for (int scaling = 1; scaling <= 3; ++scaling) {
                Scene scene = SceneOf(kFormats[seed % kFormats.size()], 37, 26);
                scene.seed = ++seed;
                scene.center = Whole(11, 5);
                scene.downsampleX = x;
                scene.downsampleY = y;
                scene.scaling = scaling;
                scene.amount = 66;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST(Resolution, ThatNoHostShouldSendStaysInsideTheRowsAndFollowsTheFormulas) {
    Stage stage;
    constexpr std::uint32_t kGreatest = std::numeric_limits<std::uint32_t>::max();
    const PF_RationalScale scales[] = {{1, 1},         {2, 1},
                                       {3, 2},         {0, 0},
                                       {1, 0},         {-1, 0},
                                       {0, 1},         {-1, 2},
                                       {1, kGreatest}, {kMostPositive, 1},
                                       {-3, 1},        {kMostNegative, 1}};
    std::uint64_t seed = 700;
    for (PF_RationalScale x : scales) {
        for (PF_RationalScale y : scales) {
            Scene scene = SceneOf(kFormats[seed % kFormats.size()], 15, 18);
            scene.seed = ++seed;
            scene.downsampleX = x;
            scene.downsampleY = y;
            scene.scaling = 1 + static_cast<int>(seed / 3 % 3);
            scene.amount = 66.0 * (static_cast<double>(seed % 3) - 1);
            ExpectAsModel(stage, scene);
        }
    }
}

TEST(Size, OfOnePixelOneRowAndOneColumnFollowsTheFormulas) {
    Stage stage;
    std::uint64_t seed = 900;
    for (PF_PixelFormat format : kFormats) {
        for (auto [width, height] :
             {std::pair{1, 1}, {1, 2}, {2, 1}, {1, 7}, {7, 1}, {1, 40}, {40, 1}, {2, 2}, {3, 16}}) {
            Scene scene = SceneOf(format, width, height);
            scene.seed = ++seed;
            scene.scaling = 1 + static_cast<int>(seed % 3);
            scene.amount = 90;
            ExpectAsModel(stage, scene);
            scene.center = Whole(-2, 3);
            scene.amount = -90;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST(Size, OfSourceAndOutputMayDiffer) {
    Stage stage;
    std::uint64_t seed = 1100;
    const std::pair<int, int> sizes[] = {{1, 1}, {40, 3}, {5, 33}, {23, 19}};
    for (PF_PixelFormat format : kFormats) {
        for (auto [sourceWidth, sourceHeight] : sizes) {
            for (auto [width, height] : sizes) {
                Scene scene = SceneOf(format, width, height);
                scene.source.width = sourceWidth;
                scene.source.height = sourceHeight;
                scene.seed = ++seed;
                scene.scaling = 2;
                scene.amount = seed % 2 == 0 ? 45 : -45;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST(Size, OfNothingIsNoError) {
    Stage stage;
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        for (auto [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
            Scene scene = SceneOf(kFormatArgb8, 6, 6);
            scene.path = path;
            scene.amount = 20;
            scene.output.width = width;
            scene.output.height = height;
            ExpectAsModel(stage, scene);

            std::swap(scene.source, scene.output);  // all of the output lies outside the source
            ExpectAsModel(stage, scene);
        }
    }
}

}  // namespace
