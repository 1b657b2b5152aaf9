// Values at the border between the host's pixel formats and the engine, seen through the plug-in.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "bytes_of.h"
#include "support/support.h"

namespace {

using namespace support;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
const float kNotANumber = std::numeric_limits<float>::quiet_NaN();

template <class T>
std::vector<T> ThroughThePlugin(Rgba pixel, PF_PixelFormat format) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgbFloat, 1, 1);
    scene.pixels = Paint(1, 1, [&](int, int) { return pixel; });
    scene.output.format = format;
    return As<T>(ExpectRenders(stage, scene));
}

TEST(Conversion, AFloatOfOnePointFiveComesOutAsOneAndANegativeOneAsZero) {
    EXPECT_EQ(ThroughThePlugin<float>({1.5f, -0.5f, 0.25f, 1.5f}, kFormatArgbFloat),
              (std::vector<float>{1.0f, 1.0f, 0.0f, 0.25f}));
    EXPECT_EQ(ThroughThePlugin<float>({1.5f, -0.5f, 0.25f, 1.5f}, kFormatBgraFloat),
              (std::vector<float>{0.25f, 0.0f, 1.0f, 1.0f}));
    EXPECT_EQ(ThroughThePlugin<float>({1.5f, -0.5f, 0.25f, -2.0f}, kFormatArgbFloat),
              (std::vector<float>{0.0f, 1.0f, 0.0f, 0.25f}));
}

TEST(Conversion, InfiniteComesOutAsOneOrZeroAndNotANumberAsZero) {
    EXPECT_EQ(ThroughThePlugin<float>({kInfinity, -kInfinity, kNotANumber, 1}, kFormatArgbFloat),
              (std::vector<float>{1.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>({kInfinity, -kInfinity, kNotANumber, 1}, kFormatArgb8),
              (std::vector<std::uint8_t>{255, 255, 0, 0}));
    EXPECT_EQ(ThroughThePlugin<std::uint16_t>({kInfinity, -kInfinity, kNotANumber, 1}, kFormatArgb16),
              (std::vector<std::uint16_t>{32768, 32768, 0, 0}));
}

TEST(Conversion, MinusZeroAndDenormalsComeOutOfAFloatWorldAsTheyAre) {
    constexpr float kLeast = std::numeric_limits<float>::denorm_min();
    const auto out = ThroughThePlugin<float>({-0.0f, kLeast, 0, 1}, kFormatArgbFloat);
    EXPECT_EQ(out, (std::vector<float>{1.0f, -0.0f, kLeast, 0}));
    EXPECT_TRUE(std::signbit(out[1]));
}

TEST(Conversion, AResultOfOneHalfBecomes128And16384) {
    const Rgba half{0.5f, 0.5f, 0.5f, 0.5f};
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>(half, kFormatArgb8), (std::vector<std::uint8_t>(4, 128)));
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>(half, kFormatBgra8), (std::vector<std::uint8_t>(4, 128)));
    EXPECT_EQ(ThroughThePlugin<std::uint16_t>(half, kFormatArgb16), (std::vector<std::uint16_t>(4, 16384)));
}

TEST(Conversion, AResultOfExactlyOneBecomes32768And255) {
    const Rgba white{1, 1, 1, 1};
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>(white, kFormatArgb8), (std::vector<std::uint8_t>(4, 255)));
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>(white, kFormatBgra8), (std::vector<std::uint8_t>(4, 255)));
    EXPECT_EQ(ThroughThePlugin<std::uint16_t>(white, kFormatArgb16), (std::vector<std::uint16_t>(4, 32768)));
}

TEST(Conversion, RoundsToTheNearestByteAndWord) {
    // 0.25 is 63.75 of 255, 0.375 is 95.625, and 10.25 / 32768 is nearer to 10 than to 11.
    EXPECT_EQ(ThroughThePlugin<std::uint8_t>({0.25f, 0.375f, 0.001f, 1}, kFormatArgb8),
              (std::vector<std::uint8_t>{255, 64, 96, 0}));
    EXPECT_EQ(ThroughThePlugin<std::uint16_t>({10.25f / 32768, 10.5f / 32768, 10.75f / 32768, 1}, kFormatArgb16),
              (std::vector<std::uint16_t>{32768, 10, 11, 11}));
}

// The seven floats closest to each value that lies halfway between two bytes, or two words.
TEST(Conversion, RoundsInSinglePrecisionAboutEveryHalfway) {
    Stage stage;
    for (const auto& [format, white] :
         {std::pair{kFormatArgb8, 255}, {kFormatBgra8, 255}, {kFormatArgb16, 32768}}) {
        Scene scene = SceneOf(kFormatArgbFloat, 7, 255);
        scene.output.format = format;
        const int apart = white / 255;
        scene.pixels = Paint(7, 255, [white = white, apart](int x, int y) {
            float value = (static_cast<float>(y * apart) + 0.5f) / static_cast<float>(white);
            for (int step = 0; step < std::abs(x - 3); ++step)
                value = std::nextafter(value, x < 3 ? 0.0f : 1.0f);
            return Rgba{value, value, value, 1};
        });
        support::ExpectAsModel(stage, scene);
    }
}

TEST(Conversion, A16BitSourceValueOf32768BecomesExactlyOne) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgb16, 1, 1);
    scene.output.format = kFormatArgbFloat;
    scene.pixels = Bytes<std::uint16_t>({32768, 32768, 1, 16384});
    EXPECT_EQ(As<float>(ExpectRenders(stage, scene)), (std::vector<float>{1.0f, 1.0f, 0x1p-15f, 0.5f}));
}

TEST(Conversion, A16BitSourceValueAbove32768IsPassedOnAboveOneAndClampedOnTheWayOut) {
    Stage stage;
    // Column 0 takes its enlarged sample from column 2. Alpha is 1.5 in place and 1.25 there.
    Scene scene = SceneOf(kFormatArgb16, 4, 1);
    scene.output.format = kFormatArgbFloat;
    scene.center = support::Whole(4, 1);
    scene.amount = 50;
    const std::vector<std::uint16_t> inPlace = {49152, 49152, 49152, 49152};
    const std::vector<std::uint16_t> enlarged = {40960, 40960, 40960, 40960};
    std::vector<std::uint16_t> row;
    for (const auto* pixel : {&inPlace, &inPlace, &enlarged, &enlarged})
        row.insert(row.end(), pixel->begin(), pixel->end());
    scene.pixels = Bytes(row);

    EXPECT_EQ(ReadFloats(ExpectRenders(stage, scene))[0], (Rgba{1, 1, 1, 1}));
    scene.show = 2;
    EXPECT_EQ(ReadFloats(ExpectRenders(stage, scene))[0], (Rgba{1, 1, 1, 0.25f}));
}

TEST(Conversion, EveryByteSurvivesTheWayThroughTheEffect) {
    Stage stage;
    for (PF_PixelFormat format : {kFormatArgb8, kFormatBgra8}) {
        Scene scene = SceneOf(format, 256, 1);
        std::vector<std::uint8_t> row;
        for (int value = 0; value < 256; ++value)
            for (int channel = 0; channel < 4; ++channel) {
                const bool alpha = channel == (format == kFormatArgb8 ? 0 : 3);
                row.push_back(static_cast<std::uint8_t>(alpha ? 255 : value));
            }
        scene.pixels = Bytes(row);
        EXPECT_EQ(ExpectRenders(stage, scene), scene.pixels);
    }
}

TEST(Conversion, EveryWordUpToWhiteSurvivesTheWayThroughTheEffectAndThoseAboveBecomeWhite) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgb16, 256, 256);
    std::vector<std::uint16_t> source, expected;
    for (std::uint32_t value = 0; value < 65536; ++value) {
        const auto word = static_cast<std::uint16_t>(value);
        const auto clamped = static_cast<std::uint16_t>(std::min(value, 32768u));
        source.insert(source.end(), {32768, word, word, word});
        expected.insert(expected.end(), {32768, clamped, clamped, clamped});
    }
    scene.pixels = Bytes(source);
    support::ExpectSamePixels(Bytes(expected), ExpectRenders(stage, scene), scene.output);
}

}  // namespace
