// Pixels in memory: where rows may lie, and which bytes around them do not belong to the effect.
//
// Each check renders at the size that signs.h gives it.
#include <cstring>
#include <vector>

#include "platform/mapped_memory.h"
#include "validator/kit/scene.h"
#include "validator/registry.h"

namespace validator {
namespace {

using refhost::WorldLayout;

std::vector<std::byte> Packed(const std::byte* data, std::ptrdiff_t stride, int rowBytes, int height) {
    std::vector<std::byte> pixels(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        std::memcpy(&pixels[static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(y)], data + stride * y,
                    static_cast<std::size_t>(rowBytes));
    return pixels;
}

// ---- Where rows may lie ---------------------------------------------------------------------------------------

// By default a world starts at a multiple of 64 bytes, its top row comes first, and nothing lies between the rows.
struct RowPlaces {
    int padding = 0;       // channels between rows
    int misalignment = 0;  // channels
    bool bottomUp = false;
};

WorldLayout LaidOut(PF_PixelFormat format, signs::Size size, const RowPlaces& rows) {
    WorldLayout layout = HostedScene::Layout(format, size);
    const int channel = refhost::BytesPerPixel(format) / 4;
    layout.padding = rows.padding * channel;
    layout.misalignment = rows.misalignment * channel;
    layout.bottomUp = rows.bottomUp;
    return layout;
}

template <RowPlaces in, RowPlaces out>
void IsSamePicture(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame usual(HostedScene::Layout(format, context.size()));
        Frame other(LaidOut(format, context.size(), in), LaidOut(format, context.size(), out));
        ExpectSame(context, scene.Picture(other), scene.Picture(usual), usual.output.layout(),
                   "with rows at these places");
    }
}

// ---- Bytes that do not belong to the effect -------------------------------------------------------------------

// HostedScene::Render reports bytes outside of the pixels that were written. Here the rows have such bytes between
// them.
void PaddingIsUntouched(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(LaidOut(format, context.size(), {.padding = 4}),
                    LaidOut(format, context.size(), {.padding = 20}));
        scene.Picture(frame);
    }
}

void PaddingIsNotRead(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        const WorldLayout layout = LaidOut(format, context.size(), {.padding = 8});
        Frame frame(layout);
        const auto expected = scene.Picture(frame);
        Frame other(layout);
        other.input = refhost::World(layout, 0x3C);
        other.input.SetPixels(frame.input.Pixels());
        ExpectSame(context, scene.Picture(other), expected, layout, "with other bytes between the input's rows");
    }
}

// Copies a world's pixels to memory between two pages that end the process when they are touched. The copy ends
// directly before the second page if `atEnd`, and otherwise begins directly after the first page.
class BetweenPages {
public:
    BetweenPages(refhost::World& world, bool atEnd) : world_(world), memory_(Bytes(world)) {
        const auto pixels = world.Pixels();
        data_ = atEnd ? memory_.end() - pixels.size() : memory_.begin();
        std::memcpy(data_, pixels.data(), pixels.size());
        world.effectWorld()->data = reinterpret_cast<PF_Pixel*>(data_);
    }

    std::vector<std::byte> Pixels() const { return {data_, data_ + Bytes(world_)}; }

private:
    static std::size_t Bytes(const refhost::World& world) {
        const auto& layout = world.layout();
        return static_cast<std::size_t>(layout.width) * static_cast<std::size_t>(layout.height) *
               static_cast<std::size_t>(refhost::BytesPerPixel(layout.format));
    }

    refhost::World& world_;
    platform::MappedMemory memory_;
    std::byte* data_;
};

template <bool input, bool atEnd>
void StaysBetweenPages(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        const auto expected = scene.Picture(frame);
        frame.Poison();
        const BetweenPages pages(input ? frame.input : frame.output, atEnd);
        scene.Render(frame);
        ExpectSame(context, input ? frame.output.Pixels() : pages.Pixels(), expected, frame.output.layout(),
                   "next to memory that must not be touched");
    }
}

// ---- Worlds cut out of larger ones ----------------------------------------------------------------------------

constexpr int kLeft = 3, kTop = 2, kRight = 5, kBottom = 4;  // the margins around the rectangle

WorldLayout Around(const WorldLayout& inner) {
    return HostedScene::Layout(inner.format, inner.width + kLeft + kRight, inner.height + kTop + kBottom);
}

// Makes the world's record describe the rectangle only. Returns the address of the rectangle's first pixel.
std::byte* CutOut(refhost::World& world, const WorldLayout& inner) {
    PF_EffectWorld& record = *world.effectWorld();
    std::byte* const data = reinterpret_cast<std::byte*>(record.data) + kTop * record.rowbytes +
                            kLeft * refhost::BytesPerPixel(inner.format);
    record.data = reinterpret_cast<PF_Pixel*>(data);
    record.width = inner.width;
    record.height = inner.height;
    record.extent_hint = {0, 0, inner.width, inner.height};
    return data;
}

void InputMayBeCutOut(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        const WorldLayout inner = HostedScene::Layout(format, context.size());
        Frame cut(Around(inner), inner);
        const std::byte* const data = CutOut(cut.input, inner);
        Frame whole(inner);
        whole.UseInput(Packed(data, cut.input.effectWorld()->rowbytes, inner.width * refhost::BytesPerPixel(format),
                              inner.height));
        ExpectSame(context, scene.Picture(cut), scene.Picture(whole), inner,
                   "with an input cut out of a larger one");
    }
}

// Every pixel of the larger world outside the rectangle must be as it was.
void ExpectPoisonAround(Context& context, const refhost::World& world) {
    const auto& layout = world.layout();
    const int bytes = refhost::BytesPerPixel(layout.format);
    for (int y = 0; y < layout.height; ++y) {
        const auto row = world.Row(y);
        const bool crossed = y >= kTop && y < layout.height - kBottom;
        for (int at = 0; at < layout.width * bytes; ++at) {
            const bool inside = crossed && at / bytes >= kLeft && at / bytes < layout.width - kRight;
            if (!inside && row[static_cast<std::size_t>(at)] != std::byte{refhost::World::kPoison}) {
                context.Require(false, NameOf(layout.format) + ": pixel " + std::to_string(at / bytes - kLeft) +
                                           ", " + std::to_string(y - kTop) +
                                           ", outside of the output, was written");
            }
        }
    }
}

void OutputMayBeCutOut(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        const WorldLayout inner = HostedScene::Layout(format, context.size());
        Frame whole(inner);
        Frame cut(inner, Around(inner));
        const std::byte* const data = CutOut(cut.output, inner);
        scene.Render(cut);
        ExpectPoisonAround(context, cut.output);
        const auto got = Packed(data, cut.output.effectWorld()->rowbytes,
                                inner.width * refhost::BytesPerPixel(format), inner.height);
        ExpectSame(context, got, scene.Picture(whole), inner, "with an output cut out of a larger one");
    }
}

// ---- Fields ---------------------------------------------------------------------------------------------------

// Each world consists of every second row of a frame.
template <int field>
void RendersField(Context& context) {
    HostedScene scene(context);
    const auto [width, height] = context.size();
    for (const PF_PixelFormat format : scene.formats()) {
        const WorldLayout layout = HostedScene::Layout(format, width, height);
        const WorldLayout both = HostedScene::Layout(format, width, 2 * height);
        const int rowBytes = layout.width * refhost::BytesPerPixel(format);
        Frame packed(layout), frame(both);
        for (refhost::World* world : {&frame.input, &frame.output}) {
            PF_EffectWorld& record = *world->effectWorld();
            record.data = reinterpret_cast<PF_Pixel*>(world->Row(field - 1).data());
            record.rowbytes *= 2;
            record.height = height;
            record.extent_hint.bottom = height;
        }
        const auto* const data = reinterpret_cast<const std::byte*>(frame.input.effectWorld()->data);
        packed.UseInput(Packed(data, 2 * rowBytes, rowBytes, height));
        packed.settings.field = frame.settings.field = field;
        scene.Render(frame);
        const auto expected = scene.Picture(packed);
        for (int y = 0; y < height; ++y) {
            const auto own = frame.output.Row(2 * y + field - 1), other = frame.output.Row(2 * y + 2 - field);
            const std::vector<std::byte> got(own.begin(), own.end());
            const auto from = expected.begin() + std::ptrdiff_t{y} * rowBytes;
            ExpectSame(context, got, {from, from + rowBytes}, layout, "row " + std::to_string(y) + " of the field");
            const std::vector<std::byte> untouched(own.size(), std::byte{refhost::World::kPoison});
            ExpectSame(context, {other.begin(), other.end()}, untouched, layout,
                       "row " + std::to_string(y) + " of the other field");
        }
    }
}

// ---- Rows further apart than 32-bit arithmetic reaches --------------------------------------------------------

constexpr int kFarStride = 3'200'000;  // 700 rows take 2.24 GB

// Copies a world's rows to memory where they lie far apart, and lets the world's record describe them there.
class Spread {
public:
    explicit Spread(refhost::World& world) : world_(world), memory_(Bytes(world)) {
        for (int y = 0; y < world.layout().height; ++y)
            std::memcpy(Row(y), world.Row(y).data(), world.Row(y).size());
        world.effectWorld()->data = reinterpret_cast<PF_Pixel*>(memory_.begin());
        world.effectWorld()->rowbytes = kFarStride;
    }

    std::vector<std::byte> Pixels() const {
        return Packed(memory_.begin(), kFarStride, static_cast<int>(world_.Row(0).size()), world_.layout().height);
    }

private:
    static std::size_t Bytes(const refhost::World& world) {
        return std::size_t{kFarStride} * static_cast<std::size_t>(world.layout().height);
    }
    std::byte* Row(int y) const { return memory_.begin() + std::ptrdiff_t{kFarStride} * y; }

    refhost::World& world_;
    platform::MappedMemory memory_;
};

template <bool input>
void RowsMayBeFarApart(Context& context) {
    HostedScene scene(context);
    const PF_PixelFormat format = scene.formats().back();
    Frame frame(HostedScene::Layout(format, context.size()));
    const auto expected = scene.Picture(frame);
    frame.Poison();
    const Spread rows(input ? frame.input : frame.output);
    scene.Render(frame);
    ExpectSame(context, input ? frame.output.Pixels() : rows.Pixels(), expected, frame.output.layout(),
               "with the last row more than 2 GiB after the first");
}

constexpr RowPlaces kUsual{}, kPadded{.padding = 16}, kBottomUp{.bottomUp = true};
constexpr RowPlaces kByPixel{.misalignment = 4}, kByChannel{.misalignment = 1}, kOddStride{.padding = 1};

constexpr Check kChecks[] = {
    {"layout.input-padded", "Input rows may lie further apart than output rows.", Where::both,
     IsSamePicture<kPadded, kUsual>},
    {"layout.output-padded", "Output rows may lie further apart than input rows.", Where::both,
     IsSamePicture<kUsual, kPadded>},
    {"layout.input-bottom-up", "The input may be stored bottom row first.", Where::both,
     IsSamePicture<kBottomUp, kUsual>},
    {"layout.output-bottom-up", "The output may be stored bottom row first.", Where::both,
     IsSamePicture<kUsual, kBottomUp>},
    {"layout.both-bottom-up", "Input and output may both be stored bottom row first.", Where::both,
     IsSamePicture<kBottomUp, kBottomUp>},
    {"layout.input-at-any-pixel",
     "The input may start at the address of any pixel, not only at multiples of 16 bytes.", Where::both,
     IsSamePicture<kByPixel, kUsual>},
    {"layout.output-at-any-pixel",
     "The output may start at the address of any pixel, not only at multiples of 16 bytes.", Where::both,
     IsSamePicture<kUsual, kByPixel>},
    {"layout.input-at-any-channel",
     "The input may start at the address of any channel, which can be odd in 8 bits.", Where::both,
     IsSamePicture<kByChannel, kUsual>},
    {"layout.output-at-any-channel",
     "The output may start at the address of any channel, which can be odd in 8 bits.", Where::both,
     IsSamePicture<kUsual, kByChannel>},
    {"layout.input-odd-stride", "The distance between input rows need not be a multiple of the pixel size.",
     Where::both, IsSamePicture<kOddStride, kUsual>},
    {"layout.output-odd-stride", "The distance between output rows need not be a multiple of the pixel size.",
     Where::both, IsSamePicture<kUsual, kOddStride>},
    {"layout.padding-untouched", "The effect does not write the bytes between the output's rows.", Where::both,
     PaddingIsUntouched},
    {"layout.padding-unread", "The bytes between the input's rows do not change the picture.", Where::both,
     PaddingIsNotRead},
    {"layout.input-begin", "The effect touches nothing before the input's first byte.", Where::both,
     StaysBetweenPages<true, false>},
    {"layout.input-end", "The effect touches nothing after the input's last byte.", Where::both,
     StaysBetweenPages<true, true>},
    {"layout.output-begin", "The effect touches nothing before the output's first byte.", Where::both,
     StaysBetweenPages<false, false>},
    {"layout.output-end", "The effect touches nothing after the output's last byte.", Where::both,
     StaysBetweenPages<false, true>},
    {"layout.input-cut-out", "The input may be a rectangle of a larger world.", Where::both, InputMayBeCutOut},
    {"layout.output-cut-out",
     "The output may be a rectangle of a larger world, and the effect does not write the rest of it.", Where::both,
     OutputMayBeCutOut},
    {"layout.upper-field",
     "The effect renders the rows of the upper field in their places and leaves the other rows alone.", Where::both,
     RendersField<1>},
    {"layout.lower-field",
     "The effect renders the rows of the lower field in their places and leaves the other rows alone.", Where::both,
     RendersField<2>},
    {"layout.input-past-2-gib", "The first and last rows of the input may lie more than 2 GiB apart.", Where::both,
     RowsMayBeFarApart<true>},
    {"layout.output-past-2-gib", "The first and last rows of the output may lie more than 2 GiB apart.",
     Where::both, RowsMayBeFarApart<false>},
};
static_assert(signs::EachHasSize(kChecks, &Check::id));

}  // namespace

std::span<const Check> LayoutChecks() {
    return kChecks;
}

}  // namespace validator
