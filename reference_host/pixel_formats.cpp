#include "reference_host/pixel_formats.h"

#include <stdexcept>

namespace refhost {
namespace {

template <typename Predicate>
const PixelFormat* FindIf(Predicate predicate) {
    const auto found = std::ranges::find_if(kPixelFormats, predicate);
    return found == kPixelFormats.end() ? nullptr : &*found;
}

}  // namespace

const PixelFormat* FindFormat(PF_PixelFormat code) {
    return FindIf([&](const PixelFormat& format) { return format.code == code; });
}

const PixelFormat& FormatOf(PF_PixelFormat code) {
    if (const PixelFormat* const found = FindFormat(code)) return *found;
    throw std::invalid_argument("a format that no host has");
}

const PixelFormat* FindFormatOfDepth(Personality host, int bitsPerChannel) {
    return FindIf(
        [&](const PixelFormat& format) { return format.host == host && format.bitsPerChannel == bitsPerChannel; });
}

int BytesPerPixel(PF_PixelFormat code) {
    const PixelFormat* const found = FindFormat(code);
    return found ? found->BytesPerPixel() : 0;
}

}  // namespace refhost
