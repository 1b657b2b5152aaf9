// The scalar row conversions, which define the result of all others.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/bytes_of.h"
#include "engine/kernels/row_kernels.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

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

    // Values are multiplied first and then clamped.
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

}  // namespace
