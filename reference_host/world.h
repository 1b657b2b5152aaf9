// Pixel worlds as a host might lay them out, with guarded surroundings.
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
    bool bottomUp = false;  // rows are stored last first: the stride is negative
    int misalignment = 0;   // bytes by which the first byte is moved away from 64-byte alignment
    int originX = 0;
    int originY = 0;
};

// Owns a world and everything around it: guard bytes before the first and after the last row, and the padding
// between rows, are filled with a pattern that Surroundings() checks. Not thread-safe to change; readable
// from anywhere. Movable: the PF_EffectWorld's address changes, its pixels' do not. A format that no host has is
// allowed and has pixels of no size: the rows are then nothing but padding.
class World {
public:
    static constexpr std::uint8_t kPoison = 0xA5;

    World() = default;
    // Every byte, pixels included, starts as `poison`.
    explicit World(const WorldLayout& layout, std::uint8_t poison = kPoison);
    World(World&&) noexcept = default;
    World& operator=(World&&) noexcept = default;

    const WorldLayout& layout() const { return layout_; }
    PF_EffectWorld* effectWorld() { return &world_; }
    const PF_EffectWorld& effectWorld() const { return world_; }

    // Row 0 is the top row. Width × BytesPerPixel bytes, at any alignment. Throws std::out_of_range.
    std::span<std::byte> Row(int y);
    std::span<const std::byte> Row(int y) const;

    // The pixels alone, top row first, without padding: comparable between worlds of different layout.
    std::vector<std::byte> Pixels() const;
    // Throws std::invalid_argument unless there are exactly as many bytes as Pixels() has.
    void SetPixels(std::span<const std::byte> packed);

    // Empty if every byte outside the pixels is as it was made; otherwise says where the first changed one is.
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
