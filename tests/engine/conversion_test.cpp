// The border between the host's pixel formats and the engine: values, order of channels, iteration and abort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "engine/conversion_callbacks.h"
#include "support/support.h"

namespace {

using support::ExpectRenders;
using support::Paint;
using support::ReadFloats;
using support::Rgba;
using support::Scene;
using support::SceneOf;
using support::Stage;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
const float kNotANumber = std::numeric_limits<float>::quiet_NaN();

template <class T>
std::vector<T> As(std::span<const std::byte> bytes) {
    std::vector<T> values(bytes.size() / sizeof(T));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
    return values;
}

template <class T>
std::vector<std::byte> Bytes(const std::vector<T>& values) {
    std::vector<std::byte> bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

// ---- Through the plug-in: one pixel, amount 0 ----

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

// The seven floats around each value that lies halfway between two bytes, or two words.
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
    // Column 0 takes its enlarged sample from column 2: alpha 1.5 in place, 1.25 enlarged.
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

// ---- Abort ----

constexpr PF_Err kStopped = 517;

// The host answers its n-th question (from 0) whether to go on with "stop".
refhost::FaultPlan StopAt(std::int64_t n) {
    return [n](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::abort && call.index == n) return kStopped;
        return std::nullopt;
    };
}

Scene FiveRows() {
    Scene scene = SceneOf(kFormatArgb8, 6, 5);
    scene.amount = 20;
    return scene;
}

std::vector<std::byte> Untouched(const Scene& scene) {
    return std::vector<std::byte>(support::Expected(scene).size(), std::byte{refhost::World::kPoison});
}

TEST(Abort, IsAskedForOnceForEachRowOfEachPassOnTheFirstThreadAndOnceBetweenThem) {
    refhost::HostOptions options;
    options.iterationThreads = 1;
    Stage stage(options);
    EXPECT_EQ(stage.Render(FiveRows()).code, PF_Err_NONE);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 5 + 1 + 5);
}

TEST(Abort, IsNotAskedForByTheRowsOfAHostWithoutGenericIteration) {
    refhost::HostOptions options;
    options.genericIteration = false;
    Stage stage(options);
    EXPECT_EQ(stage.Render(FiveRows()).code, PF_Err_NONE);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 1);
}

TEST(Abort, OnTheWayInOrBeforeTheWorkLeavesTheOutputUntouched) {
    for (std::int64_t n = 0; n <= 5; ++n) {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        options.faults = StopAt(n);
        Stage stage(options);
        const support::Outcome outcome = stage.Render(FiveRows());
        EXPECT_EQ(outcome.code, kStopped) << n;
        EXPECT_EQ(outcome.pixels, Untouched(FiveRows())) << n;
        EXPECT_EQ(outcome.complaints, std::vector<std::string>{}) << n;
        EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), n + 1);
    }
}

TEST(Abort, OnTheWayOutStillWritesTheRowInProgress) {
    constexpr std::size_t rowBytes = 24;
    for (std::int64_t row = 0; row < 5; ++row) {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        options.faults = StopAt(6 + row);
        Stage stage(options);
        const support::Outcome outcome = stage.Render(FiveRows());
        EXPECT_EQ(outcome.code, kStopped) << row;
        EXPECT_EQ(outcome.complaints, std::vector<std::string>{}) << row;

        std::vector<std::byte> expected = Untouched(FiveRows());
        const auto whole = support::Expected(FiveRows());
        std::copy_n(whole.begin(), static_cast<std::size_t>(row + 1) * rowBytes, expected.begin());
        support::ExpectSamePixels(expected, outcome.pixels, FiveRows().output);
    }
}

// ---- Row callbacks ----

struct Callback {
    const char* name;
    PF_IterateRowFunc convert;
    int sourceBytes;  // of a pixel
    int destinationBytes;
};

constexpr Callback kCallbacks[] = {
    {"CopyArgb8ToRgba8", nuv::CopyArgb8ToRgba8, 4, 4},
    {"CopyBgra8ToRgba8", nuv::CopyBgra8ToRgba8, 4, 4},
    {"ConvertArgb16ToRgbaF", nuv::ConvertArgb16ToRgbaF, 8, 16},
    {"ConvertArgbFToRgbaF", nuv::ConvertArgbFToRgbaF, 16, 16},
    {"ConvertBgraFToRgbaF", nuv::ConvertBgraFToRgbaF, 16, 16},
    {"ConvertRgbaFToArgb8", nuv::ConvertRgbaFToArgb8, 16, 4},
    {"ConvertRgbaFToBgra8", nuv::ConvertRgbaFToBgra8, 16, 4},
    {"ConvertRgbaFToArgb16", nuv::ConvertRgbaFToArgb16, 16, 8},
    {"ConvertRgbaFToArgbF", nuv::ConvertRgbaFToArgbF, 16, 16},
    {"ConvertRgbaFToBgraF", nuv::ConvertRgbaFToBgraF, 16, 16},
};

// What the stand-in for the host below was asked.
struct Asked {
    int aborts = 0;
    PF_ProgPtr ref = nullptr;
};
thread_local Asked asked;

PF_Err AnswerStop(PF_ProgPtr ref) {
    ++asked.aborts;
    asked.ref = ref;
    return kStopped;
}

// Three rows of four pixels each, of zero bytes in a destination of 0xEE, with 5 bytes between rows.
class RowCallback : public testing::TestWithParam<Callback> {
protected:
    static constexpr int kWidth = 4, kHeight = 3, kPadding = 5;
    static constexpr std::byte kOld{0xEE};

    RowCallback() {
        asked = {};
        inData.inter.abort = AnswerStop;
        inData.effect_ref = reinterpret_cast<PF_ProgPtr>(&inData);
        context.inData = &inData;
        Lay(context.source, GetParam().sourceBytes, source);
        Lay(context.destination, GetParam().destinationBytes, destination);
        std::fill(destination.begin(), destination.end(), kOld);
    }

    static void Lay(PF_EffectWorld& world, int pixelBytes, std::vector<std::byte>& memory) {
        world.width = kWidth;
        world.height = kHeight;
        world.rowbytes = kWidth * pixelBytes + kPadding;
        memory.resize(std::size_t{kHeight} * static_cast<std::size_t>(world.rowbytes));
        world.data = reinterpret_cast<PF_Pixel*>(memory.data());
    }

    // The destination as it should be if only `row` was converted; no row if it is negative.
    std::vector<std::byte> ConvertedOnly(int row) const {
        std::vector<std::byte> expected(destination.size(), kOld);
        const std::ptrdiff_t rowBytes = std::ptrdiff_t{kWidth} * GetParam().destinationBytes;
        if (row >= 0) std::fill_n(expected.begin() + row * (rowBytes + kPadding), rowBytes, std::byte{0});
        return expected;
    }

    PF_InData inData{};
    nuv::ConvertContext context;
    std::vector<std::byte> source, destination;
};

INSTANTIATE_TEST_SUITE_P(, RowCallback, testing::ValuesIn(kCallbacks),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(RowCallback, OnThreadZeroAsksTheHostAndConvertsTheRowEvenIfToldToStop) {
    EXPECT_EQ(GetParam().convert(&context, 0, 1, kHeight), kStopped);
    EXPECT_EQ(asked.aborts, 1);
    EXPECT_EQ(asked.ref, inData.effect_ref);
    EXPECT_EQ(destination, ConvertedOnly(1));
}

TEST_P(RowCallback, OnOtherThreadsConvertsWithoutAsking) {
    for (int thread : {1, 2, 31, -1}) {
        std::fill(destination.begin(), destination.end(), kOld);
        EXPECT_EQ(GetParam().convert(&context, thread, 2, kHeight), PF_Err_NONE);
        EXPECT_EQ(asked.aborts, 0);
        EXPECT_EQ(destination, ConvertedOnly(2));
    }
}

TEST_P(RowCallback, ConvertsNothingOfARowWithoutPixelsButAsksAllTheSame) {
    for (int width : {0, -1, std::numeric_limits<int>::min()}) {
        asked = {};
        context.source.width = width;
        EXPECT_EQ(GetParam().convert(&context, 0, 0, kHeight), kStopped);
        EXPECT_EQ(asked.aborts, 1);
        EXPECT_EQ(destination, ConvertedOnly(-1));
    }
}

TEST_P(RowCallback, FollowsANegativeStride) {
    const auto upsideDown = [](PF_EffectWorld& world) {
        world.data = reinterpret_cast<PF_Pixel*>(reinterpret_cast<std::byte*>(world.data) +
                                                 std::ptrdiff_t{2} * world.rowbytes);
        world.rowbytes = -world.rowbytes;
    };
    upsideDown(context.source);
    upsideDown(context.destination);
    EXPECT_EQ(GetParam().convert(&context, 1, 0, kHeight), PF_Err_NONE);
    EXPECT_EQ(destination, ConvertedOnly(2));
}

// ---- Kernels ----

template <class To, class From>
std::vector<To> Convert(nuv::RowConversion kernel, const std::vector<From>& from, float scale = 1.0f) {
    const std::vector<std::byte> source = Bytes(from);
    std::vector<std::byte> destination(from.size() * sizeof(To));
    kernel(source.data(), destination.data(), static_cast<std::int32_t>(from.size() / 4), scale);
    return As<To>(destination);
}

using Byte4 = std::vector<std::uint8_t>;
using Word4 = std::vector<std::uint16_t>;
using Float4 = std::vector<float>;

TEST(Kernel, PutsChannelsIntoTheirPlaces) {
    const nuv::RowKernels& k = nuv::kScalarKernels;
    EXPECT_EQ(Convert<std::uint8_t>(k.copyArgb8ToRgba8, Byte4{1, 2, 3, 4}), (Byte4{2, 3, 4, 1}));
    EXPECT_EQ(Convert<std::uint8_t>(k.copyBgra8ToRgba8, Byte4{1, 2, 3, 4}), (Byte4{3, 2, 1, 4}));
    EXPECT_EQ(Convert<float>(k.argb16ToRgbaF, Word4{8192, 16384, 32768, 65535}),
              (Float4{0.5f, 1.0f, 65535.0f / 32768, 0.25f}));
    EXPECT_EQ(Convert<float>(k.argbFToRgbaF, Float4{1, 2, -3, kInfinity}), (Float4{2, -3, kInfinity, 1}));
    EXPECT_EQ(Convert<float>(k.bgraFToRgbaF, Float4{1, 2, -3, kInfinity}), (Float4{-3, 2, 1, kInfinity}));

    const Float4 rgba{0.25f, 0.5f, 0.75f, 1.0f};
    EXPECT_EQ(Convert<std::uint8_t>(k.rgbaFToArgb8, rgba), (Byte4{255, 64, 128, 191}));
    EXPECT_EQ(Convert<std::uint8_t>(k.rgbaFToBgra8, rgba), (Byte4{191, 128, 64, 255}));
    EXPECT_EQ(Convert<std::uint16_t>(k.rgbaFToArgb16, rgba), (Word4{32768, 8192, 16384, 24576}));
    EXPECT_EQ(Convert<float>(k.rgbaFToArgbF, rgba), (Float4{1.0f, 0.25f, 0.5f, 0.75f}));
    EXPECT_EQ(Convert<float>(k.rgbaFToBgraF, rgba), (Float4{0.75f, 0.5f, 0.25f, 1.0f}));
}

TEST(Kernel, MultipliesByTheScaleExceptInPlainCopies) {
    const nuv::RowKernels& k = nuv::kScalarKernels;
    EXPECT_EQ(Convert<std::uint8_t>(k.copyArgb8ToRgba8, Byte4{1, 2, 3, 4}, 0.5f), (Byte4{2, 3, 4, 1}));
    EXPECT_EQ(Convert<std::uint8_t>(k.copyBgra8ToRgba8, Byte4{1, 2, 3, 4}, 0.5f), (Byte4{3, 2, 1, 4}));
    EXPECT_EQ(Convert<float>(k.argb16ToRgbaF, Word4{8192, 16384, 32768, 0}, 0.5f),
              (Float4{0.25f, 0.5f, 0, 0.125f}));
    EXPECT_EQ(Convert<float>(k.argbFToRgbaF, Float4{1, 2, 3, 4}, 0.5f), (Float4{1, 1.5f, 2, 0.5f}));
    EXPECT_EQ(Convert<float>(k.bgraFToRgbaF, Float4{1, 2, 3, 4}, 0.5f), (Float4{1.5f, 1, 0.5f, 2}));

    // Multiplied first, then clamped.
    for (const Float4& rgba : {Float4{0.5f, 1.0f, 2.0f, -1.0f}, Float4{2.0f, -1.0f, 0.5f, 1.0f},
                               Float4{1.0f, 2.0f, -1.0f, 0.5f}, Float4{-1.0f, 0.5f, 1.0f, 2.0f}}) {
        const Float4 half = Convert<float>(k.rgbaFToBgraF, rgba, 0.5f);
        for (std::size_t channel = 0; channel < 4; ++channel) {
            constexpr std::size_t kPlace[] = {2, 1, 0, 3};
            EXPECT_EQ(half[kPlace[channel]], std::max(rgba[channel] / 2, 0.0f));
        }
    }
    const Float4 rgba{0.5f, 1.0f, 2.0f, -1.0f};
    EXPECT_EQ(Convert<std::uint8_t>(k.rgbaFToArgb8, rgba, 0.5f), (Byte4{0, 64, 128, 255}));
    EXPECT_EQ(Convert<std::uint8_t>(k.rgbaFToBgra8, rgba, 0.5f), (Byte4{255, 128, 64, 0}));
    EXPECT_EQ(Convert<std::uint16_t>(k.rgbaFToArgb16, rgba, 0.5f), (Word4{0, 8192, 16384, 32768}));
    EXPECT_EQ(Convert<float>(k.rgbaFToArgbF, rgba, 0.5f), (Float4{0, 0.25f, 0.5f, 1}));
}

TEST(Kernel, Makes16BitValuesExact) {
    Word4 words;
    for (std::uint32_t value = 0; value < 65536; ++value)
        words.insert(words.end(), 4, static_cast<std::uint16_t>(value));
    const Float4 floats = Convert<float>(nuv::kScalarKernels.argb16ToRgbaF, words);
    for (std::uint32_t value = 0; value < 65536; ++value)
        ASSERT_EQ(static_cast<double>(floats[std::size_t{value} * 4]), value / 32768.0) << value;
}

TEST(Kernel, ClampsTheLeastStepBeyondTheRangeAndKeepsTheLeastStepWithin) {
    const float overOne = std::nextafter(1.0f, 2.0f), underOne = std::nextafter(1.0f, 0.0f);
    const float underZero = -std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(Convert<float>(nuv::kScalarKernels.rgbaFToBgraF, Float4{overOne, underOne, underZero, -0.0f}),
              (Float4{0.0f, underOne, 1.0f, 0.0f}));
}

// ---- Formats ----

TEST(Formats, OfTheTableHaveTheirConversionsAndNoOtherHasAny) {
    struct Row {
        PF_PixelFormat format;
        int workingBits;
        PF_IterateRowFunc in, out;
    };
    const Row rows[] = {
        {0x62677261, 8, nuv::CopyArgb8ToRgba8, nuv::ConvertRgbaFToArgb8},
        {0x61726762, 8, nuv::CopyBgra8ToRgba8, nuv::ConvertRgbaFToBgra8},
        {0x36316561, 32, nuv::ConvertArgb16ToRgbaF, nuv::ConvertRgbaFToArgb16},
        {0x32336561, 32, nuv::ConvertArgbFToRgbaF, nuv::ConvertRgbaFToArgbF},
        {0x61724742, 32, nuv::ConvertBgraFToRgbaF, nuv::ConvertRgbaFToBgraF},
        {0x4C614742, 32, nuv::ConvertBgraFToRgbaF, nuv::ConvertRgbaFToBgraF},
    };
    for (const Row& row : rows) {
        const nuv::FormatConversions* found = nuv::FindConversions(row.format);
        ASSERT_NE(found, nullptr) << support::FormatName(row.format);
        EXPECT_EQ(found->format, row.format);
        EXPECT_EQ(found->workingBits, row.workingBits);
        EXPECT_EQ(found->in, row.in);
        EXPECT_EQ(found->out, row.out);
        EXPECT_EQ(nuv::FindConversions(row.format + 1), nullptr);
        EXPECT_EQ(nuv::FindConversions(row.format ^ 0x20000000), nullptr);  // its last letter in the other case
    }
    EXPECT_EQ(nuv::FindConversions(0), nullptr);
    EXPECT_EQ(nuv::FindConversions(-1), nullptr);
}

// ---- Iteration without iterate_generic ----

// Notes what it was called with; fails at one row.
struct RowLog {
    struct Call {
        std::int32_t thread, row, iterations;
        bool operator==(const Call&) const = default;
    };
    std::vector<Call> calls;
    std::int32_t failAt = -1;
};
thread_local RowLog rowLog;

PF_Err NoteRow(void* context, std::int32_t thread, std::int32_t row, std::int32_t iterations) {
    EXPECT_NE(context, nullptr);
    rowLog.calls.push_back({thread, row, iterations});
    return row == rowLog.failAt ? 42 : PF_Err_NONE;
}

// A host's pixel iteration and scratch worlds.
struct Scratch {
    std::vector<std::string> calls;
    PF_Err newWorld = PF_Err_NONE;
    PF_Err iterate = PF_Err_NONE;  // instead of the rows' own result
    PF_EffectWorld* world = nullptr;
    PF_ProgPtr ref = nullptr;
    PF_InData* inData = nullptr;
};
thread_local Scratch scratch;

PF_Err MakeScratch(PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t flags,
                   PF_EffectWorld* world) {
    scratch.calls.push_back("new_world " + std::to_string(width) + " " + std::to_string(height) + " " +
                            std::to_string(flags));
    scratch.ref = ref;
    scratch.world = world;
    if (scratch.newWorld == PF_Err_NONE) {
        world->width = width;
        world->height = height;
    }
    return scratch.newWorld;
}

PF_Err DisposeScratch(PF_ProgPtr ref, PF_EffectWorld* world) {
    scratch.calls.push_back("dispose_world");
    EXPECT_EQ(world, scratch.world);
    EXPECT_EQ(ref, scratch.ref);
    return PF_Err_NONE;
}

PF_Err IterateScratch(PF_InData* inData, std::int32_t progressBase, std::int32_t progressFinal, PF_EffectWorld* src,
                      const PF_Rect* area, void* refcon, PF_IteratePixel8Func function, PF_EffectWorld* dst) {
    scratch.calls.push_back("iterate " + std::to_string(progressBase) + " " + std::to_string(progressFinal));
    EXPECT_EQ(inData, scratch.inData);
    EXPECT_EQ(src, scratch.world);
    EXPECT_EQ(dst, scratch.world);
    EXPECT_EQ(area, nullptr);
    for (std::int32_t y = src->height - 1; y >= 0; --y) {  // a host may take any order
        PF_Pixel pixel{};
        if (const PF_Err error = function(refcon, 0, y, &pixel, &pixel)) return error;
    }
    return scratch.iterate;
}

class Fallback : public testing::Test {
protected:
    Fallback() {
        rowLog = {};
        scratch = {};
        scratch.inData = &inData;
        utils.new_world = MakeScratch;
        utils.dispose_world = DisposeScratch;
        suite.iterate = IterateScratch;
        inData.utils = &utils;
        inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
        context.inData = &inData;
    }

    PF_UtilCallbacks utils{};
    PF_Iterate8Suite1 suite{};
    PF_InData inData{};
    nuv::ConvertContext context;
};

using Calls = std::vector<RowLog::Call>;

TEST_F(Fallback, WithoutASuiteTakesTheRowsInOrderAsThreadZero) {
    EXPECT_EQ(nuv::IterateRowsFallback(4, context, NoteRow), PF_Err_NONE);
    EXPECT_EQ(rowLog.calls, (Calls{{0, 0, 4}, {0, 1, 4}, {0, 2, 4}, {0, 3, 4}}));
    EXPECT_TRUE(scratch.calls.empty());
}

TEST_F(Fallback, WithoutASuiteStopsAtTheFirstFailureAndReturnsIt) {
    rowLog.failAt = 2;
    EXPECT_EQ(nuv::IterateRowsFallback(5, context, NoteRow), 42);
    EXPECT_EQ(rowLog.calls, (Calls{{0, 0, 5}, {0, 1, 5}, {0, 2, 5}}));
}

TEST_F(Fallback, WithoutASuiteAndWithoutRowsDoesNothing) {
    for (int iterations : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(nuv::IterateRowsFallback(iterations, context, NoteRow), PF_Err_NONE);
        EXPECT_TRUE(rowLog.calls.empty());
    }
}

TEST_F(Fallback, WithASuiteSendsTheRowsThroughAScratchColumnAsThreadOne) {
    context.iterateSuite = &suite;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), PF_Err_NONE);
    EXPECT_EQ(rowLog.calls, (Calls{{1, 2, 3}, {1, 1, 3}, {1, 0, 3}}));
    EXPECT_EQ(scratch.calls, (std::vector<std::string>{"new_world 1 3 0", "iterate 0 3", "dispose_world"}));
    EXPECT_EQ(scratch.ref, inData.effect_ref);
}

TEST_F(Fallback, WithASuiteReturnsWhatTheHostsIterationReturnsAndDisposesOfTheScratchWorld) {
    context.iterateSuite = &suite;
    rowLog.failAt = 1;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), 42);
    EXPECT_EQ(rowLog.calls.size(), 2u);
    EXPECT_EQ(scratch.calls.back(), "dispose_world");

    rowLog = {};
    scratch.iterate = kStopped;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), kStopped);
    EXPECT_EQ(scratch.calls.back(), "dispose_world");
}

TEST_F(Fallback, WithoutAScratchWorldCallsNothingAndReturnsTheHostsCode) {
    context.iterateSuite = &suite;
    scratch.newWorld = PF_Err_OUT_OF_MEMORY;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(rowLog.calls.empty());
    EXPECT_EQ(scratch.calls, (std::vector<std::string>{"new_world 1 3 0"}));
}

}  // namespace
