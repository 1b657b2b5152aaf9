// Every depth of pixels, every size, and unusual values in pixels.
//
// Each check renders at the size that signs.h gives it.
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/machine.h"
#include "platform/mapped_memory.h"
#include "validator/kit/scene.h"
#include "validator/registry.h"

namespace validator {
namespace {

using signs::SizeOf;

// Renders with two poisons, because one poison may by chance be the right value of a pixel that is not written.
void ExpectWritten(Context& context, HostedScene& scene, Frame& frame) {
    const auto first = scene.Picture(frame, 0xA5);
    ExpectSame(context, scene.Picture(frame, 0x5A), first, frame.output.layout(),
               "with other bytes in the output before");
}

PF_PixelFormat FormatOf(Context& context, const HostedScene& scene, int bytesPerPixel) {
    for (const PF_PixelFormat format : scene.formats()) {
        if (refhost::BytesPerPixel(format) == bytesPerPixel) return format;
    }
    context.NotApplicable("the effect does not declare this depth");
}

template <typename Channel>
std::vector<Channel> ChannelsOf(const std::vector<std::byte>& pixels) {
    std::vector<Channel> channels(pixels.size() / sizeof(Channel));
    std::memcpy(channels.data(), pixels.data(), channels.size() * sizeof(Channel));
    return channels;
}

// ---- Depths ---------------------------------------------------------------------------------------------------

template <int bytesPerPixel>
void IsWritten(Context& context) {
    HostedScene scene(context);
    const PF_PixelFormat format = FormatOf(context, scene, bytesPerPixel);
    Frame frame(HostedScene::Layout(format, context.size()));
    ExpectWritten(context, scene, frame);
}

void StaysBelowWhite16(Context& context) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(FormatOf(context, scene, 8), context.size()));
    for (const std::uint16_t channel : ChannelsOf<std::uint16_t>(scene.Picture(frame)))
        context.Require(channel <= 32768,
                        "a channel is " + std::to_string(channel) + ", above white, which is 32768");
}

void StaysFinite(Context& context) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(FormatOf(context, scene, 16), context.size()));
    for (const float channel : ChannelsOf<float>(scene.Picture(frame)))
        context.Require(std::isfinite(channel), "a channel is not finite, although the whole input is");
}

// The average of each channel, where white is 1.
std::array<double, 4> Averages(const std::vector<std::byte>& pixels, int bytesPerPixel) {
    std::array<double, 4> sums{};
    const std::size_t channel = static_cast<std::size_t>(bytesPerPixel) / 4, channels = pixels.size() / channel;
    for (std::size_t i = 0; i < channels; ++i) {
        const std::byte* const from = &pixels[i * channel];
        if (bytesPerPixel == 4) sums[i % 4] += std::to_integer<int>(*from) / 255.0;
        if (bytesPerPixel == 8) {
            std::uint16_t value;
            std::memcpy(&value, from, sizeof value);
            sums[i % 4] += value / 32768.0;
        }
        if (bytesPerPixel == 16) {
            float value;
            std::memcpy(&value, from, sizeof value);
            sums[i % 4] += static_cast<double>(value);
        }
    }
    for (double& sum : sums)
        sum = sum * 4 / static_cast<double>(channels);
    return sums;
}

void DepthsAgree(Context& context) {
    constexpr double kTolerance = 0.02;
    HostedScene scene(context);
    if (scene.formats().size() < 2) context.NotApplicable("the effect declares one depth only");
    std::array<double, 4> first{};
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        const auto averages = Averages(scene.Picture(frame), refhost::BytesPerPixel(format));
        if (format == scene.formats().front()) first = averages;
        for (std::size_t i = 0; i < 4; ++i) {
            context.Expect(std::abs(averages[i] - first[i]) <= kTolerance,
                           NameOf(format) + ": channel " + std::to_string(i) + " is " +
                               std::to_string(averages[i]) + " on average, not " + std::to_string(first[i]) +
                               " as in " + NameOf(scene.formats().front()));
        }
    }
}

// ---- Float values ---------------------------------------------------------------------------------------------

// Puts each value into each of the four channels, at different pixels of an ordinary picture. The effect may render
// any picture, but it must render the same picture twice, and must not damage anything.
void ExpectRenders(Context& context, const std::vector<float>& values) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(FormatOf(context, scene, 16), context.size()));
    auto pixels = frame.input.Pixels();
    std::size_t at = 0;
    for (const float value : values) {
        for (std::size_t channel = 0; channel < 4; ++channel, at += 3)
            std::memcpy(&pixels[at % (pixels.size() / 16) * 16 + channel * 4], &value, sizeof value);
    }
    frame.UseInput(pixels);
    const auto first = scene.Picture(frame);
    ExpectSame(context, scene.Picture(frame), first, frame.output.layout(), "the second render differs");
}

using Limits = std::numeric_limits<float>;

void TakesBelowZero(Context& context) {
    ExpectRenders(context, {-0.0f, -0.001f, -1.0f, -70000.0f, Limits::lowest()});
}

void TakesAboveOne(Context& context) {
    ExpectRenders(context, {1.0000001f, 2.0f, 70000.0f, 3e9f, 2e19f, Limits::max()});
}

void TakesInfinite(Context& context) {
    ExpectRenders(context, {Limits::infinity(), -Limits::infinity()});
}

void TakesNotANumber(Context& context) {
    ExpectRenders(context, {Limits::quiet_NaN(), -Limits::quiet_NaN()});
}

void TakesSignalling(Context& context) {
    ExpectRenders(context, {Limits::signaling_NaN()});
}

void TakesDenormal(Context& context) {
    ExpectRenders(context, {Limits::denorm_min(), -Limits::denorm_min(), 1e-40f, Limits::min() / 2});
}

// ---- Sizes ----------------------------------------------------------------------------------------------------

// These frames have tens of thousands of rows, and each row would be a record of a call.
refhost::HostOptions WithoutRecords(const Context& context) {
    auto options = context.HostOptions();
    options.recordCalls = false;
    return options;
}

void HasSize(Context& context) {
    HostedScene scene(context, WithoutRecords(context));
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        ExpectWritten(context, scene, frame);
    }
}

constexpr signs::Size kLargestSmall = SizeOf("pixels.small-sizes");

constexpr int HeightAt(int width) {
    return 1 + width * 7 % 18;
}
static_assert(HeightAt(kLargestSmall.width) == kLargestSmall.height);

void HasEverySmallSize(Context& context) {
    HostedScene scene(context, WithoutRecords(context));
    for (const PF_PixelFormat format : scene.formats()) {
        for (int width = 1; width <= kLargestSmall.width; ++width) {
            Frame frame(HostedScene::Layout(format, width, HeightAt(width)));
            ExpectWritten(context, scene, frame);
        }
    }
}

template <int inWidth, int inHeight>
void HasInputOf(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, inWidth, inHeight), HostedScene::Layout(format, context.size()));
        ExpectWritten(context, scene, frame);
    }
}

constexpr signs::Size kHuge = SizeOf("pixels.past-2-gib");  // in 32-bit float

// A wide frame. Only the first and last rows of the input hold a picture, because pages that nobody writes take no
// memory.
class WideFrame {
public:
    static constexpr int kWidth = kHuge.width;

    WideFrame(PF_PixelFormat format, int height)
        : format_(format), height_(height), input_(Bytes()), output_(Bytes()) {
        refhost::World picture(HostedScene::Layout(format, kWidth, 8));
        Paint(picture, 1);
        const auto pixels = picture.Pixels();
        std::memcpy(input_.begin(), pixels.data(), pixels.size());
        std::memcpy(input_.begin() + Bytes() - pixels.size(), pixels.data(), pixels.size());
    }

    // Renders with the parameters' defaults. Returns the first and the last row.
    std::array<std::vector<std::byte>, 2> Render(HostedScene& scene, int poison) {
        const std::size_t last = Bytes() - RowBytes();
        for (const std::size_t at : {std::size_t{0}, last})
            std::memset(output_.begin() + at, poison, RowBytes());
        SetDefaults(scene.host, scene.instance, {kWidth, height_});
        Frame frame(HostedScene::Layout(format_, 0, 0));
        Place(frame.input, input_);
        Place(frame.output, output_);
        scene.Render(frame);
        const auto row = [&](std::size_t at) {
            return std::vector<std::byte>(output_.begin() + at, output_.begin() + at + RowBytes());
        };
        return {row(0), row(last)};
    }

private:
    std::size_t RowBytes() const {
        return static_cast<std::size_t>(kWidth) * static_cast<std::size_t>(refhost::BytesPerPixel(format_));
    }
    std::size_t Bytes() const { return RowBytes() * static_cast<std::size_t>(height_); }

    void Place(refhost::World& world, const platform::MappedMemory& memory) const {
        PF_EffectWorld& record = *world.effectWorld();
        record.data = reinterpret_cast<PF_Pixel*>(memory.begin());
        record.rowbytes = static_cast<std::int32_t>(RowBytes());
        record.width = kWidth;
        record.height = height_;
        record.extent_hint = {0, 0, kWidth, height_};
    }

    PF_PixelFormat format_;
    int height_;
    platform::MappedMemory input_, output_;
};

// Each world has 2.16 GB. If the effect draws the same first and last rows in two small frames of different
// heights, it must draw these rows in the large frame, too. Otherwise it is enough that it writes them.
void HasHugeFrame(Context& context) {
    constexpr std::int64_t kWorld = std::int64_t{kHuge.width} * kHuge.height * 16,
                           kNeeded = 4 * kWorld;  // an effect may keep two copies of its own
    if (platform::MemoryAvailable() < kNeeded) {
        context.NotApplicable("less than " + std::to_string(kNeeded >> 20) + " MiB of memory are available");
    }
    HostedScene scene(context, WithoutRecords(context));
    const PF_PixelFormat format = scene.formats().back();
    const auto small = WideFrame(format, 40).Render(scene, 0x5A);
    const bool alike = WideFrame(format, 64).Render(scene, 0x5A) == small;
    const auto height = static_cast<int>(kWorld / WideFrame::kWidth / refhost::BytesPerPixel(format));
    const auto huge = WideFrame(format, height).Render(scene, 0xA5);
    for (const std::size_t end : {0u, 1u}) {
        const std::string row = end == 0 ? "the first row" : "the last row";
        const std::vector<std::byte> untouched(huge[end].size(), std::byte{0xA5});
        context.Expect(huge[end] != untouched, row + " was not written");
        if (alike) {
            ExpectSame(context, huge[end], small[end], HostedScene::Layout(format, WideFrame::kWidth, height),
                       row + " is not that of a small frame");
        }
    }
    context.AddPoints(alike ? 2 : 0);
}

constexpr Check kChecks[] = {
    {"pixels.written-8-bit", "In 8 bits every output pixel is written, whatever was there before.", Where::both,
     IsWritten<4>},
    {"pixels.written-16-bit", "In 16 bits every output pixel is written, whatever was there before.",
     Where::compositor, IsWritten<8>},
    {"pixels.written-float", "In 32-bit float every output pixel is written, whatever was there before.",
     Where::compositor, IsWritten<16>},
    {"pixels.white-16-bit", "In 16 bits no output channel exceeds white, which is 32768.", Where::compositor,
     StaysBelowWhite16},
    {"pixels.finite", "A float picture of ordinary values gives finite values.", Where::compositor, StaysFinite},
    {"pixels.depths-agree", "The same picture has the same average colour in every depth, within 2 per cent.",
     Where::compositor, DepthsAgree},
    {"pixels.below-zero", "Float values below 0 are rendered.", Where::compositor, TakesBelowZero},
    {"pixels.above-one", "Float values above 1, to the largest, are rendered.", Where::compositor, TakesAboveOne},
    {"pixels.infinite", "Infinite float values are rendered.", Where::compositor, TakesInfinite},
    {"pixels.not-a-number", "Float values that are quiet NaNs are rendered.", Where::compositor, TakesNotANumber},
    {"pixels.signalling", "Float values that are signalling NaNs are rendered.", Where::compositor,
     TakesSignalling},
    {"pixels.denormal", "Denormal float values are rendered.", Where::compositor, TakesDenormal},
    {"pixels.one-pixel", "A layer of one pixel is rendered.", Where::both, HasSize},
    {"pixels.one-row", "A layer of one row is rendered.", Where::both, HasSize},
    {"pixels.one-column", "A layer of one column is rendered.", Where::both, HasSize},
    {"pixels.small-sizes", "Every width from 1 to 34 pixels is rendered to the last column.", Where::both,
     HasEverySmallSize, Kind::slow},
    {"pixels.long-row", "A layer of 30,000 x 1 pixels is rendered.", Where::both, HasSize},
    {"pixels.long-column", "A layer of 1 x 30,000 pixels is rendered.", Where::both, HasSize},
    {"pixels.larger-input", "The input may be larger than the output.", Where::both, HasInputOf<31, 23>},
    {"pixels.larger-output", "The output may be larger than the input.", Where::both, HasInputOf<15, 10>},
    {"pixels.past-2-gib", "A frame whose worlds are larger than 2 GiB is rendered from its first to its last row.",
     Where::compositor, HasHugeFrame, Kind::slow},
};
static_assert(signs::EachHasSize(kChecks, &Check::id));

}  // namespace

std::span<const Check> PixelsChecks() {
    return kChecks;
}

}  // namespace validator
