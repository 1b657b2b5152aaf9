// Every format with every choice gives the bytes that the model computes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/support.h"

namespace {

using support::Describe;
using support::ExpectAsModel;
using support::FormatName;
using support::RenderPath;
using support::Scene;
using support::SceneOf;
using support::Stage;
using support::Values;
using support::Whole;

constexpr int kNonsense[] = {0, 6, -5, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

// Each scene has its own seed.
std::uint64_t NextSeed() {
    static std::uint64_t seed = 0;
    return ++seed;
}

class EveryFormat : public testing::TestWithParam<PF_PixelFormat> {
protected:
    Scene MakeScene(int width = 23, int height = 19) {
        Scene scene = SceneOf(GetParam(), width, height);
        scene.seed = NextSeed();
        return scene;
    }

    Stage stage;
};

INSTANTIATE_TEST_SUITE_P(, EveryFormat, testing::ValuesIn(kFormats),
                         [](const auto& instance) { return FormatName(instance.param); });

TEST_P(EveryFormat, ShowsEveryModeScalingViewAndSignOfAmountAsTheFormulasSay) {
    for (int mode = 1; mode <= 3; ++mode) {
        for (int scaling = 1; scaling <= 3; ++scaling) {
            for (int show = 1; show <= 5; ++show) {
                for (double amount : {37.25, -37.25}) {
                    Scene scene = MakeScene();
                    scene.center = Whole(9, 6);
                    scene.mode = mode;
                    scene.scaling = scaling;
                    scene.show = show;
                    scene.amount = amount;
                    ExpectAsModel(stage, scene);
                }
            }
        }
    }
}

TEST_P(EveryFormat, TakesOtherModesAsNoneOtherScalingsAsLinearAndOtherViewsAsFinal) {
    for (int choice : kNonsense) {
        for (double amount : {61.0, -61.0}) {
            Scene scene = MakeScene();
            scene.amount = amount;

            Scene mode = scene;
            mode.mode = choice;
            ExpectAsModel(stage, mode);
            Scene scaling = scene;
            scaling.scaling = choice;
            const auto asLinear = ExpectAsModel(stage, scaling);
            Scene show = scene;
            show.show = choice;
            const auto asFinal = ExpectAsModel(stage, show);

            const auto usual = ExpectAsModel(stage, scene);
            EXPECT_EQ(asLinear, usual) << "scaling " << choice;
            EXPECT_EQ(asFinal, usual) << "show " << choice;
        }
    }
}

// kNonsense does not hold 4 and 5, because two views have these numbers: "Alpha" and "Full Alpha".
TEST_P(EveryFormat, KnowsNoFourthOrFifthModeOrScaling) {
    for (int choice : {4, 5}) {
        for (double amount : {61.0, -61.0}) {
            Scene scene = MakeScene();
            scene.amount = amount;
            scene.mode = choice;
            ExpectAsModel(stage, scene);
            scene.mode = 1;
            scene.scaling = choice;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST_P(EveryFormat, TakesNonsenseInAllThreeMenusAtOnce) {
    for (int mode : kNonsense) {
        for (int scaling : kNonsense) {
            Scene scene = MakeScene(9, 7);
            scene.mode = mode;
            scene.scaling = scaling;
            scene.show = scaling;
            scene.amount = -20;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST_P(EveryFormat, ShowsEveryAmountAsTheFormulasSay) {
    for (double amount : {0.0, -0.0, 0.01, -0.01, 25.0, -25.0, 50.0, -50.0, 99.99, 100.0, -100.0}) {
        for (int scaling = 1; scaling <= 3; ++scaling) {
            Scene scene = MakeScene(31, 17);
            scene.mode = 1 + scaling % 3;
            scene.scaling = scaling;
            scene.amount = amount;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST_P(EveryFormat, SurvivesAmountsThatNoHostShouldSend) {
    const double inf = std::numeric_limits<double>::infinity();
    for (double amount :
         {std::nan(""), -std::nan(""), inf, -inf, 1e30, -1e30, 1e300, 1e-300, -1e-300, 1000.0, -1000.0}) {
        for (int scaling = 1; scaling <= 3; ++scaling) {
            Scene scene = MakeScene(13, 9);
            scene.mode = 1 + static_cast<int>(scene.seed / 3 % 3);
            scene.scaling = scaling;
            scene.show = 1 + static_cast<int>(scene.seed % 5);
            scene.amount = amount;
            ExpectAsModel(stage, scene);
        }
    }
}

TEST_P(EveryFormat, TakesSourceValuesOutOfRangeInfiniteNotANumberDenormalAndMinusZero) {
    for (int mode = 1; mode <= 3; ++mode) {
        for (int show = 1; show <= 6; ++show) {
            for (double amount : {-12.5, 0.0, 80.0}) {
                Scene scene = MakeScene();
                scene.values = Values::wild;
                scene.mode = mode;
                scene.scaling = 1 + show % 3;
                scene.show = show;
                scene.amount = amount;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST_P(EveryFormat, IsReadIntoEveryOtherFormat) {
    for (PF_PixelFormat format : kFormats) {
        for (Values values : {Values::ordinary, Values::wild}) {
            for (double amount : {55.0, -55.0}) {
                Scene scene = MakeScene(41, 29);
                scene.output.format = format;
                scene.values = values;
                scene.mode = 1 + static_cast<int>(scene.seed % 3);
                scene.show = 1 + static_cast<int>(scene.seed / 2 % 3);
                scene.scaling = 2;
                scene.amount = amount;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST_P(EveryFormat, ComesOutTheSameByThePlainAndTheSmartCommand) {
    for (double amount : {40.0, -40.0}) {
        Scene scene = MakeScene(37, 29);
        scene.scaling = 3;
        scene.amount = amount;
        const auto smart = ExpectAsModel(stage, scene);
        scene.path = RenderPath::plain;
        const auto plain = ExpectAsModel(stage, scene);
        EXPECT_EQ(smart, plain) << Describe(scene);
    }
}

TEST_P(EveryFormat, ComesOutTheSameInTheEditingHost) {
    refhost::HostOptions options;
    options.personality = refhost::Personality::editor;
    Stage editor(options);
    for (int mode = 1; mode <= 3; ++mode) {
        Scene scene = MakeScene(37, 29);
        scene.path = RenderPath::plain;
        scene.mode = mode;
        scene.scaling = 2;
        scene.amount = -75;
        EXPECT_EQ(ExpectAsModel(editor, scene), ExpectAsModel(stage, scene)) << Describe(scene);
    }
}

}  // namespace
