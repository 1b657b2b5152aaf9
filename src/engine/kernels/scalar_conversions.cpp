// Row conversions between the host's pixel formats and the engine's R, G, B, A.
#include <cstring>

#include "engine/kernels/row_kernels.h"

namespace nuv {
namespace {

// Where a format keeps each channel inside a pixel.
struct Argb {
    static constexpr int a = 0, r = 1, g = 2, b = 3;
};
struct Bgra {
    static constexpr int b = 0, g = 1, r = 2, a = 3;
};

template <class Channel>
struct Pixel {
    Channel channel[4];
};

template <class Order>
void Copy8(const std::byte* source, std::byte* destination, std::int32_t width, float) {
    for (std::int32_t x = 0; x < width; ++x, source += 4, destination += 4) {
        Pixel<std::uint8_t> in;
        std::memcpy(&in, source, sizeof in);
        const Pixel<std::uint8_t> out{
            {in.channel[Order::r], in.channel[Order::g], in.channel[Order::b], in.channel[Order::a]}};
        std::memcpy(destination, &out, sizeof out);
    }
}

float Decode(float value) {
    return value;
}
float Decode(std::uint16_t value) {
    return static_cast<float>(value) * 3.0517578e-5f;  // exactly 1/32768
}

// Values are not clamped on the way in.
template <class Channel, class Order>
void ToRgbaF(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
    for (std::int32_t x = 0; x < width; ++x, source += sizeof(Pixel<Channel>), destination += 16) {
        Pixel<Channel> in;
        std::memcpy(&in, source, sizeof in);
        const Pixel<float> out{{Decode(in.channel[Order::r]) * scale, Decode(in.channel[Order::g]) * scale,
                                Decode(in.channel[Order::b]) * scale, Decode(in.channel[Order::a]) * scale}};
        std::memcpy(destination, &out, sizeof out);
    }
}

// Clamps to 0.0 … 1.0. Not-a-number becomes 0.0; minus zero stays.
float Clamp(float value) {
    if (value > 1.0f) return 1.0f;
    return value >= 0.0f ? value : 0.0f;
}

template <class Channel>
Channel Encode(float value);
template <>
float Encode(float value) {
    return value;
}
template <>
std::uint8_t Encode(float value) {
    return static_cast<std::uint8_t>(value * 255.0f + 0.5f);
}
template <>
std::uint16_t Encode(float value) {
    return static_cast<std::uint16_t>(value * 32768.0f + 0.5f);
}

template <class Channel, class Order>
void FromRgbaF(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
    for (std::int32_t x = 0; x < width; ++x, source += 16, destination += sizeof(Pixel<Channel>)) {
        Pixel<float> in;
        std::memcpy(&in, source, sizeof in);
        Pixel<Channel> out;
        out.channel[Order::r] = Encode<Channel>(Clamp(in.channel[0] * scale));
        out.channel[Order::g] = Encode<Channel>(Clamp(in.channel[1] * scale));
        out.channel[Order::b] = Encode<Channel>(Clamp(in.channel[2] * scale));
        out.channel[Order::a] = Encode<Channel>(Clamp(in.channel[3] * scale));
        std::memcpy(destination, &out, sizeof out);
    }
}

}  // namespace

constexpr RowKernels kScalarKernels = {
    .name = "scalar",
    .copyArgb8ToRgba8 = Copy8<Argb>,
    .copyBgra8ToRgba8 = Copy8<Bgra>,
    .argb16ToRgbaF = ToRgbaF<std::uint16_t, Argb>,
    .argbFToRgbaF = ToRgbaF<float, Argb>,
    .bgraFToRgbaF = ToRgbaF<float, Bgra>,
    .renderRows = RenderRows,
    .rgbaFToArgb8 = FromRgbaF<std::uint8_t, Argb>,
    .rgbaFToBgra8 = FromRgbaF<std::uint8_t, Bgra>,
    .rgbaFToArgb16 = FromRgbaF<std::uint16_t, Argb>,
    .rgbaFToArgbF = FromRgbaF<float, Argb>,
    .rgbaFToBgraF = FromRgbaF<float, Bgra>,
};
static_assert(IsComplete(kScalarKernels));

}  // namespace nuv
