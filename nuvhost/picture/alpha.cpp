#include "picture/alpha.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace nuvhost {
namespace {

// Calls visit(pixel) for every pixel. `pixel` is an array of four channels, which `visit` may change unless the
// bytes are const.
template <typename Channel, typename Bytes, typename Visit>
void EachPixel(Bytes& bytes, Visit visit) {
    std::array<Channel, 4> pixel;
    for (std::size_t at = 0; at < bytes.size(); at += sizeof pixel) {
        std::memcpy(pixel.data(), bytes.data() + at, sizeof pixel);
        visit(pixel);
        if constexpr (!std::is_const_v<Bytes>) std::memcpy(bytes.data() + at, pixel.data(), sizeof pixel);
    }
}

template <typename Channel>
bool OpaqueAt(const std::vector<std::byte>& bytes, Channel full) {
    std::size_t opaque = 0;
    EachPixel<Channel>(bytes, [&](const auto& pixel) { opaque += pixel[3] == full; });
    return opaque * 4 * sizeof(Channel) == bytes.size();
}

template <typename Channel, std::uint32_t full>
void PremultiplyWhole(std::vector<std::byte>& bytes) {
    EachPixel<Channel>(bytes, [](auto& pixel) {
        for (std::size_t i = 0; i < 3; ++i)
            pixel[i] = static_cast<Channel>((std::uint32_t{pixel[i]} * pixel[3] + full / 2) / full);
    });
}

template <typename Channel, std::uint32_t full>
void UnpremultiplyWhole(std::vector<std::byte>& bytes) {
    EachPixel<Channel>(bytes, [](auto& pixel) {
        const std::uint32_t alpha = pixel[3];
        if (alpha == 0) return;
        for (std::size_t i = 0; i < 3; ++i)
            pixel[i] = static_cast<Channel>(std::min(full, (pixel[i] * full + alpha / 2) / alpha));
    });
}

void Associate(std::array<float, 4>& pixel) {
    for (std::size_t i = 0; i < 3; ++i)
        pixel[i] *= pixel[3];
}

void Unassociate(std::array<float, 4>& pixel) {
    if (pixel[3] == 0) return;
    for (std::size_t i = 0; i < 3; ++i)
        pixel[i] /= pixel[3];
}

}  // namespace

bool Opaque(const Picture& picture) {
    switch (picture.depth) {
        case Depth::bits8:
            return OpaqueAt<std::uint8_t>(picture.pixels, 255);
        case Depth::bits16:
            return OpaqueAt<std::uint16_t>(picture.pixels, 65535);
        case Depth::bits32:
            break;
    }
    return OpaqueAt<float>(picture.pixels, 1);
}

void Premultiply(Picture& picture) {
    switch (picture.depth) {
        case Depth::bits8:
            return PremultiplyWhole<std::uint8_t, 255>(picture.pixels);
        case Depth::bits16:
            return PremultiplyWhole<std::uint16_t, 65535>(picture.pixels);
        case Depth::bits32:
            break;
    }
    EachPixel<float>(picture.pixels, Associate);
}

void Unpremultiply(Picture& picture) {
    switch (picture.depth) {
        case Depth::bits8:
            return UnpremultiplyWhole<std::uint8_t, 255>(picture.pixels);
        case Depth::bits16:
            return UnpremultiplyWhole<std::uint16_t, 65535>(picture.pixels);
        case Depth::bits32:
            break;
    }
    EachPixel<float>(picture.pixels, Unassociate);
}

Alpha AlphaOf(std::string_view format) {
    struct Entry {
        std::string_view format;
        Alpha alpha;
    };
    static constexpr Entry kTable[] = {
        {"openexr", Alpha::associated}, {"png", Alpha::straight},  {"targa", Alpha::straight},
        {"webp", Alpha::straight},      {"heif", Alpha::straight},
    };
    for (const auto& entry : kTable) {
        if (entry.format == format) return entry.alpha;
    }
    return Alpha::asItIs;
}

}  // namespace nuvhost
