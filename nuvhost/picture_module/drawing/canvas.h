// Anti-aliased drawing into a picture, for the test chart.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "picture/picture.h"

namespace nuvhost {

struct Rgb {
    float red = 0, green = 0, blue = 0;  // 0 to 1, as displayed
};
inline constexpr Rgb kBlack{};
inline constexpr Rgb kWhite{1, 1, 1};
constexpr Rgb Grey(float value) {
    return {value, value, value};
}

// In the units of the drawing. The edges `right` and `bottom` do not belong to the box.
struct Box {
    double left, top, right, bottom;
};

// A drawing of width × height units, centred in a picture of any size and as large as the picture allows. If the
// picture has another shape, there is room beyond the drawing's edges, which can be drawn on, too.
class Canvas {
public:
    Canvas(int pixelWidth, int pixelHeight, double unitWidth, double unitHeight);

    // The whole picture.
    Box frame() const;

    using Inside = std::function<bool(double x, double y)>;
    using Color = std::function<Rgb(double x, double y)>;
    using Opacity = std::function<double(double x, double y)>;  // 0 to 1

    // Paints the points for which `inside` is true. `inside` is called only for points in `box`, 8 × 8 for each
    // pixel.
    void Fill(const Box& box, const Inside& inside, const Rgb& color);
    void Fill(const Box& box, const Color& color);
    void Fill(const Box& box, const Rgb& color);
    void Disc(double x, double y, double radius, const Color& color);
    void Disc(double x, double y, double radius, const Rgb& color);
    void Ring(double x, double y, double radius, double thickness, const Rgb& color);
    // Multiplies the alpha of the pixels in the box.
    void Fade(const Box& box, const Opacity& opacity);

    enum class Align { left, center, right };
    // `size` is the size of the letters in units, and y is the baseline. Throws std::runtime_error if there is no
    // font.
    void Text(double x, double y, double size, const std::string& text, Align align, const Rgb& color = kBlack);

    Picture Finish() const;  // 8 bits, straight alpha

private:
    struct Pixel {
        float red = 1, green = 1, blue = 1, alpha = 1;
    };
    struct Area {
        int left, top, right, bottom;
    };
    // The share of a pixel that is painted, 0 to 1.
    using Coverage = std::function<double(int x, int y)>;
    void Paint(const Box& box, const Coverage& coverage, const Color& color);
    Area PixelsOf(const Box& box) const;
    // The distance from a pixel's middle to a point. The point is in units, the result is in pixels.
    double Distance(int pixelX, int pixelY, double x, double y) const;
    Pixel& At(int x, int y);
    double UnitX(double pixel) const { return (pixel - offsetX_) / scale_; }
    double UnitY(double pixel) const { return (pixel - offsetY_) / scale_; }
    double PixelX(double unit) const { return unit * scale_ + offsetX_; }
    double PixelY(double unit) const { return unit * scale_ + offsetY_; }

    int width_, height_;
    double scale_, offsetX_, offsetY_;
    std::vector<Pixel> pixels_;
};

}  // namespace nuvhost
