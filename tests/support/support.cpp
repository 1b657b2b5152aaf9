#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "plugin_path.h"

namespace support {
namespace {

template <class T>
void Put(std::vector<std::byte>& bytes, T value) {
    const auto raw = std::bit_cast<std::array<std::byte, sizeof(T)>>(value);
    bytes.insert(bytes.end(), raw.begin(), raw.end());
}

// 0 and white are frequent, above all in alpha.
std::uint32_t RandomWhole(SplitMix64& random, bool alpha, std::uint32_t white) {
    switch (random.Below(alpha ? 4 : 16)) {
        case 0:
            return 0;
        case 1:
            return white;
        default:
            return random.Below(white + 1);
    }
}

float RandomOrdinary(SplitMix64& random, bool alpha) {
    switch (random.Below(alpha ? 4 : 16)) {
        case 0:
            return 0;
        case 1:
            return 1;
        case 2: {  // about halfway between two values of 8 bits
            const float halfway = (static_cast<float>(random.Below(255)) + 0.5f) / 255.0f;
            return std::nextafter(halfway, static_cast<float>(random.Below(2)));
        }
        default:
            return random.Unit();
    }
}

float RandomWild(SplitMix64& random) {
    using Limits = std::numeric_limits<float>;
    constexpr std::array kWild = {0.0f,
                                  -0.0f,
                                  1.0f,
                                  -1.0f,
                                  1.5f,
                                  -0.25f,
                                  0.5f,
                                  1.0f - Limits::epsilon() / 2,
                                  1.0f + Limits::epsilon(),
                                  Limits::infinity(),
                                  -Limits::infinity(),
                                  Limits::quiet_NaN(),
                                  Limits::denorm_min(),
                                  -Limits::denorm_min(),
                                  Limits::min() / 2,
                                  Limits::max(),
                                  Limits::lowest(),
                                  1e30f,
                                  -1e-30f,
                                  65504.0f};
    const std::uint32_t index = random.Below(2 * kWild.size());
    return index < kWild.size() ? kWild[index] : random.Unit() * 3.0f - 1.0f;
}

std::uint32_t Wild16(SplitMix64& random) {
    return random.Below(3) == 0 ? 32766 + random.Below(5) : random.Below(65536);
}

float Quotient(PF_RationalScale scale) {
    return static_cast<float>(scale.num) / static_cast<float>(scale.den);
}

// One less. The smallest number wraps around to the greatest one.
int FromZero(int choice) {
    return static_cast<int>(static_cast<unsigned>(choice) - 1u);
}

int Saturated(std::int64_t value) {
    return static_cast<int>(
        std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::unique_ptr<refhost::Host> HostAtWork(refhost::HostOptions options, const refhost::PluginLibrary& plugin) {
    auto host = std::make_unique<refhost::Host>(plugin, std::move(options));
    host->SetUp();
    return host;
}

// The shortest text that gives the number back. It is the same on every system; a stream's text is not.
std::string Text(double number) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

std::string DescribeLayout(const refhost::WorldLayout& layout) {
    std::ostringstream text;
    text << FormatName(layout.format) << ' ' << layout.width << " x " << layout.height;
    if (layout.padding != 0) text << " padding " << layout.padding;
    if (layout.bottomUp) text << " bottom-up";
    if (layout.misalignment != 0) text << " misaligned by " << layout.misalignment;
    return text.str();
}

}  // namespace

std::string FormatName(PF_PixelFormat format) {
    std::string name;
    for (int shift = 0; shift < 32; shift += 8)
        name += static_cast<char>(static_cast<std::uint32_t>(format) >> shift & 0xff);
    const bool readable = std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
    return readable ? name : std::to_string(format);
}

refhost::PluginLibrary Plugin() {
    static const refhost::PluginLibrary plugin(support::PluginPath());
    return plugin;
}

std::uint64_t SplitMix64::Next() {
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

std::vector<std::byte> RandomPixels(PF_PixelFormat format, int width, int height, Values values,
                                    std::uint64_t seed) {
    SplitMix64 random(seed);
    const bool wild = values == Values::wild;
    std::vector<std::byte> pixels;
    const refhost::PixelFormat* const known = refhost::FindFormat(format);
    if (!known) return pixels;
    const int alphaChannel = known->order == refhost::ChannelOrder::argb ? 0 : 3;
    for (std::int64_t i = 0; i < std::int64_t{width} * height; ++i) {
        for (int channel = 0; channel < 4; ++channel) {
            const bool alpha = channel == alphaChannel;
            switch (known->bitsPerChannel) {
                case 8:
                    Put(pixels, static_cast<std::uint8_t>(RandomWhole(random, alpha, 255)));
                    break;
                case 16:
                    Put(pixels,
                        static_cast<std::uint16_t>(wild ? Wild16(random) : RandomWhole(random, alpha, 32768)));
                    break;
                default:
                    Put(pixels, wild ? RandomWild(random) : RandomOrdinary(random, alpha));
                    break;
            }
        }
    }
    return pixels;
}

std::ostream& operator<<(std::ostream& out, const Rgba& pixel) {
    return out << "(" << pixel.r << ", " << pixel.g << ", " << pixel.b << ", " << pixel.a << ")";
}

std::vector<std::byte> Paint(int width, int height, const std::function<Rgba(int x, int y)>& colour) {
    std::vector<std::byte> pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Rgba pixel = colour(x, y);
            for (float channel : {pixel.a, pixel.r, pixel.g, pixel.b})
                Put(pixels, channel);
        }
    }
    return pixels;
}

std::vector<Rgba> ReadFloats(std::span<const std::byte> argb) {
    std::vector<Rgba> pixels;
    for (std::size_t at = 0; at + 16 <= argb.size(); at += 16) {
        std::array<float, 4> channels{};
        std::memcpy(channels.data(), &argb[at], sizeof channels);
        pixels.push_back({channels[1], channels[2], channels[3], channels[0]});
    }
    return pixels;
}

Scene SceneOf(PF_PixelFormat format, int width, int height) {
    Scene scene;
    scene.source.format = scene.output.format = format;
    scene.source.width = scene.output.width = width;
    scene.source.height = scene.output.height = height;
    scene.center = Whole(width / 2, height / 2);
    return scene;
}

refhost::PointValue Whole(int x, int y) {
    return {x * 65536, y * 65536};
}

std::string Describe(const Scene& scene) {
    std::ostringstream text;
    text << DescribeLayout(scene.source) << " to " << DescribeLayout(scene.output) << "; centre "
         << Text(scene.center.x / 65536.0) << ", " << Text(scene.center.y / 65536.0) << "; mode " << scene.mode
         << " scaling " << scene.scaling << " show " << scene.show << " amount " << Text(scene.amount)
         << "; offset " << scene.offsetX << ", " << scene.offsetY << "; resolution " << scene.downsampleX.num << '/'
         << scene.downsampleX.den << ", " << scene.downsampleY.num << '/' << scene.downsampleY.den << "; "
         << (scene.path == RenderPath::plain ? "plain" : "smart") << "; "
         << (scene.pixels.empty() ? "random pixels" : "given pixels")
         << (scene.values == Values::wild ? ", wild" : "") << ", seed " << scene.seed;
    return text.str();
}

std::vector<std::byte> SourcePixels(const Scene& scene) {
    if (!scene.pixels.empty()) return scene.pixels;
    return RandomPixels(scene.source.format, scene.source.width, scene.source.height, scene.values, scene.seed);
}

std::vector<std::byte> Expected(const Scene& scene) {
    const std::vector<std::byte> pixels = SourcePixels(scene);
    const model::Picture picture{static_cast<std::uint32_t>(scene.source.format), scene.source.width,
                                 scene.source.height, pixels};
    model::Settings settings;
    settings.centerX = scene.center.x >> 16;
    settings.centerY = scene.center.y >> 16;
    settings.mode = FromZero(scene.mode);
    settings.scaling = FromZero(scene.scaling);
    settings.show = FromZero(scene.show);
    settings.amount = static_cast<float>(scene.amount);
    settings.offsetX = static_cast<float>(scene.offsetX);
    settings.offsetY = static_cast<float>(scene.offsetY);
    settings.downsampleX = Quotient(scene.downsampleX);
    settings.downsampleY = Quotient(scene.downsampleY);
    return model::Render(picture, settings, scene.output.width, scene.output.height,
                         static_cast<std::uint32_t>(scene.output.format))
        .pixels;
}

Stage::Stage(refhost::HostOptions options, const refhost::PluginLibrary& plugin)
    : host_(HostAtWork(std::move(options), plugin)), instance_(*host_) {
    if (const PF_Err code = instance_.SequenceSetup()) {
        throw std::runtime_error("sequence set-up gave " + std::to_string(code));
    }
}

Outcome Stage::Render(const Scene& scene) {
    return Render(scene, [](refhost::RenderSettings&) {});
}

Outcome Stage::Render(const Scene& scene, const std::function<void(refhost::RenderSettings&)>& change) {
    instance_.Set(1, scene.center);
    instance_.Set(2, refhost::PopupValue{scene.mode});
    instance_.Set(3, refhost::PopupValue{scene.scaling});
    instance_.Set(4, refhost::SliderValue{scene.amount});
    instance_.Set(5, refhost::PopupValue{scene.show});

    const std::vector<std::byte> pixels = SourcePixels(scene);
    refhost::World source(scene.source);
    source.SetPixels(pixels);
    refhost::World output(scene.output);

    refhost::RenderSettings settings;
    settings.input = &source;
    settings.output = &output;
    settings.downsampleX = scene.downsampleX;
    settings.downsampleY = scene.downsampleY;
    settings.checkoutResult =
        PF_LRect{scene.offsetX, scene.offsetY, Saturated(std::int64_t{scene.offsetX} + scene.source.width),
                 Saturated(std::int64_t{scene.offsetY} + scene.source.height)};
    change(settings);

    host_->account().Reset();
    const refhost::RenderResult result = instance_.Render(scene.path, settings);

    Outcome outcome;
    outcome.code = result.preRender != PF_Err_NONE ? result.preRender : result.render;
    outcome.pixels = output.Pixels();
    const auto complain = [&](const std::string& who, const std::string& what) {
        if (!what.empty()) outcome.complaints.push_back(who + ": " + what);
    };
    complain("source", source.Surroundings());
    complain("output", output.Surroundings());
    if (source.Pixels() != pixels) complain("source", "its pixels were changed");
    for (const std::string& line : host_->account().Outstanding())
        complain("not given back", line);
    for (const std::string& line : host_->account().Misuse())
        complain("misuse", line);
    return outcome;
}

void ExpectSamePixels(std::span<const std::byte> expected, std::span<const std::byte> actual,
                      const refhost::WorldLayout& layout) {
    ASSERT_EQ(expected.size(), actual.size());
    const auto differing = std::mismatch(expected.begin(), expected.end(), actual.begin()).first;
    if (differing == expected.end()) return;

    const auto pixelBytes = static_cast<std::size_t>(refhost::BytesPerPixel(layout.format));
    const std::size_t pixel = static_cast<std::size_t>(differing - expected.begin()) / pixelBytes;
    const auto describe = [&](std::span<const std::byte> pixels) {
        std::ostringstream text;
        for (std::size_t i = 0; i < pixelBytes; i += pixelBytes / 4) {
            const std::byte* const channel = &pixels[pixel * pixelBytes + i];
            float real = 0;
            std::uint16_t word = 0;
            if (pixelBytes == 16) {
                std::memcpy(&real, channel, sizeof real);
                text << ' ' << real;
            } else if (pixelBytes == 8) {
                std::memcpy(&word, channel, sizeof word);
                text << ' ' << word;
            } else {
                text << ' ' << std::to_integer<int>(*channel);
            }
        }
        return text.str();
    };
    const auto width = static_cast<std::size_t>(layout.width);
    ADD_FAILURE() << "column " << pixel % width << ", row " << pixel / width << ": expected" << describe(expected)
                  << ", got" << describe(actual);
}

std::vector<std::byte> ExpectRenders(Stage& stage, const Scene& scene) {
    SCOPED_TRACE(Describe(scene));
    Outcome outcome = stage.Render(scene);
    EXPECT_EQ(outcome.code, PF_Err_NONE);
    EXPECT_EQ(outcome.complaints, std::vector<std::string>{});
    return std::move(outcome.pixels);
}

std::vector<std::byte> ExpectAsModel(Stage& stage, const Scene& scene) {
    SCOPED_TRACE(Describe(scene));
    std::vector<std::byte> pixels = ExpectRenders(stage, scene);
    ExpectSamePixels(Expected(scene), pixels, scene.output);
    return pixels;
}

std::ostream& operator<<(std::ostream& out, const SamplePlace& place) {
    return out << "column " << place.column << ", row " << place.row;
}

SamplePlaces::SamplePlaces(Stage& stage, Scene scene) : width_(scene.output.width) {
    // Mode 2 (green) with a negative amount takes red and blue from the enlarged sample, which is 0 outside the
    // source.
    scene.source.format = scene.output.format = kFormatArgbFloat;
    scene.pixels = Paint(scene.source.width, scene.source.height, [](int x, int y) {
        return Rgba{static_cast<float>(x + 1) / 1024, 0, static_cast<float>(y + 1) / 1024, 1};
    });
    scene.mode = 2;
    scene.show = 1;
    scene.amount = -std::fabs(scene.amount);
    for (const Rgba& pixel : ReadFloats(ExpectRenders(stage, scene)))
        places_.push_back({static_cast<int>(pixel.r * 1024) - 1, static_cast<int>(pixel.b * 1024) - 1});
}

}  // namespace support
