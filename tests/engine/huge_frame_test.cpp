// Frames whose buffers exceed 2 GiB and 4 GiB. No test touches that much memory: the tests place a real row far
// into a buffer, and the host of the last test has no memory to give.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "engine/conversion_callbacks.h"
#include "engine/kernels/row_kernels.h"
#include "engine/render_aberration.h"

namespace {

constexpr std::int32_t kEdge = 30000;
constexpr std::int32_t kRowBytes = kEdge * 16;
constexpr std::int32_t kLastRow = kEdge - 1;

// Where row 0 of a buffer would begin if its last row began at `row`. That address is never read or written.
std::byte* FirstRowOf(std::byte* row, std::int32_t rowBytes) {
    const auto distance = static_cast<std::uintptr_t>(std::int64_t{rowBytes} * kLastRow);
    return reinterpret_cast<std::byte*>(reinterpret_cast<std::uintptr_t>(row) - distance);
}

std::vector<std::byte> Row(unsigned seed) {
    std::vector<std::byte> row(static_cast<std::size_t>(kRowBytes));
    for (std::size_t at = 0; at < row.size(); at += sizeof(float)) {
        const float value = at % 16 == 12 ? 1.0f : static_cast<float>((at * 7 + seed) % 1009) / 1009;
        std::memcpy(row.data() + at, &value, sizeof value);
    }
    return row;
}

PF_EffectWorld WorldOf(std::int32_t width, std::int32_t height, std::int32_t rowBytes, void* data) {
    PF_EffectWorld world{};
    world.data = static_cast<PF_Pixel*>(data);
    world.rowbytes = rowBytes;
    world.width = width;
    world.height = height;
    return world;
}

TEST(HugeFrame, IsRenderedInItsLastRow) {
    std::vector<std::byte> source = Row(1);
    std::vector<std::byte> result(source.size(), std::byte{0xA5});
    nuv::RenderData job;
    job.input = {kEdge, kEdge, FirstRowOf(source.data(), kRowBytes), 32, kRowBytes, 0, 0};
    job.output = {kEdge, kEdge, FirstRowOf(result.data(), kRowBytes), 32, kRowBytes, 0, 0};
    job.downsampleX = job.downsampleY = 1;
    nuv::RenderRows(job, kLastRow, kEdge);  // with amount 0 every pixel reads itself
    EXPECT_EQ(result, source);
}

TEST(HugeFrame, IsConvertedInItsLastRow) {
    std::vector<std::byte> source = Row(2);
    std::vector<std::byte> result(source.size());
    PF_InData inData{};
    nuv::ConvertContext context;
    context.inData = &inData;
    context.source = WorldOf(kEdge, kEdge, kRowBytes, FirstRowOf(source.data(), kRowBytes));
    context.destination = WorldOf(kEdge, kEdge, kRowBytes, FirstRowOf(result.data(), kRowBytes));
    ASSERT_EQ(nuv::ConvertArgbFToRgbaF(&context, 1, kLastRow, kEdge), PF_Err_NONE);
    for (std::size_t at = 0; at < source.size(); at += 16) {
        ASSERT_EQ(std::memcmp(&result[at], &source[at + 4], 12), 0) << "colour at byte " << at;
        ASSERT_EQ(std::memcmp(&result[at + 12], &source[at], 4), 0) << "alpha at byte " << at;
    }
}

// A host that has only what the driver needs, and memory only for empty blocks.
class TinyHost {
public:
    explicit TinyHost(PF_PixelFormat format) {
        format_ = format;
        sizes.clear();
        basic_.AcquireSuite = [](const char* name, std::int32_t, const void** suite) -> std::int32_t {
            const bool worlds = std::strcmp(name, "PF World Suite") == 0;
            const bool iterate = std::strcmp(name, "PF Iterate8 Suite") == 0;
            *suite = worlds ? static_cast<const void*>(&kWorlds) : iterate ? &kIterate : nullptr;
            return PF_Err_NONE;
        };
        basic_.ReleaseSuite = [](const char*, std::int32_t) -> std::int32_t { return 0; };
        utils_.host_new_handle = [](A_HandleSize size) -> PF_Handle {
            sizes.push_back(size);
            return size == 0 ? &address_ : nullptr;
        };
        utils_.host_lock_handle = [](PF_Handle handle) -> void* { return *handle; };
        utils_.host_unlock_handle = [](PF_Handle) {};
        utils_.host_dispose_handle = [](PF_Handle) {};
        inData_.inter.abort = [](PF_ProgPtr) -> PF_Err { return PF_Err_NONE; };
        inData_.utils = &utils_;
        inData_.pica_basicP = &basic_;
        inData_.downsample_x = inData_.downsample_y = {1, 1};
    }

    PF_Err Render(PF_EffectWorld source, PF_EffectWorld output) {
        nuv::RenderData job;
        return nuv::RenderAberration(&inData_, job, &source, &output);
    }

    static inline std::vector<A_HandleSize> sizes;  // of every handle that was requested
    static inline std::array<std::byte, 64> block;

private:
    // Also asks for rows before the first one and after the last one, as a faulty host may.
    static PF_Err Iterate(std::int32_t iterations, void* refcon, PF_IterateRowFunc row) {
        for (std::int32_t i = -2; i < iterations + 2; ++i)
            row(refcon, 1, i, iterations);
        return PF_Err_NONE;
    }
    static PF_Err Format(const PF_EffectWorld*, PF_PixelFormat* format) {
        *format = format_;
        return PF_Err_NONE;
    }

    static constexpr PF_WorldSuite2 kWorlds{nullptr, nullptr, Format};
    static constexpr PF_Iterate8Suite1 kIterate{nullptr, nullptr, nullptr, nullptr, Iterate};
    static inline PF_PixelFormat format_ = 0;
    static inline void* address_ = block.data();

    SPBasicSuite basic_{};
    PF_UtilCallbacks utils_{};
    PF_InData inData_{};
};

TEST(HugeFrame, AsksForItsBuffersInFullAndReturnsOutOfMemoryWithoutThem) {
    TinyHost host(kFormatArgbFloat);
    const PF_EffectWorld huge = WorldOf(kEdge, kEdge, kRowBytes, TinyHost::block.data());
    EXPECT_EQ(host.Render(huge, huge), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host.Render(PF_EffectWorld{}, huge), PF_Err_OUT_OF_MEMORY);  // an empty source needs no memory
    EXPECT_EQ(TinyHost::sizes, (std::vector<A_HandleSize>{14'400'000'000, 0, 14'400'000'000}));
}

TEST(HugeFrame, WhoseRowsPassThe32BitsOfAStrideIsOutOfMemoryAndIsNotAskedFor) {
    TinyHost host(kFormatArgb8);
    const PF_EffectWorld wide = WorldOf(1 << 27, 1, 1 << 29, TinyHost::block.data());
    EXPECT_EQ(host.Render(PF_EffectWorld{}, wide), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(TinyHost::sizes, std::vector<A_HandleSize>{0}) << "the empty source";
}

// No layer has such sizes, but a host may send them, with memory or without.
TEST(SizesBelowZero, AreEmptyAndWriteNothing) {
    TinyHost host(kFormatArgb8);
    TinyHost::block.fill(std::byte{0xA5});
    constexpr std::int32_t kLowest = INT32_MIN;
    constexpr std::int32_t kSizes[][2] = {
        {4, -1}, {-1, 4}, {-1, -1}, {4, kLowest}, {kLowest, 4}, {kLowest, kLowest}, {0, 4}, {4, 0}};
    for (const auto [width, height] : kSizes) {
        for (void* data : {static_cast<void*>(nullptr), static_cast<void*>(TinyHost::block.data())}) {
            const PF_EffectWorld world = WorldOf(width, height, 16, data);
            EXPECT_EQ(host.Render(world, world), PF_Err_NONE) << width << " x " << height;
        }
    }
    for (const std::byte byte : TinyHost::block)
        ASSERT_EQ(byte, std::byte{0xA5});
}

}  // namespace
