#include <cstring>
#include <limits>

#include "render_fault.h"

namespace broken {
namespace {

void ExceedsWhite(RenderCall& r) {
    const std::uint16_t value = 33000;
    if (r.pixelBytes == 8) std::memcpy(Bytes(r.output), &value, sizeof value);
}

void DividesByZero(RenderCall& r) {
    const float value = std::numeric_limits<float>::infinity();
    if (r.pixelBytes == 16) std::memcpy(Bytes(r.output), &value, sizeof value);
}

void IsBlackInDeepColour(RenderCall& r) {
    if (r.pixelBytes != 8) return;
    for (std::ptrdiff_t y = 0; y < r.output->height; ++y)
        std::memset(Bytes(r.output) + y * r.output->rowbytes, 0, static_cast<std::size_t>(r.output->width * 8));
}

void Alternates(RenderCall& r) {
    static int renders = 0;
    if (++renders % 2 == 0) ChangesAPixel(r);
}

volatile int g_zero = 0;

void Crashes(RenderCall&) {
    *reinterpret_cast<volatile int*>(static_cast<std::intptr_t>(g_zero)) = 1;
}

void ChangesLastRow(RenderCall& r) {
    *(Bytes(r.output) + std::ptrdiff_t{r.output->rowbytes} * (r.output->height - 1)) ^= 1;
}

constexpr Control kControls[] = {
    {.check = "pixels.written-8-bit", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.written-16-bit", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.written-float", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.white-16-bit", .fault = "takes 65535 for white", .command = With<ExceedsWhite>},
    {.check = "pixels.finite", .fault = "divides by zero", .command = With<DividesByZero>},
    {.check = "pixels.depths-agree", .fault = "gives black in 16 bits", .command = With<IsBlackInDeepColour>},
    {.check = "pixels.below-zero", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "pixels.above-one", .fault = "writes before the output", .command = With<WritesBeforeOutput>},
    {.check = "pixels.infinite", .fault = "crashes", .command = With<Crashes>},
    {.check = "pixels.not-a-number", .fault = "differs from render to render", .command = With<Alternates>},
    {.check = "pixels.signalling", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "pixels.denormal", .fault = "differs from render to render", .command = With<Alternates>},
    {.check = "pixels.one-pixel", .fault = "leaves out the pixel", .command = With<KeepsLastPixel>},
    {.check = "pixels.one-row", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.one-column", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.small-sizes",
     .fault = "leaves the last pixel out at one width",
     .command = With<KeepsLastPixel>},
    {.check = "pixels.long-row", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.long-column", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.larger-input", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.larger-output", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "pixels.past-2-gib",
     .fault = "draws another last row",
     .command = With<ChangesLastRow>,
     .needs = "9 GB of memory"},
};
static_assert(signs::EachHasSize(kControls, &Control::check));

}  // namespace

std::span<const Control> PixelsControls() {
    return kControls;
}

}  // namespace broken
