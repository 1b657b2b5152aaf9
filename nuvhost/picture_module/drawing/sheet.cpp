#include "picture_module/drawing/sheet.h"

#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <stdexcept>

#include "picture_module/drawing/font.h"
#include "picture_module/drawing/scaled.h"

namespace nuvhost {
namespace {

using OIIO::ImageBuf;
using OIIO::ImageSpec;
using OIIO::ROI;
using OIIO::TypeDesc;
namespace algo = OIIO::ImageBufAlgo;

using Color = std::array<float, 3>;
constexpr Color kBackground{0.11F, 0.11F, 0.12F};
constexpr Color kTitle{0.95F, 0.95F, 0.95F};
constexpr Color kLabel{0.78F, 0.78F, 0.80F};

constexpr int kMargin = 24, kGap = 16, kTitleHeight = 72, kLabelHeight = 28;
constexpr int kCheck = 8;              // side of one square
constexpr double kMostPixels = 250e6;  // a page takes 16 bytes for each pixel while it is drawn

int Rows() {
    return static_cast<int>(kModes.size()) * 2;
}

// Writes a word as the effect's menu does: "Red-Cyan" for "red-cyan".
std::string Capitalized(std::string_view word) {
    std::string text(word);
    bool first = true;
    for (char& letter : text) {
        if (first && letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
        first = letter == '-';
    }
    return text;
}

std::string Signed(double number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    std::string sign = number > 0 ? "+" : "";
    return sign.append(text.data(), end);
}

// The text renderer takes one byte for each letter. A letter of several bytes becomes one question mark.
std::string Ascii(const std::string& text) {
    std::string plain;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool continues = (byte & 0xC0) == 0x80;
        if (!continues) plain += byte < 0x80 ? letter : '?';
    }
    return plain;
}

void Write(ImageBuf& sheet, int x, int y, int size, const std::string& text, const Color& color) {
    algo::render_text(sheet, x, y, Ascii(text), size, FontName(), {color[0], color[1], color[2], 1.0F});
}

// Puts a tile over a checkerboard, like a layer in a composition. Its colour is multiplied by alpha.
void Place(ImageBuf& sheet, const ImageBuf& small, const ROI& place) {
    ImageBuf::ConstIterator<float> from(small);
    for (ImageBuf::Iterator<float> to(sheet, place); !to.done(); ++to, ++from) {
        const bool light = ((to.x() - place.xbegin) / kCheck + (to.y() - place.ybegin) / kCheck) % 2 == 0;
        const float under = (light ? 0.75F : 0.55F) * (1 - std::clamp<float>(from[3], 0, 1));
        for (int i = 0; i < 3; ++i)
            to[i] = from[i] + under;
    }
}

}  // namespace

PictureFile DrawSheet(const PictureFile& source, EffectRunner& effect, const SheetSettings& settings,
                      Progress& progress) {
    const Picture& picture = source.picture;
    const std::string name = settings.input.filename().string();
    const double amount = std::abs(settings.amount);
    const int columns = static_cast<int>(kScalings.size());
    const int tileWidth = settings.tileWidth;
    const double scaledHeight = static_cast<double>(tileWidth) * picture.height / picture.width;
    if (columns * Rows() * scaledHeight * tileWidth > kMostPixels) {
        throw std::runtime_error(name + ": at --tile-width " + std::to_string(tileWidth) +
                                 " its tiles are too high for a page");
    }
    const int tileHeight = std::max(1, static_cast<int>(std::lround(scaledHeight)));
    const int stepX = tileWidth + kGap, stepY = kLabelHeight + tileHeight + kGap;
    const int width = 2 * kMargin + columns * stepX - kGap;
    const int height = 2 * kMargin + kTitleHeight + Rows() * stepY - kGap;

    ImageBuf sheet(ImageSpec(width, height, 4, TypeDesc::FLOAT));
    algo::fill(sheet, {kBackground[0], kBackground[1], kBackground[2], 1.0F});
    Write(sheet, kMargin, kMargin + 24, 26, "NUV Chromatic Aberration", kTitle);
    const std::string about = name + ", " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                              ", show " + std::string(kShows[static_cast<std::size_t>(settings.show - 1)]);
    Write(sheet, kMargin, kMargin + 50, 16, about, kLabel);

    const bool linear = source.spec.get_string_attribute("oiio:ColorSpace") == "Linear";
    for (int row = 0; row < Rows(); ++row) {
        for (int column = 0; column < columns; ++column) {
            EffectSettings tile;
            tile.center = settings.center;
            tile.mode = row / 2 + 1;
            tile.scaling = column + 1;
            tile.amount = row % 2 == 0 ? amount : -amount;
            tile.show = settings.show;

            const int x = kMargin + column * stepX;
            const int y = kMargin + kTitleHeight + row * stepY;
            const std::string label = Capitalized(kModes[static_cast<std::size_t>(row / 2)]) + "   " +
                                      std::string(kScalings[static_cast<std::size_t>(column)]) + "   " +
                                      Signed(tile.amount);
            Write(sheet, x, y + kLabelHeight - 9, 16, label, kLabel);
            Picture rendered = picture;
            effect.Render(rendered, FrameOf(source), tile, RenderPath::smart);
            Place(sheet, Scaled(rendered, linear, tileWidth, tileHeight),
                  ROI(x, x + tileWidth, y + kLabelHeight, y + kLabelHeight + tileHeight, 0, 1, 0, 4));
            progress.Done({}, {});
        }
    }

    PictureFile result;
    result.picture = {width, height, Depth::bits8, {}};
    result.picture.pixels.resize(result.picture.pixelCount() * result.picture.bytesPerPixel());
    sheet.get_pixels(sheet.roi(), TypeDesc::UINT8, result.picture.pixels.data());
    result.spec = ImageSpec(width, height, 3, TypeDesc::UINT8);
    result.layer = DataWindow(result.spec);
    return result;
}

}  // namespace nuvhost
