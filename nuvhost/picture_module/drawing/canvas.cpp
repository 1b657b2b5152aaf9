#include "picture_module/drawing/canvas.h"

#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>

#include "picture_module/drawing/font.h"

namespace nuvhost {
namespace {

constexpr int kSamples = 8;  // samples along each side of a pixel

Canvas::Color Solid(const Rgb& color) {
    return [color](double, double) { return color; };
}

float Mix(float from, float to, float share) {
    return from + (to - from) * share;
}

std::byte ToByte(float value) {
    return static_cast<std::byte>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
}

}  // namespace

Canvas::Canvas(int pixelWidth, int pixelHeight, double unitWidth, double unitHeight)
    : width_(pixelWidth),
      height_(pixelHeight),
      scale_(std::min(pixelWidth / unitWidth, pixelHeight / unitHeight)),
      offsetX_((pixelWidth - unitWidth * scale_) / 2),
      offsetY_((pixelHeight - unitHeight * scale_) / 2),
      pixels_(static_cast<std::size_t>(pixelWidth) * static_cast<std::size_t>(pixelHeight)) {}

Box Canvas::frame() const {
    return {UnitX(0), UnitY(0), UnitX(width_), UnitY(height_)};
}

void Canvas::Fill(const Box& box, const Inside& inside, const Rgb& color) {
    const auto coverage = [&](int x, int y) {
        int covered = 0;
        for (int i = 0; i < kSamples * kSamples; ++i) {
            const int column = i % kSamples, row = i / kSamples;
            const double sampleX = UnitX(x + (column + 0.5) / kSamples);
            const double sampleY = UnitY(y + (row + 0.5) / kSamples);
            covered += sampleX >= box.left && sampleX < box.right && sampleY >= box.top && sampleY < box.bottom &&
                       inside(sampleX, sampleY);
        }
        return static_cast<double>(covered) / (kSamples * kSamples);
    };
    Paint(box, coverage, Solid(color));
}

void Canvas::Fill(const Box& box, const Color& color) {
    // How much of the interval from `at` to `at` + 1 lies between two edges.
    const auto overlap = [](int at, double from, double to) {
        return std::max(0.0, std::min(at + 1.0, to) - std::max<double>(at, from));
    };
    const auto coverage = [&](int x, int y) {
        return overlap(x, PixelX(box.left), PixelX(box.right)) * overlap(y, PixelY(box.top), PixelY(box.bottom));
    };
    Paint(box, coverage, color);
}

void Canvas::Fill(const Box& box, const Rgb& color) {
    Fill(box, Solid(color));
}

void Canvas::Disc(double x, double y, double radius, const Color& color) {
    const auto coverage = [&](int px, int py) {
        return std::clamp(0.5 + radius * scale_ - Distance(px, py, x, y), 0.0, 1.0);
    };
    const double reach = radius + 1 / scale_;
    Paint({x - reach, y - reach, x + reach, y + reach}, coverage, color);
}

void Canvas::Disc(double x, double y, double radius, const Rgb& color) {
    Disc(x, y, radius, Solid(color));
}

void Canvas::Ring(double x, double y, double radius, double thickness, const Rgb& color) {
    const double width = thickness * scale_;
    const auto coverage = [&](int px, int py) {
        const double fromLine = std::abs(Distance(px, py, x, y) - radius * scale_);
        return std::clamp((1 + width) / 2 - fromLine, 0.0, std::min(width, 1.0));
    };
    const double reach = radius + thickness + 1 / scale_;
    Paint({x - reach, y - reach, x + reach, y + reach}, coverage, Solid(color));
}

void Canvas::Paint(const Box& box, const Coverage& coverage, const Color& color) {
    const Area area = PixelsOf(box);
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            const auto share = static_cast<float>(coverage(x, y));
            if (share <= 0) continue;
            const Rgb paint = color(UnitX(x + 0.5), UnitY(y + 0.5));
            Pixel& pixel = At(x, y);
            pixel.red = Mix(pixel.red, paint.red, share);
            pixel.green = Mix(pixel.green, paint.green, share);
            pixel.blue = Mix(pixel.blue, paint.blue, share);
        }
    }
}

void Canvas::Fade(const Box& box, const Opacity& opacity) {
    const Area area = PixelsOf(box);
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            At(x, y).alpha *= static_cast<float>(opacity(UnitX(x + 0.5), UnitY(y + 0.5)));
        }
    }
}

void Canvas::Text(double x, double y, double size, const std::string& text, Align align, const Rgb& color) {
    const int pixels = static_cast<int>(std::lround(size * scale_));
    if (pixels < 4) return;  // letters this small cannot be read
    // The ImageBuf uses the canvas's own memory, so the text is drawn into the canvas.
    OIIO::ImageBuf picture(OIIO::ImageSpec(width_, height_, 4, OIIO::TypeDesc::FLOAT), pixels_.data());
    using OIIO::ImageBufAlgo::TextAlignX;
    constexpr TextAlignX kAlign[] = {TextAlignX::Left, TextAlignX::Center, TextAlignX::Right};
    OIIO::ImageBufAlgo::render_text(
        picture, static_cast<int>(std::lround(PixelX(x))), static_cast<int>(std::lround(PixelY(y))), text, pixels,
        FontName(), {color.red, color.green, color.blue, 1.0F}, kAlign[static_cast<std::size_t>(align)]);
}

Picture Canvas::Finish() const {
    Picture picture{width_, height_, Depth::bits8, {}};
    picture.pixels.reserve(picture.pixelCount() * picture.bytesPerPixel());
    for (const Pixel& pixel : pixels_) {
        for (const float channel : {pixel.red, pixel.green, pixel.blue, pixel.alpha}) {
            picture.pixels.push_back(ToByte(channel));
        }
    }
    return picture;
}

Canvas::Area Canvas::PixelsOf(const Box& box) const {
    const auto clip = [](double pixel, int end) {
        return static_cast<int>(std::clamp(pixel, 0.0, static_cast<double>(end)));
    };
    return {clip(std::floor(PixelX(box.left)), width_), clip(std::floor(PixelY(box.top)), height_),
            clip(std::ceil(PixelX(box.right)), width_), clip(std::ceil(PixelY(box.bottom)), height_)};
}

double Canvas::Distance(int pixelX, int pixelY, double x, double y) const {
    return std::hypot(pixelX + 0.5 - PixelX(x), pixelY + 0.5 - PixelY(y));
}

Canvas::Pixel& Canvas::At(int x, int y) {
    return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)];
}

}  // namespace nuvhost
