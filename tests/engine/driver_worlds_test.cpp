// Worlds with the memory layouts that hosts may use.
#include <gtest/gtest.h>

#include "support/support.h"

namespace {

using support::Describe;
using support::ExpectAsModel;
using support::ExpectRenders;
using support::Scene;
using support::SceneOf;
using support::Stage;

TEST(Worlds, MayHavePaddingNegativeStridesAndAnyAlignment) {
    Stage stage;
    std::uint64_t seed = 0;
    for (PF_PixelFormat format : kFormats) {
        for (int padding : {0, 1, 3, 16, 61}) {
            for (int misalignment : {0, 1, 2, 7, 15}) {
                Scene scene = SceneOf(format, 11, 9);
                scene.seed = ++seed;
                scene.amount = 30;
                scene.source.padding = padding;
                scene.source.misalignment = misalignment;
                scene.source.bottomUp = seed % 2 == 0;
                scene.output.padding = 61 - padding;
                scene.output.misalignment = 15 - misalignment;
                scene.output.bottomUp = seed % 3 == 0;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST(Worlds, GiveTheSamePixelsInEveryLayout) {
    Stage stage;
    for (PF_PixelFormat format : kFormats) {
        Scene scene = SceneOf(format, 13, 21);
        scene.amount = -30;
        const auto packed = ExpectRenders(stage, scene);
        for (auto layout : {&Scene::source, &Scene::output}) {
            Scene changed = scene;
            (changed.*layout).padding = 5;
            (changed.*layout).misalignment = 3;
            (changed.*layout).bottomUp = true;
            EXPECT_EQ(ExpectRenders(stage, changed), packed) << Describe(changed);
        }
    }
}

TEST(Worlds, MayBeThirtyThousandPixelsWideOrHigh) {
    Stage stage;
    for (auto [width, height] : {std::pair{30000, 2}, {2, 30000}}) {
        for (PF_PixelFormat format : {kFormatArgb8, kFormatArgbFloat}) {
            Scene scene = SceneOf(format, width, height);
            scene.scaling = 2;
            scene.amount = 10;
            ExpectAsModel(stage, scene);
        }
    }
}

}  // namespace
