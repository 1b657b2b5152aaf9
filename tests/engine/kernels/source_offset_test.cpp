// A source that lies at another place than the output. Where a test does not compare with the model, its numbers
// were worked out by hand, with coordinates for which every step is exact.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "float_scene.h"
#include "support/support.h"

namespace {

using namespace support;

constexpr int kMostNegative = std::numeric_limits<int>::min();
constexpr int kMostPositive = std::numeric_limits<int>::max();

TEST(SourceOffset, MovesTheSourceByWholePixels) {
    Stage stage;
    const int offsets[] = {kMostNegative, -1000, -7, -1, 0, 1, 7, 30, 1000, kMostPositive};
    std::uint64_t seed = 300;
    for (int x : offsets) {
        for (int y : offsets) {
            Scene scene = SceneOf(kFormats[seed % kFormats.size()], 23, 19);
            scene.seed = ++seed;
            scene.offsetX = x;
            scene.offsetY = y;
            scene.mode = 1 + static_cast<int>(seed % 3);
            scene.amount = seed % 2 == 0 ? 33 : -33;
            ExpectAsModel(stage, scene);
        }
    }
}

// A position that does not fit an integer becomes the most negative integer. The effect subtracts an offset of the
// same value, and so reads inside the source again.
TEST(SourceOffset, AsLowAsTheLeastIntegerMeetsPositionsThatAreNotNumbers) {
    Stage stage;
    for (double amount : {std::nan(""), std::numeric_limits<double>::infinity(), 50.0}) {
        for (int scaling = 1; scaling <= 3; ++scaling) {
            Scene scene = FloatScene(9, 7, amount);
            scene.offsetX = scene.offsetY = kMostNegative;
            scene.scaling = scaling;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST(SourceOffset, IsTheLeastLeftAndTopOfWhatPreRenderFindsAndWhatTheHostPutThere) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgb8, 23, 19);
    scene.amount = 25;
    scene.offsetX = 4;
    scene.offsetY = -3;
    const auto ownRect = [](refhost::RenderSettings& settings) { settings.initialResultRect = {1, 2, 5, 6}; };
    const support::Outcome outcome = stage.Render(scene, ownRect);
    EXPECT_EQ(outcome.code, PF_Err_NONE);
    EXPECT_EQ(outcome.complaints, std::vector<std::string>{});
    scene.offsetX = 1;
    support::ExpectSamePixels(support::Expected(scene), outcome.pixels, scene.output);
}

TEST(SourceOffset, IsNothingToThePlainCommandWhateverTheLayersOrigin) {
    Stage stage;
    Scene scene = SceneOf(kFormatBgra8, 23, 19);
    scene.amount = -25;
    scene.path = RenderPath::plain;
    scene.source.originX = 5;
    scene.source.originY = -9;
    scene.output.originX = 2;
    ExpectAsModel(stage, scene);
}

}  // namespace
