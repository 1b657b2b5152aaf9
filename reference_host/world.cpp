#include "reference_host/world.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "reference_host/pixel_formats.h"

namespace refhost {
namespace {

constexpr std::size_t kGuard = 64;  // bytes before the first and after the last row, at least
constexpr std::size_t kAlignment = 64;

std::size_t Size(int value) {
    return static_cast<std::size_t>(std::max(value, 0));
}

std::size_t RowPixels(const WorldLayout& layout) {
    return Size(layout.width) * Size(BytesPerPixel(layout.format));
}

std::size_t Stride(const WorldLayout& layout) {
    return RowPixels(layout) + Size(layout.padding);
}

// The number of row `y` in the order in which the rows lie in memory.
std::size_t StoredRow(const WorldLayout& layout, int y) {
    return Size(layout.bottomUp ? layout.height - 1 - y : y);
}

}  // namespace

World::World(const WorldLayout& layout, std::uint8_t poison) : layout_(layout), poison_(poison) {
    const std::size_t rows = Stride(layout) * Size(layout.height);
    memory_.assign(kGuard + kAlignment + Size(layout.misalignment) + rows + kGuard, std::byte{poison});

    const auto address = reinterpret_cast<std::uintptr_t>(memory_.data()) + kGuard;
    const std::size_t toAligned = (kAlignment - address % kAlignment) % kAlignment;
    first_ = kGuard + toAligned + Size(layout.misalignment);

    const int top = layout.bottomUp && layout.height > 0 ? layout.height - 1 : 0;
    world_.data = reinterpret_cast<PF_Pixel*>(memory_.data() + first_ + Stride(layout) * Size(top));
    const auto stride = static_cast<std::int32_t>(Stride(layout));
    world_.rowbytes = layout.bottomUp ? -stride : stride;
    world_.width = layout.width;
    world_.height = layout.height;
    world_.extent_hint = {0, 0, layout.width, layout.height};
    world_.pix_aspect_ratio = {1, 1};
    world_.origin_x = layout.originX;
    world_.origin_y = layout.originY;
    const PixelFormat* const format = FindFormat(layout.format);
    world_.world_flags = format && format->bitsPerChannel == 16 ? PF_WorldFlag_DEEP : 0;
}

std::size_t World::RowStart(int y) const {
    if (y < 0 || y >= layout_.height) throw std::out_of_range("world row " + std::to_string(y));
    return first_ + Stride(layout_) * StoredRow(layout_, y);
}

std::span<std::byte> World::Row(int y) {
    return {memory_.data() + RowStart(y), RowPixels(layout_)};
}

std::span<const std::byte> World::Row(int y) const {
    return {memory_.data() + RowStart(y), RowPixels(layout_)};
}

std::vector<std::byte> World::Pixels() const {
    std::vector<std::byte> packed;
    packed.reserve(RowPixels(layout_) * Size(layout_.height));
    for (int y = 0; y < layout_.height; ++y) {
        const auto row = Row(y);
        packed.insert(packed.end(), row.begin(), row.end());
    }
    return packed;
}

void World::SetPixels(std::span<const std::byte> packed) {
    const std::size_t bytes = RowPixels(layout_);
    if (packed.size() != bytes * Size(layout_.height)) throw std::invalid_argument("pixels of another size");
    for (int y = 0; y < layout_.height; ++y) {
        const auto row = packed.subspan(bytes * Size(y), bytes);
        std::copy(row.begin(), row.end(), Row(y).begin());
    }
}

std::string World::Surroundings() const {
    // The offset of the first changed byte in a range of guard bytes; -1 if none has changed.
    const auto changed = [this](std::size_t begin, std::size_t end) -> std::ptrdiff_t {
        const auto first = memory_.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto last = memory_.begin() + static_cast<std::ptrdiff_t>(end);
        const auto found = std::find_if(first, last, [this](std::byte b) { return b != std::byte{poison_}; });
        return found == last ? -1 : found - first;
    };

    if (memory_.empty()) return {};
    if (const auto at = changed(0, first_); at >= 0) {
        return "a byte was written " + std::to_string(static_cast<std::ptrdiff_t>(first_) - at) +
               " before the first row in memory";
    }
    std::size_t position = first_;
    for (int stored = 0; stored < layout_.height; ++stored) {
        const std::size_t gap = position + RowPixels(layout_);
        position += Stride(layout_);
        if (const auto at = changed(gap, position); at >= 0) {
            const int y = layout_.bottomUp ? layout_.height - 1 - stored : stored;
            return "byte " + std::to_string(at) + " of the padding after row " + std::to_string(y) + " was written";
        }
    }
    if (const auto at = changed(position, memory_.size()); at >= 0) {
        return "byte " + std::to_string(at) + " after the last row in memory was written";
    }
    return {};
}

}  // namespace refhost
