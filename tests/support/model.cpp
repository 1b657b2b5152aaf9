#include "model.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace model {
namespace {

struct Colour {
    float r = 0, g = 0, b = 0, a = 0;
};

enum class Channel { byte, word, real };

struct Layout {
    std::array<char, 4> name;
    Channel channel;
    std::array<std::size_t, 4> rgba;  // the places of R, G, B and A within a pixel
};

constexpr std::array<Layout, 6> kLayouts = {{
    {{'a', 'r', 'g', 'b'}, Channel::byte, {1, 2, 3, 0}},
    {{'b', 'g', 'r', 'a'}, Channel::byte, {2, 1, 0, 3}},
    {{'a', 'e', '1', '6'}, Channel::word, {1, 2, 3, 0}},
    {{'a', 'e', '3', '2'}, Channel::real, {1, 2, 3, 0}},
    {{'B', 'G', 'r', 'a'}, Channel::real, {2, 1, 0, 3}},
    {{'B', 'G', 'a', 'L'}, Channel::real, {2, 1, 0, 3}},
}};

const Layout* FindLayout(std::uint32_t format) {
    for (const Layout& layout : kLayouts) {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(layout.name[i]);
        if (value == format) return &layout;
    }
    return nullptr;
}

std::size_t ChannelBytes(Channel channel) {
    return channel == Channel::byte ? 1 : channel == Channel::word ? 2 : 4;
}

// Rounds toward zero. A number that does not fit 32 bits, or is not a number, becomes the most negative integer.
std::int32_t Truncate(float value) {
    if (value >= -2147483648.0f && value < 2147483648.0f) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

float ReadChannel(const std::byte* at, Channel channel) {
    if (channel == Channel::byte) return static_cast<float>(std::to_integer<int>(*at)) * 0.003921569f;
    if (channel == Channel::word) {
        std::uint16_t value = 0;
        std::memcpy(&value, at, sizeof value);
        return static_cast<float>(value) * 3.0517578e-5f;
    }
    float value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

Colour Sample(const Picture& source, const Layout& layout, std::int32_t column, std::int32_t row) {
    if (column < 0 || column >= source.width || row < 0 || row >= source.height) return {};
    const std::size_t size = ChannelBytes(layout.channel);
    const std::size_t index =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(source.width) + static_cast<std::size_t>(column);
    const std::byte* pixel = source.pixels.data() + index * 4 * size;
    Colour result;
    result.r = ReadChannel(pixel + layout.rgba[0] * size, layout.channel);
    result.g = ReadChannel(pixel + layout.rgba[1] * size, layout.channel);
    result.b = ReadChannel(pixel + layout.rgba[2] * size, layout.channel);
    result.a = ReadChannel(pixel + layout.rgba[3] * size, layout.channel);
    if (result.a == 0.0f) result.r = result.g = result.b = 0.0f;
    return result;
}

float Length(float x, float y) {
    const float xx = x * x;
    const float yy = y * y;
    const float sum = xx + yy;
    return std::sqrt(sum);
}

Colour Pixel(const Picture& source, const Layout& layout, const Settings& s, int width, int height, int column,
             int row) {
    const float x = static_cast<float>(column);
    const float y = static_cast<float>(row);
    const float scaledWidth = static_cast<float>(width) * s.downsampleX;
    const float scaledHeight = static_cast<float>(height) * s.downsampleY;
    if (!(x < scaledWidth)) return {};

    const float cx = static_cast<float>(s.centerX);
    const float cy = static_cast<float>(s.centerY);
    float radius = Length(0.0f - cx, 0.0f - cy);
    const float others[3] = {Length(scaledWidth - cx, scaledHeight - cy), Length(0.0f - cx, scaledHeight - cy),
                             Length(scaledWidth - cx, 0.0f - cy)};
    for (float other : others)
        if (other > radius) radius = other;

    const float mirroredY = scaledHeight - cy;
    const float dx = x - cx;
    const float dy = y - mirroredY;
    const float r = Length(dx, dy);

    float strength = s.amount;
    if (s.scaling == 1) {
        const float t = r / radius;
        strength = t * s.amount;
    } else if (s.scaling == 2) {
        const float t = r / radius;
        const float once = t * s.amount;
        strength = once * t;
    }
    const float e = strength * 0.02f;
    const float zoom = s.amount >= 0.0f ? 1.0f + e : 1.0f - e;
    const float inverse = 1.0f / zoom;

    const Colour direct = Sample(source, layout, Truncate(x - s.offsetX), Truncate(y - s.offsetY));

    const float awayX = inverse * dx;
    const float awayY = inverse * dy;
    const float zoomedX = static_cast<float>(Truncate(awayX + cx));
    const float zoomedY = static_cast<float>(Truncate(awayY + mirroredY));
    const Colour magnified = Sample(source, layout, Truncate(zoomedX - s.offsetX), Truncate(zoomedY - s.offsetY));

    Colour out = direct;
    const bool first = s.amount >= 0.0f;
    if (s.mode == 0) {
        if (first) {
            out.r = magnified.r;
        } else {
            out.g = magnified.g;
            out.b = magnified.b;
        }
    }
    if (s.mode == 1) {
        if (first) {
            out.g = magnified.g;
        } else {
            out.r = magnified.r;
            out.b = magnified.b;
        }
    }
    if (s.mode == 2) {
        if (first) {
            out.b = magnified.b;
        } else {
            out.r = magnified.r;
            out.g = magnified.g;
        }
    }

    const float larger = direct.a > magnified.a ? direct.a : magnified.a;
    out.a = larger;
    if (s.show == 1) out.a = std::fabs(direct.a - magnified.a);
    if (s.show == 2) out.a = direct.a * magnified.a;
    if (s.show == 3) out = {larger, larger, larger, larger};
    if (s.show == 4) {
        const float full = larger > 0.0f ? 1.0f : larger;
        out = {full, full, full, full};
    }
    return out;
}

float Clamp(float value) {
    if (value > 1.0f) return 1.0f;
    if (value >= 0.0f) return value;
    return 0.0f;
}

void WriteChannel(std::byte* at, Channel channel, float value) {
    const float clamped = Clamp(value);
    if (channel == Channel::byte) {
        const float scaled = clamped * 255.0f;
        *at = static_cast<std::byte>(Truncate(scaled + 0.5f));
    } else if (channel == Channel::word) {
        const float scaled = clamped * 32768.0f;
        const auto word = static_cast<std::uint16_t>(Truncate(scaled + 0.5f));
        std::memcpy(at, &word, sizeof word);
    } else {
        std::memcpy(at, &clamped, sizeof clamped);
    }
}

}  // namespace

std::vector<std::byte> Encode(std::span<const float> rgba, std::uint32_t format) {
    const Layout* layout = FindLayout(format);
    if (!layout) return {};
    const std::size_t size = ChannelBytes(layout->channel);
    std::vector<std::byte> pixels(rgba.size() * size);
    for (std::size_t i = 0; i < rgba.size(); i += 4)
        for (std::size_t channel = 0; channel < 4; ++channel)
            WriteChannel(&pixels[(i + layout->rgba[channel]) * size], layout->channel, rgba[i + channel]);
    return pixels;
}

Rendering Render(const Picture& source, const Settings& settings, int width, int height, std::uint32_t format) {
    const Layout* layout = FindLayout(source.format);
    if (!layout) throw std::invalid_argument("the model does not know the source's format");
    Rendering result;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const Colour pixel = Pixel(source, *layout, settings, width, height, column, row);
            result.rgba.insert(result.rgba.end(), {pixel.r, pixel.g, pixel.b, pixel.a});
        }
    }
    result.pixels = Encode(result.rgba, format);
    return result;
}

}  // namespace model
