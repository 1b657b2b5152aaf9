// Where enlarged samples are taken, by amount and scaling. Where a test does not compare with the model, its
// numbers were worked out by hand, with coordinates for which every step is exact. k is the enlargement at a pixel.
#include <gtest/gtest.h>

#include <algorithm>

#include "float_scene.h"
#include "support/support.h"

namespace {

using namespace support;

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
    const SamplePlaces places(stage, scene);
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x)
            EXPECT_EQ(places.At(x, y), (SamplePlace{16 + x / 2, 12 + y / 2}));
    }
}

TEST(RowWorker, LinearScalingDisplacesInProportionToTheDistance) {
    Stage stage;
    // An amount of 150 gives k = 4, which has an exact inverse.
    Scene scene = FloatScene(129, 129, 150);
    scene.center = Whole(64, 65);  // row 64, after the mirroring
    const SamplePlaces four(stage, scene);
    for (int distance = -64; distance <= 64; distance += 4) {
        EXPECT_EQ(four.At(64 + distance, 64), (SamplePlace{64 + distance / 4, 64}));
        EXPECT_EQ(four.At(64, 64 + distance), (SamplePlace{64, 64 + distance / 4}));
        EXPECT_EQ(four.At(64 + distance, 64 + distance), (SamplePlace{64 + distance / 4, 64 + distance / 4}));
    }
}

// The farthest corner, (0, 0), is 100 pixels from the centre (60, 80). At half that distance "square" takes half
// the amount, and "cubic" a quarter.
Scene HundredPixelRadius(int scaling, double amount) {
    Scene scene = FloatScene(100, 100, amount);
    scene.center = Whole(60, 20);
    scene.scaling = scaling;
    return scene;
}

TEST(RowWorker, SquareScalingLeavesTheCentreAndEnlargesTheFarthestCornerFully) {
    Stage stage;
    const SamplePlaces fifty(stage, HundredPixelRadius(2, 50));
    EXPECT_EQ(fifty.At(60, 80), (SamplePlace{60, 80}));
    EXPECT_EQ(fifty.At(0, 0), (SamplePlace{30, 40}));  // k = 2

    const SamplePlaces hundred(stage, HundredPixelRadius(2, 100));
    EXPECT_EQ(hundred.At(60, 80), (SamplePlace{60, 80}));
    EXPECT_EQ(hundred.At(30, 40), (SamplePlace{45, 60}));  // half the radius: k = 2
    EXPECT_EQ(hundred.At(0, 0).row, 53);                   // k = 3: a third of 80 above the centre
}

TEST(RowWorker, CubicScalingGrowsWithTheSquareOfTheRelativeDistance) {
    Stage stage;
    const SamplePlaces hundred(stage, HundredPixelRadius(3, 100));
    EXPECT_EQ(hundred.At(60, 80), (SamplePlace{60, 80}));
    EXPECT_EQ(hundred.At(20, 50).column, 33);  // half the radius: k = 1.5
    EXPECT_EQ(hundred.At(12, 66).row, 70);
    EXPECT_EQ(hundred.At(0, 0).row, 53);  // k = 3

    const SamplePlaces twoHundred(stage, HundredPixelRadius(3, 200));
    EXPECT_EQ(twoHundred.At(30, 40), (SamplePlace{45, 60}));  // a quarter of 200: k = 2
}

// The source column of each colour of one output pixel.
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
    // The centre is at column 0, and the layer lies 3 columns to the left. The point at 0.5 first becomes column 0,
    // and then source column 3.
    Scene scene = FloatScene(16, 4, 50);
    scene.center = Whole(0, 2);
    scene.offsetX = -3;
    const SamplePlaces places(stage, scene);
    for (int x = 0; x < 16; ++x)
        EXPECT_EQ(places.At(x, 0).column, x / 2 + 3) << x;

    // Left of column 0, truncation goes to the right: -0.5 becomes 0 and -1.5 becomes -1, which are the source
    // columns 3 and 2.
    scene.center = Whole(-4, 2);
    const SamplePlaces negative(stage, scene);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(negative.At(x, 0).column, (x - 4) / 2 + 3) << x;
}

// Far from the centre, the last bit of a step decides which pixel is read. Each of these strips holds pixels that
// change when steps are contracted, reordered or computed in double precision.
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
    const SamplePlaces places(stage, scene);
    // The points halfway from -3 are -1.5, -1, -0.5, 0, 0.5 …; -1.5 truncates to -1, which is outside, and -0.5 to
    // 0.
    const int expected[] = {-1, -1, 0, 0, 0, 1, 1, 2};
    for (int i = 0; i < 8; ++i) {
        const SamplePlace both = expected[i] < 0 ? kOutside : SamplePlace{expected[i], expected[i]};
        EXPECT_EQ(places.At(i, i), both) << i;
    }
}

}  // namespace
