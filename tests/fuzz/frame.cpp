#include "frame.h"

#include <algorithm>
#include <limits>

#include "reference_host/rects.h"

namespace fuzz {
namespace {

using refhost::IsEmpty;
using support::RenderPath;

bool Known(PF_PixelFormat format) {
    return refhost::BytesPerPixel(format) != 0;
}

int Side(FuzzInput& input, int sizeClass, bool isWidth) {
    if (sizeClass < 12) return input.Below(33);
    if (sizeClass < 14) return input.Below(201);
    if (sizeClass == 14) return input.Below(isWidth ? 4 : 3000);
    if (sizeClass == 15) return input.Below(isWidth ? 3000 : 4);
    return -input.Below(100);
}

refhost::WorldLayout Layout(FuzzInput& input) {
    refhost::WorldLayout layout;
    layout.format = input.Below(8) == 7 ? input.Number() : input.Pick(kFormats);
    const int sizeClass = input.Below(17);
    layout.width = Side(input, sizeClass, true);
    layout.height = Side(input, sizeClass, false);
    const int memory = input.Take<std::uint8_t>();
    layout.bottomUp = (memory & 1) != 0;
    if ((memory & 2) != 0) layout.padding = input.Below(256);
    if ((memory & 4) != 0) layout.misalignment = input.Below(64);
    if ((memory & 8) != 0) {
        layout.originX = input.Number();
        layout.originY = input.Number();
    }
    return layout;
}

PF_RationalScale Scale(FuzzInput& input) {
    constexpr PF_RationalScale kScales[] = {{1, 1}, {1, 1}, {1, 2}, {1, 4}, {3, 4}, {2, 1}, {0, 1}, {1, 0}};
    if (input.Below(4) != 3) return input.Pick(kScales);
    const std::int32_t num = input.Number();
    return {num, static_cast<std::uint32_t>(input.Number())};
}

PF_LRect Rect(FuzzInput& input) {
    PF_LRect rect{};
    rect.left = input.Number();
    rect.top = input.Number();
    rect.right = input.Number();
    rect.bottom = input.Number();
    return rect;
}

std::int32_t Sum(std::int32_t a, std::int32_t b) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(std::int64_t{a} + b, Limits::min(), Limits::max()));
}

// The smallest rectangle around both. An empty rectangle does not count.
PF_LRect Union(const PF_LRect& a, const PF_LRect& b) {
    if (IsEmpty(a)) return b;
    if (IsEmpty(b)) return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

void TakeMemoryAway(refhost::World& world) {
    world.effectWorld()->data = nullptr;
}

bool HasPixels(const refhost::World& world) {
    return world.layout().width > 0 && world.layout().height > 0;
}

}  // namespace

FuzzFrame::FuzzFrame(FuzzInput& input) {
    // Each bit makes one thing about the frame unusual; a few need a second bit, so that they are rare.
    const auto unusual = input.Take<std::uint16_t>();
    const auto is = [unusual](int bit) { return (unusual >> bit & 1) != 0; };
    scene.path = is(0) ? RenderPath::plain : RenderPath::smart;
    preRenderOnly = is(1) && is(2);

    scene.source = Layout(input);
    scene.output = is(3) ? Layout(input) : scene.source;
    if (is(4)) scene.output.format = input.Pick(kFormats);
    scene.values = is(5) ? support::Values::wild : support::Values::ordinary;
    scene.seed = input.Take<std::uint8_t>();
    poison = input.Take<std::uint8_t>();

    source = refhost::World(scene.source);
    output = refhost::World(scene.output, poison);
    if (HasPixels(source)) sourcePixels = support::SourcePixels(scene);
    source.SetPixels(sourcePixels);
    if (is(6)) TakeMemoryAway(source);
    if (is(7) && is(2)) TakeMemoryAway(output);
    if (!(is(8) && is(2))) settings.input = &source;
    if (!(is(9) && is(2))) settings.output = &output;

    if (is(10)) {
        settings.currentTime = input.Number();
        settings.timeStep = input.Number();
        settings.timeScale = static_cast<std::uint32_t>(input.Number());
        settings.field = input.Number();
        settings.pixelAspect = Scale(input);
    }
    if (is(11)) {
        settings.layerWidth = input.Number();
        settings.layerHeight = input.Number();
        settings.request = Rect(input);
    }
    if (is(12)) settings.downsampleX = scene.downsampleX = Scale(input);
    if (is(13)) settings.downsampleY = scene.downsampleY = Scale(input);
    if (is(14)) settings.initialResultRect = Rect(input);
    if (is(15)) settings.checkoutResult = Rect(input);

    // The effect must not read these entries, so they point to no memory.
    settings.plainParams.assign(5, reinterpret_cast<PF_ParamDef*>(std::uintptr_t{8}));

    if (scene.path == RenderPath::plain) return;
    PF_LRect there{};
    if (settings.input) {
        const PF_EffectWorld& world = *source.effectWorld();
        there = {world.origin_x, world.origin_y, Sum(world.origin_x, world.width),
                 Sum(world.origin_y, world.height)};
    }
    if (!settings.checkoutResult) settings.checkoutResult = there;
    const PF_LRect shown = Union(settings.initialResultRect, *settings.checkoutResult);
    scene.offsetX = shown.left;
    scene.offsetY = shown.top;
}

bool FuzzFrame::HasNegativeSize() const {
    return std::min({scene.source.width, scene.source.height, scene.output.width, scene.output.height}) < 0;
}

PF_Err FuzzFrame::ExpectedCode() const {
    const bool usable = settings.output && (output.effectWorld().data != nullptr || !HasPixels(output));
    return usable ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

std::optional<std::vector<std::byte>> FuzzFrame::ExpectedPixels() const {
    if (!Known(scene.output.format)) return std::vector<std::byte>{};
    support::Scene told = scene;
    told.pixels = sourcePixels;
    if (!settings.input || source.effectWorld().data == nullptr || !HasPixels(source)) {
        told.source = {};
        told.pixels = {};  // the effect has an empty source then, whatever the format
    } else if (!Known(scene.source.format)) {
        return std::nullopt;  // the pixels have no known meaning, so any output is right
    }
    return support::Expected(told);
}

bool FuzzFrame::OutputUntouched() const {
    return std::ranges::all_of(output.Pixels(), [this](std::byte b) { return b == std::byte{poison}; });
}

}  // namespace fuzz
