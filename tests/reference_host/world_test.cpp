// The reference host's worlds: those that a test lays out, and those that the host makes for an effect.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/host_fixture.h"

namespace refhost {
namespace {

// Where the effect would find a row.
std::byte* RowByRecord(World& world, int y) {
    PF_EffectWorld* record = world.effectWorld();
    return reinterpret_cast<std::byte*>(record->data) + std::ptrdiff_t{record->rowbytes} * y;
}

TEST(World, RecordLeadsToTheRowsInEveryLayout) {
    for (const auto& layout : kLayouts) {
        World world(layout);
        const auto pixelBytes = static_cast<std::size_t>(BytesPerPixel(layout.format));
        const auto packed =
            Counting(pixelBytes * static_cast<std::size_t>(layout.width) * static_cast<std::size_t>(layout.height));
        world.SetPixels(packed);
        EXPECT_EQ(world.Pixels(), packed);
        EXPECT_EQ(world.Surroundings(), "");
        const auto stride = static_cast<std::int32_t>(pixelBytes) * layout.width + layout.padding;
        EXPECT_EQ(world.effectWorld()->rowbytes, layout.bottomUp ? -stride : stride);
        for (int y = 0; y < layout.height; ++y)
            EXPECT_EQ(RowByRecord(world, y), world.Row(y).data());
    }
}

TEST(World, FirstByteInMemoryIsMisalignedAsAsked) {
    for (const int misalignment : {0, 1, 7, 63}) {
        const World world({.width = 4, .height = 4, .misalignment = misalignment});
        const auto address = reinterpret_cast<std::uintptr_t>(world.effectWorld().data);
        EXPECT_EQ(address % 64, static_cast<std::uintptr_t>(misalignment));
    }
}

TEST(World, SurroundingsNameTheFirstByteChanged) {
    for (const auto& layout : kLayouts) {
        World world(layout);
        const int top = layout.bottomUp ? layout.height - 1 : 0;
        std::byte* const first = RowByRecord(world, top);
        *(first - 1) ^= std::byte{1};
        EXPECT_EQ(world.Surroundings(), "a byte was written 1 before the first row in memory");
        *(first - 1) ^= std::byte{1};

        const auto row = world.Row(0);
        std::byte* const behind = row.data() + row.size() + layout.padding - 1;
        if (layout.padding > 0) {
            *behind ^= std::byte{1};
            EXPECT_EQ(world.Surroundings(),
                      "byte " + std::to_string(layout.padding - 1) + " of the padding after row 0 was written");
            *behind ^= std::byte{1};
        }
        const int bottom = layout.bottomUp ? 0 : layout.height - 1;
        const auto last = world.Row(bottom);
        last.data()[static_cast<std::ptrdiff_t>(last.size()) + layout.padding + 2] ^= std::byte{1};
        EXPECT_EQ(world.Surroundings(), "byte 2 after the last row in memory was written");
    }
}

TEST(World, MovesWithoutMovingItsPixels) {
    World world({.width = 2, .height = 2});
    const PF_Pixel* const data = world.effectWorld()->data;
    const World moved = std::move(world);
    EXPECT_EQ(moved.effectWorld().data, data);
}

TEST(World, HasNoPixelsInAnUnknownFormat) {
    const World world({.format = 1, .width = 4, .height = 2, .padding = 64});
    EXPECT_TRUE(world.Pixels().empty());
    EXPECT_EQ(world.effectWorld().rowbytes, 64);
}

TEST(World, RefusesRowsAndPixelsThatItHasNot) {
    World world({.width = 1, .height = 1});
    EXPECT_THROW(static_cast<void>(world.Row(1)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(world.Row(-1)), std::out_of_range);
    EXPECT_THROW(world.SetPixels(Counting(3)), std::invalid_argument);
}

TEST_F(HostTest, WorldIsOutstandingUntilDisposedOf) {
    Do([&](const Arguments& a) {
        PF_EffectWorld world{};
        EXPECT_EQ(a.in->utils->new_world(a.in->effect_ref, 1, 7, 0, &world), 0);
        EXPECT_EQ(Outstanding(), Lines{"world of 1 x 7 pixels"});
        EXPECT_EQ(a.in->utils->dispose_world(a.in->effect_ref, &world), 0);
        EXPECT_EQ(Outstanding(), Lines{});
        EXPECT_EQ(Misuse(), Lines{});
        EXPECT_NE(a.in->utils->dispose_world(a.in->effect_ref, &world), 0);
    });
    EXPECT_EQ(Misuse(), Lines{"dispose_world: the world was not made by the host"});
}

TEST_F(HostTest, WriteBesideAMadeWorldIsNoticed) {
    Do([&](const Arguments& a) {
        PF_EffectWorld world{};
        a.in->utils->new_world(a.in->effect_ref, 1, 1, 0, &world);
        reinterpret_cast<std::byte*>(world.data)[4] ^= std::byte{1};
        a.in->utils->dispose_world(a.in->effect_ref, &world);
    });
    EXPECT_EQ(Misuse(), Lines{"dispose_world: byte 0 of the padding after row 0 was written"});
}

}  // namespace
}  // namespace refhost
