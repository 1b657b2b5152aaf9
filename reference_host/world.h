// Pixel worlds in the layouts that hosts use, with guard bytes around the pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "pf_world.h"
#include "reference_host/pixel_formats.h"

namespace refhost {

struct WorldLayout {
    PF_PixelFormat format = kFormatArgb8;
    int width = 0;          // pixels, 0 or more
    int height = 0;         // rows, 0 or more
    int padding = 0;        // bytes between the end of a row's pixels and the next row
    bool bottomUp = false;  // the bottom row is stored first, and the stride is negative
    int misalignment = 0;   // bytes by which the rows are moved away from 64-byte alignment
    int originX = 0;
    int originY = 0;
};

// Owns a world and the bytes around it. The guard bytes before the first and after the last row, and the padding
// between rows, have a pattern that Surroundings() checks. Any thread may read it; only one thread may change it.
// When it is moved, the address of the PF_EffectWorld changes, but not that of its pixels. A format that no host
// has is allowed. Its pixels have no bytes, so a row is only padding.
class World {
public:
    static constexpr std::uint8_t kPoison = 0xA5;

    World() = default;
    // Sets all bytes to `poison`, also those of the pixels.
    explicit World(const WorldLayout& layout, std::uint8_t poison = kPoison);
    World(World&&) noexcept = default;
    World& operator=(World&&) noexcept = default;

    const WorldLayout& layout() const { return layout_; }
    PF_EffectWorld* effectWorld() { return &world_; }
    const PF_EffectWorld& effectWorld() const { return world_; }

    // The pixels of a row: width × BytesPerPixel bytes at any alignment. Row 0 is the top row. Throws
    // std::out_of_range.
    std::span<std::byte> Row(int y);
    std::span<const std::byte> Row(int y) const;

    // Only the pixels, from the top row, without padding, so that worlds of different layout can be compared.
    std::vector<std::byte> Pixels() const;
    // Throws std::invalid_argument unless there are exactly as many bytes as Pixels() has.
    void SetPixels(std::span<const std::byte> packed);

    // Empty if no byte outside of the pixels has changed. Otherwise tells where the first changed byte is.
    std::string Surroundings() const;

private:
    std::size_t RowStart(int y) const;

    WorldLayout layout_;
    std::uint8_t poison_ = kPoison;
    std::vector<std::byte> memory_;
    std::size_t first_ = 0;  // where the rows begin in memory_
    PF_EffectWorld world_{};
};

}  // namespace refhost
