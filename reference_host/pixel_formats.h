// The pixel formats that hosts have, and all that host, validator and tests know about them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "pf_data.h"
#include "pf_world.h"
#include "reference_host/personalities.h"

namespace refhost {

enum class ChannelOrder { argb, bgra };  // in memory, the lowest address first

struct PixelFormat {
    PF_PixelFormat code;
    std::string_view name;  // in messages
    int bitsPerChannel;     // 8: whole numbers with white at 255; 16: with white at 32768; 32: floats, white is 1
    ChannelOrder order;
    // The host whose own pictures have this format. A host with declaredFormats also hands over the formats of the
    // other host, if the effect declares them.
    Personality host;
    // The flags with which an effect declares the format to a host without declaredFormats.
    std::uint32_t outFlags = 0, outFlags2 = 0;

    constexpr int BytesPerPixel() const { return bitsPerChannel / 8 * 4; }
};

inline constexpr std::array<PixelFormat, kFormats.size()> kPixelFormats{{
    {kFormatArgb8, "8-bit ARGB", 8, ChannelOrder::argb, Personality::compositor},
    {kFormatBgra8, "8-bit BGRA", 8, ChannelOrder::bgra, Personality::editor},
    {kFormatArgb16, "16-bit ARGB", 16, ChannelOrder::argb, Personality::compositor, PF_OutFlag_DEEP_COLOR_AWARE},
    {kFormatArgbFloat, "float ARGB", 32, ChannelOrder::argb, Personality::compositor, 0,
     PF_OutFlag2_FLOAT_COLOR_AWARE},
    {kFormatBgraFloat, "float BGRA", 32, ChannelOrder::bgra, Personality::editor},
    {kFormatBgraFloatLinear, "linear float BGRA", 32, ChannelOrder::bgra, Personality::editor},
}};
static_assert(std::ranges::equal(kPixelFormats, kFormats, {}, &PixelFormat::code),
              "every format has its row, in the order of kFormats");

// Null for a format that no host has.
const PixelFormat* FindFormat(PF_PixelFormat code);
// Throws std::invalid_argument for a format that no host has.
const PixelFormat& FormatOf(PF_PixelFormat code);
// The first format in the table that belongs to this host and has this depth; null if there is none.
const PixelFormat* FindFormatOfDepth(Personality host, int bitsPerChannel);
// 4, 8 or 16; 0 for a format that no host has.
int BytesPerPixel(PF_PixelFormat code);

}  // namespace refhost
