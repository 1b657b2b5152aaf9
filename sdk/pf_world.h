// Pixel worlds: the host's image buffers.
#pragma once

#include <array>

#include "pf_basics.h"

// 8 bits per channel, 0 to 255.
struct PF_Pixel {
    std::uint8_t alpha;
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

// 16 bits per channel, 0 to 32768: white is 32768, not 65535.
struct PF_Pixel16 {
    std::uint16_t alpha;
    std::uint16_t red;
    std::uint16_t green;
    std::uint16_t blue;
};

// Usually 0.0 to 1.0, but other values, infinities and not-a-number occur, too.
struct PF_PixelFloat {
    float alpha;
    float red;
    float green;
    float blue;
};

inline constexpr std::int32_t PF_WorldFlag_DEEP = 1;
inline constexpr std::int32_t PF_WorldFlag_WRITEABLE = 2;

inline constexpr std::int32_t PF_NewWorldFlag_NONE = 0;
inline constexpr std::int32_t PF_NewWorldFlag_CLEAR_PIXELS = 1;
inline constexpr std::int32_t PF_NewWorldFlag_DEEP_PIXELS = 2;

// The host's name for the layout of a pixel: four characters, the first in the lowest byte.
using PF_PixelFormat = std::int32_t;

inline constexpr PF_PixelFormat kFormatArgb8 = 0x62677261;            // "argb": bytes A R G B
inline constexpr PF_PixelFormat kFormatBgra8 = 0x61726762;            // "bgra": bytes B G R A
inline constexpr PF_PixelFormat kFormatArgb16 = 0x36316561;           // "ae16": 16-bit A R G B, white 32768
inline constexpr PF_PixelFormat kFormatArgbFloat = 0x32336561;        // "ae32": floats A R G B
inline constexpr PF_PixelFormat kFormatBgraFloat = 0x61724742;        // "BGra": floats B G R A
inline constexpr PF_PixelFormat kFormatBgraFloatLinear = 0x4C614742;  // "BGaL": floats B G R A, linear light

// All formats, for tables that must have a row for each format.
inline constexpr std::array kFormats{kFormatArgb8,     kFormatBgra8,     kFormatArgb16,
                                     kFormatArgbFloat, kFormatBgraFloat, kFormatBgraFloatLinear};

// A rectangle of pixels in the host's memory. The host owns it. It is valid during the command that got it; input
// pixels are valid until they are checked in. The record does not hold the pixel format: a suite tells it.
struct PF_LayerDef {
    void* reserved0;
    void* reserved1;
    std::int32_t world_flags;
    PF_Pixel* data;         // first byte of row 0, the top row; any alignment; null in a layer without pixels
    std::int32_t rowbytes;  // bytes from one row to the next; may be larger than a row's pixels, or negative
    std::int32_t width;     // pixels
    std::int32_t height;    // rows
    PF_Rect extent_hint;
    void* platform_ref;
    std::int32_t reserved_long1;
    void* reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void* reserved_long2;
    std::int32_t origin_x;  // position of the first pixel in the layer, in pixels
    std::int32_t origin_y;
    std::int32_t reserved_long3;
    std::int32_t dephault;
};
using PF_EffectWorld = PF_LayerDef;
