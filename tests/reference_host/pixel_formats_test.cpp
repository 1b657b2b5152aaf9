// The table of pixel formats.
#include "reference_host/pixel_formats.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace refhost {
namespace {

TEST(PixelFormats, TellTheBytesOfAPixel) {
    EXPECT_EQ(BytesPerPixel(kFormatBgra8), 4);
    EXPECT_EQ(BytesPerPixel(kFormatArgb16), 8);
    EXPECT_EQ(BytesPerPixel(kFormatBgraFloatLinear), 16);
    EXPECT_EQ(BytesPerPixel(0x12345678), 0);
}

TEST(PixelFormats, ThatNoHostHasAreAnErrorWhereOneIsNeeded) {
    EXPECT_EQ(FindFormat(0x12345678), nullptr);
    EXPECT_THROW(FormatOf(0x12345678), std::invalid_argument);
}

TEST(PixelFormats, AreFoundByHostAndDepth) {
    EXPECT_EQ(FindFormatOfDepth(Personality::compositor, 8)->code, kFormatArgb8);
    EXPECT_EQ(FindFormatOfDepth(Personality::compositor, 16)->code, kFormatArgb16);
    EXPECT_EQ(FindFormatOfDepth(Personality::compositor, 32)->code, kFormatArgbFloat);
    EXPECT_EQ(FindFormatOfDepth(Personality::editor, 8)->code, kFormatBgra8);
    EXPECT_EQ(FindFormatOfDepth(Personality::editor, 16), nullptr);
    EXPECT_EQ(FindFormatOfDepth(Personality::editor, 32)->code, kFormatBgraFloat);
}

}  // namespace
}  // namespace refhost
