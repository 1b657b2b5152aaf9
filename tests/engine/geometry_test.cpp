// Where samples are taken: enlargement, centre, offsets, resolution and size. Numbers in these tests that are not
// the model's were worked out by hand, with coordinates for which every step is exact.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/support.h"

namespace {

using support::Describe;
using support::ExpectAsModel;
using support::ExpectRenders;
using support::kFormats;
using support::kOutside;
using support::Paint;
using support::Place;
using support::Places;
using support::ReadFloats;
using support::RenderPath;
using support::Rgba;
using support::Scene;
using support::SceneOf;
using support::Stage;
using support::Whole;

constexpr int kMostNegative = std::numeric_limits<int>::min();
constexpr int kMostPositive = std::numeric_limits<int>::max();

Scene FloatScene(int width, int height, double amount) {
    Scene scene = SceneOf(kFormatArgbFloat, width, height);
    scene.amount = amount;
    return scene;
}

std::size_t At(const Scene& scene, int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(scene.output.width) + static_cast<std::size_t>(x);
}

// ---- Amount and scaling ----

TEST(RowWorker, AmountZeroGivesTheSourceWithBlackUnderFullTransparency) {
    Stage stage;
    for (PF_PixelFormat format : kFormats) {
        const auto size = static_cast<std::size_t>(refhost::BytesPerPixel(format));
        const bool alphaFirst = format == kFormatArgb8 || format == kFormatArgb16 || format == kFormatArgbFloat;
        for (int mode = 1; mode <= 3; ++mode) {
            Scene scene = SceneOf(format, 40, 30);
            scene.mode = mode;
            auto expected = support::SourcePixels(scene);
            bool anyTransparent = false;
            for (std::size_t pixel = 0; pixel < expected.size(); pixel += size) {
                const auto begin = expected.begin() + static_cast<std::ptrdiff_t>(pixel);
                const auto alpha = begin + static_cast<std::ptrdiff_t>(alphaFirst ? 0 : size / 4 * 3);
                const auto isZero = [](std::byte byte) { return byte == std::byte{0}; };
                if (!std::all_of(alpha, alpha + static_cast<std::ptrdiff_t>(size / 4), isZero)) continue;
                std::fill(begin, begin + static_cast<std::ptrdiff_t>(size), std::byte{0});
                anyTransparent = true;
            }
            ASSERT_TRUE(anyTransparent);
            support::ExpectSamePixels(expected, ExpectRenders(stage, scene), scene.output);
        }
    }
}

TEST(RowWorker, AmountZeroShowsNoFringeInJustCaAndTheSquareOfAlphaInWithoutCa) {
    Stage stage;
    Scene scene = FloatScene(17, 3, 0);
    scene.pixels = Paint(17, 3, [](int x, int) { return Rgba{0.25f, 0.5f, 0.75f, static_cast<float>(x) / 16}; });

    scene.show = 2;
    for (const Rgba& pixel : ReadFloats(ExpectRenders(stage, scene)))
        EXPECT_EQ(pixel.a, 0);

    scene.show = 3;
    const auto squares = ReadFloats(ExpectRenders(stage, scene));
    for (int x = 0; x < 17; ++x) {
        const Rgba colour = x == 0 ? Rgba{} : Rgba{0.25f, 0.5f, 0.75f, static_cast<float>(x * x) / 256};
        EXPECT_EQ(squares[At(scene, x, 1)], colour) << "column " << x;
    }
}

TEST(RowWorker, AmountFiftyLinearEnlargesTwiceAboutTheCentre) {
    Stage stage;
    Scene scene = FloatScene(64, 48, 50);
    scene.center = Whole(32, 24);
    const Places places(stage, scene);
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x)
            EXPECT_EQ(places.At(x, y), (Place{16 + x / 2, 12 + y / 2}));
    }
}

TEST(RowWorker, LinearScalingDisplacesInProportionToTheDistance) {
    Stage stage;
    // k = 1.25 has no exact inverse, k = 4 and k = 2 have.
    Scene scene = FloatScene(129, 129, 150);
    scene.center = Whole(64, 65);  // row 64, after the mirroring
    const Places four(stage, scene);
    for (int distance = -64; distance <= 64; distance += 4) {
        EXPECT_EQ(four.At(64 + distance, 64), (Place{64 + distance / 4, 64}));
        EXPECT_EQ(four.At(64, 64 + distance), (Place{64, 64 + distance / 4}));
        EXPECT_EQ(four.At(64 + distance, 64 + distance), (Place{64 + distance / 4, 64 + distance / 4}));
    }
}

// The centre (60, 80) is 100 pixels from the farthest corner, (0, 0). At half that distance "square" takes half
// the amount and "cubic" a quarter.
Scene HundredPixelRadius(int scaling, double amount) {
    Scene scene = FloatScene(100, 100, amount);
    scene.center = Whole(60, 20);
    scene.scaling = scaling;
    return scene;
}

TEST(RowWorker, SquareScalingLeavesTheCentreAndEnlargesTheFarthestCornerFully) {
    Stage stage;
    const Places fifty(stage, HundredPixelRadius(2, 50));
    EXPECT_EQ(fifty.At(60, 80), (Place{60, 80}));
    EXPECT_EQ(fifty.At(0, 0), (Place{30, 40}));  // k = 2

    const Places hundred(stage, HundredPixelRadius(2, 100));
    EXPECT_EQ(hundred.At(60, 80), (Place{60, 80}));
    EXPECT_EQ(hundred.At(30, 40), (Place{45, 60}));  // half the radius: k = 2
    EXPECT_EQ(hundred.At(0, 0).row, 53);             // k = 3: a third of 80 above the centre
}

TEST(RowWorker, CubicScalingGrowsWithTheSquareOfTheRelativeDistance) {
    Stage stage;
    const Places hundred(stage, HundredPixelRadius(3, 100));
    EXPECT_EQ(hundred.At(60, 80), (Place{60, 80}));
    EXPECT_EQ(hundred.At(20, 50).column, 33);  // half the radius: k = 1.5
    EXPECT_EQ(hundred.At(12, 66).row, 70);
    EXPECT_EQ(hundred.At(0, 0).row, 53);  // k = 3

    const Places twoHundred(stage, HundredPixelRadius(3, 200));
    EXPECT_EQ(twoHundred.At(30, 40), (Place{45, 60}));  // a quarter of 200: k = 2
}

// The column of each colour of one output pixel.
struct Columns {
    int red, green, blue;
    bool operator==(const Columns&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Columns& columns) {
        return out << columns.red << ' ' << columns.green << ' ' << columns.blue;
    }
};

TEST(RowWorker, EnlargesTheNamedColourForAPositiveAmountAndTheOtherTwoForANegativeOne) {
    Stage stage;
    const auto columns = [&](int mode, double amount) {
        Scene scene = FloatScene(64, 4, amount);
        scene.mode = mode;
        scene.center = Whole(32, 2);
        scene.pixels = Paint(64, 4, [](int x, int) {
            const float code = static_cast<float>(x) / 64;
            return Rgba{code, code, code, 1};
        });
        const Rgba pixel = ReadFloats(ExpectRenders(stage, scene))[At(scene, 48, 1)];
        return Columns{static_cast<int>(pixel.r * 64), static_cast<int>(pixel.g * 64),
                       static_cast<int>(pixel.b * 64)};
    };
    EXPECT_EQ(columns(1, 50), (Columns{40, 48, 48}));
    EXPECT_EQ(columns(2, 50), (Columns{48, 40, 48}));
    EXPECT_EQ(columns(3, 50), (Columns{48, 48, 40}));
    EXPECT_EQ(columns(1, -50), (Columns{48, 40, 40}));
    EXPECT_EQ(columns(2, -50), (Columns{40, 48, 40}));
    EXPECT_EQ(columns(3, -50), (Columns{40, 40, 48}));
    for (int mode : {0, 4}) {
        EXPECT_EQ(columns(mode, 50), (Columns{48, 48, 48}));
        EXPECT_EQ(columns(mode, -50), (Columns{48, 48, 48}));
    }
}

TEST(RowWorker, TruncatesTheEnlargedPositionBeforeAndAfterTheOffset) {
    Stage stage;
    // The centre is at column 0 and the layer lies 3 columns to the left: the point at 0.5 becomes column 0 first
    // and source column 3 then.
    Scene scene = FloatScene(16, 4, 50);
    scene.center = Whole(0, 2);
    scene.offsetX = -3;
    const Places places(stage, scene);
    for (int x = 0; x < 16; ++x)
        EXPECT_EQ(places.At(x, 0).column, x / 2 + 3) << x;

    // Left of column 0 whole numbers are towards zero: from -0.5 and -1.5 to 0 and -1, source columns 3 and 2.
    scene.center = Whole(-4, 2);
    const Places negative(stage, scene);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(negative.At(x, 0).column, (x - 4) / 2 + 3) << x;
}

// Far from a distant centre the last bit of a step decides about the pixel that is read. Each of these strips holds
// pixels that come out differently when steps are contracted, reordered or taken in double precision.
TEST(RowWorker, RoundsEachStepToSinglePrecisionInItsOrder) {
    struct Strip {
        int centerY, scaling;
        double amount;
        int firstRow;
    };
    Stage stage;
    Scene scene = SceneOf(kFormatArgb8, 30000, 1);
    scene.source.height = 64;
    scene.pixels = support::SourcePixels(scene);
    for (const Strip& strip : {Strip{20001, 2, 10, -2676}, Strip{-9000, 2, 37.25, 3606}, Strip{20001, 3, 25, -4964},
                               Strip{20001, 3, 10, -2009}}) {
        scene.center = Whole(11000, strip.centerY);
        scene.scaling = strip.scaling;
        scene.amount = strip.amount;
        scene.offsetY = strip.firstRow;
        ExpectAsModel(stage, scene);
    }
}

TEST(RowWorker, ReadsColumnAndRowZeroBetweenMinusOneAndZero) {
    Stage stage;
    Scene scene = FloatScene(8, 8, 50);
    scene.center = Whole(-3, 11);  // row -3, after the mirroring
    const Places places(stage, scene);
    // Halfway from -3: -1.5, -1, -0.5, 0, 0.5 …; the last two below zero truncate to 0.
    const int expected[] = {-1, -1, 0, 0, 0, 1, 1, 2};
    for (int i = 0; i < 8; ++i) {
        const Place both = expected[i] < 0 ? kOutside : Place{expected[i], expected[i]};
        EXPECT_EQ(places.At(i, i), both) << i;
    }
}

// ---- Views ----

// A scene whose left half has the alpha `inPlace`, and in which column 12 takes its enlarged sample, of alpha
// `enlarged`, from column 20.
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

// ---- Centre ----

TEST(RowWorker, ACentreOutsideTheFrameTakesTheDistanceToTheFarthestCorner) {
    Stage stage;
    // The centre (-20, 50) is 130 pixels from the corners (100, 0) and (100, 60), farther than the frame's
    // diagonal. Half of that is from (40, 25), where "square" takes half the amount: k = 2.
    Scene scene = FloatScene(100, 60, 100);
    scene.center = Whole(-20, 10);
    scene.scaling = 2;
    const Places places(stage, scene);
    EXPECT_EQ(places.At(40, 25), (Place{10, 37}));
}

TEST(RowWorker, CentreOnTheTopRowActsAsIfOnTheBottomEdge) {
    Stage stage;
    Scene scene = FloatScene(32, 24, 50);
    scene.center = Whole(16, 0);
    const Places top(stage, scene);
    scene.center = Whole(16, 24);
    const Places bottom(stage, scene);
    for (int y = 0; y < 24; ++y) {
        EXPECT_EQ(top.At(16, y), (Place{16, 12 + y / 2}));
        EXPECT_EQ(bottom.At(16, y), (Place{16, y / 2}));
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
                const Places places(stage, scene);
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
    EXPECT_EQ(Places(stage, scene).At(2, 8), kOutside);
    EXPECT_EQ(Places(stage, scene).At(14, 8), (Place{1, 8}));

    scene.center = Whole(8, 8);
    scene.offsetX = 6;
    EXPECT_EQ(Places(stage, scene).At(2, 8), kOutside);  // column 5, less 6
    EXPECT_EQ(Places(stage, scene).At(4, 8), (Place{0, 8}));

    // The sample in place leaves the source as well: green and blue go, red, from column 6, stays.
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

// ---- Source offsets ----

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

// What does not fit an integer becomes the least one; an offset as low takes it back into the source.
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

// ---- Resolution ----

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
    const Places places(stage, scene);  // about row 20 - 4
    for (int y = 16; y < 40; ++y)
        EXPECT_EQ(places.At(8, y), (Place{8, 16 + (y - 16) / 2}));
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

// ---- Sizes ----

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
