#include "picture_module/drawing/chart.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "picture_module/drawing/canvas.h"

namespace nuvhost {
namespace {

// Units of the drawing; at 960 × 540 one unit is one pixel.
constexpr double kWidth = 960, kHeight = 540, kCell = 60;
constexpr double kMiddleX = kWidth / 2, kMiddleY = kHeight / 2;

using Align = Canvas::Align;

constexpr Rgb kGridLine = Grey(0.80F);

void Cross(Canvas& canvas, double x, double y, double arm, double thickness) {
    canvas.Fill({x - arm, y - thickness / 2, x + arm, y + thickness / 2}, kBlack);
    canvas.Fill({x - thickness / 2, y - arm, x + thickness / 2, y + arm}, kBlack);
}

void Grid(Canvas& canvas) {
    const Box frame = canvas.frame();
    for (double x = kCell * std::ceil(frame.left / kCell); x <= frame.right; x += kCell) {
        canvas.Fill({x - 0.5, frame.top, x + 0.5, frame.bottom}, kGridLine);
    }
    for (double y = kCell / 2 + kCell * std::ceil(frame.top / kCell - 1); y <= frame.bottom; y += kCell) {
        canvas.Fill({frame.left, y - 0.5, frame.right, y + 0.5}, kGridLine);
    }
    for (const double radius : {190.0, 260.0, 400.0, 540.0}) {
        canvas.Ring(kMiddleX, kMiddleY, radius, 1.5, Grey(0.45F));
    }
}

void Corners(Canvas& canvas) {
    const Box frame = canvas.frame();
    constexpr double kInset = 36;
    for (const double x : {frame.left + kInset, frame.right - kInset}) {
        for (const double y : {frame.top + kInset, frame.bottom - kInset}) {
            canvas.Disc(x, y, 24, kWhite);
            canvas.Ring(x, y, 24, 2, kBlack);
            canvas.Ring(x, y, 10, 1, kBlack);
            Cross(canvas, x, y, 17, 1.5);
        }
    }
}

void Panel(Canvas& canvas, const Box& box) {
    canvas.Fill(box, kBlack);
    canvas.Fill({box.left + 1, box.top + 1, box.right - 1, box.bottom - 1}, kWhite);
}

void Letters(Canvas& canvas) {
    constexpr Box kBox{75, 75, 285, 399};
    struct Line {
        const char* text;
        double size, baseline;
    };
    static constexpr Line kLines[] = {
        {"E", 84, 146},
        {"F P", 58, 199},
        {"T O Z", 42, 241},
        {"L P E D", 31, 275},
        {"P E C F D", 23, 302},
        {"E D F C Z P", 17, 324},
        {"F E L O P Z D", 13, 343},
        {"D E F P O T E C", 10, 359},
        {"L E F O D P C T", 8, 373},
        {"F D P L T C E O", 6.5, 385},
    };
    Panel(canvas, kBox);
    for (const Line& line : kLines) {
        canvas.Text((kBox.left + kBox.right) / 2, line.baseline, line.size, line.text, Align::center);
    }
}

void SiemensStar(Canvas& canvas) {
    constexpr double kRadius = 108;
    constexpr int kSpokes = 36;
    canvas.Disc(kMiddleX, kMiddleY, kRadius + 6, kWhite);
    canvas.Ring(kMiddleX, kMiddleY, kRadius + 6, 2, kBlack);
    const auto inside = [](double x, double y) {
        const double dx = x - kMiddleX, dy = y - kMiddleY;
        const double turn = std::atan2(dy, dx) / (2 * std::numbers::pi) + 0.25 / kSpokes;
        const double phase = turn * kSpokes;
        return std::hypot(dx, dy) < kRadius && phase - std::floor(phase) < 0.5;
    };
    canvas.Fill({kMiddleX - kRadius, kMiddleY - kRadius, kMiddleX + kRadius, kMiddleY + kRadius}, inside, kBlack);
}

// Groups of upright lines. In each group the gaps are as wide as the lines.
void FineLines(Canvas& canvas) {
    constexpr Box kBox{330, 75, 630, 141};
    Panel(canvas, kBox);
    double x = 341;
    for (const int width : {1, 2, 3, 4, 6}) {
        const double start = x;
        const int lines = width == 1 ? 12 : width < 4 ? 8 : 5;
        for (int line = 0; line < lines; ++line) {
            canvas.Fill({x, 86, x + width, 121}, kBlack);
            x += 2 * width;
        }
        canvas.Text((start + x - width) / 2, 135, 10, std::to_string(width), Align::center);
        x += 20;
    }
}

// Black lines that converge: their distance goes from `wide` to `narrow`. They are horizontal if `lying`, or else
// vertical.
void Wedge(Canvas& canvas, const Box& box, bool lying, double wide, double narrow) {
    constexpr int kLines = 9;
    const auto inside = [&](double x, double y) {
        const double along =
            lying ? (x - box.left) / (box.right - box.left) : (y - box.top) / (box.bottom - box.top);
        const double middle = lying ? (box.top + box.bottom) / 2 : (box.left + box.right) / 2;
        const double pitch = std::lerp(wide, narrow, along);
        const double line = ((lying ? y : x) - middle) / pitch + kLines / 2.0;
        return line >= 0 && line < kLines && line - std::floor(line) >= 0.25 && line - std::floor(line) < 0.75;
    };
    canvas.Fill(box, inside, kBlack);
}

void Wedges(Canvas& canvas) {
    constexpr Box kBox{675, 75, 885, 237};
    Panel(canvas, kBox);
    Wedge(canvas, {687, 87, 757, 225}, false, 7.5, 2);
    Wedge(canvas, {770, 87, 875, 157}, true, 7.5, 2);
    // Fine rings, so that the panel has lines in every direction.
    constexpr double kX = 822.5, kY = 191.5, kRadius = 33;
    const auto inside = [](double x, double y) {
        const double r = std::hypot(x - kX, y - kY);
        return r < kRadius && std::fmod(r, 6.0) < 3;
    };
    canvas.Fill({kX - kRadius, kY - kRadius, kX + kRadius, kY + kRadius}, inside, kBlack);
}

// A coloured disc with a hole whose edge is soft. The rest of the picture is opaque.
void SoftHole(Canvas& canvas) {
    constexpr double kX = 780, kY = 322, kOuter = 74, kSolid = 56, kClear = 16;
    const auto color = [](double x, double y) {
        const auto across = static_cast<float>((x - kX + y - kY) / (2 * kOuter) + 0.5);
        return Rgb{0.05F + 0.15F * across, 0.25F + 0.30F * across, 0.55F + 0.25F * across};
    };
    canvas.Disc(kX, kY, kOuter, color);
    canvas.Fade({kX - kSolid, kY - kSolid, kX + kSolid, kY + kSolid}, [](double x, double y) {
        const double t = std::clamp((std::hypot(x - kX, y - kY) - kClear) / (kSolid - kClear), 0.0, 1.0);
        return t * t * (3 - 2 * t);
    });
}

Rgb Hue(double turn) {
    const auto channel = [&](double shift) {
        const double t = std::fmod(turn + shift, 1.0) * 6;
        return static_cast<float>(std::clamp(std::abs(t - 3) - 1, 0.0, 1.0));
    };
    return {channel(0), channel(2.0 / 3), channel(1.0 / 3)};
}

void Gradients(Canvas& canvas) {
    constexpr double kLeft = 165, kRight = 795;
    const auto along = [](double x) { return (x - kLeft) / (kRight - kLeft); };
    const auto smooth = [&](double x, double) { return Grey(static_cast<float>(along(x))); };
    const auto steps = [&](double x, double) { return Grey(static_cast<float>(std::floor(along(x) * 11) / 10)); };
    const auto rainbow = [&](double x, double) { return Hue(along(x)); };
    canvas.Fill({kLeft - 1, 428, kRight + 1, 500}, kBlack);
    canvas.Fill({kLeft, 429, kRight, 453}, smooth);
    canvas.Fill({kLeft, 453, kRight, 475}, steps);
    canvas.Fill({kLeft, 475, kRight, 499}, rainbow);
}

void Title(Canvas& canvas) {
    canvas.Fill({330, 20, 630, 56}, kWhite);
    canvas.Text(kMiddleX, 45, 20, "NUV CHROMATIC ABERRATION", Align::center);
}

}  // namespace

Picture DrawChart(int width, int height) {
    Canvas canvas(width, height, kWidth, kHeight);
    Grid(canvas);
    Corners(canvas);
    Letters(canvas);
    SiemensStar(canvas);
    FineLines(canvas);
    Wedges(canvas);
    SoftHole(canvas);
    Gradients(canvas);
    Title(canvas);
    return canvas.Finish();
}

}  // namespace nuvhost
