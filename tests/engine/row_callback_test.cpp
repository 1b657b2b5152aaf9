// The callbacks that convert one row for the host's iteration, and the pixel formats that choose them.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "engine/conversion_callbacks.h"
#include "support/support.h"

namespace {

constexpr PF_Err kStopped = 517;

struct ConversionCallback {
    const char* name;
    PF_IterateRowFunc convert;
    int sourceBytes;  // of a pixel
    int destinationBytes;
};

constexpr ConversionCallback kCallbacks[] = {
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

// What the fake host below was asked.
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

// Three rows of four pixels each. The source is all zero, the destination all 0xEE, and 5 bytes lie between rows.
class RowCallback : public testing::TestWithParam<ConversionCallback> {
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

    // The expected destination if only `row` was converted. A negative `row` means none.
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
        EXPECT_EQ(nuv::FindConversions(row.format ^ 0x20000000), nullptr);  // the last letter has the other case
    }
    EXPECT_EQ(nuv::FindConversions(0), nullptr);
    EXPECT_EQ(nuv::FindConversions(-1), nullptr);
}

}  // namespace
