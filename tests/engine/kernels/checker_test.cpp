// Every table of kernels that this processor can run gives the bytes of the scalar table, whatever a host may send,
// and touches nothing but the pixels.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/kernels/cpu_kernels.h"
#include "random.h"
#include "random_job.h"
#include "row_conversions.h"
#include "support/guarded_memory.h"

namespace {

using nuv::RowKernels;

// The tables of all tiers but the scalar one. Every processor has SSE2, so that there is always something to check.
std::vector<const RowKernels*> VectorTables() {
    std::vector<const RowKernels*> tables;
    for (const nuv::Tier& tier : nuv::AvailableTiers().subspan(1))
        tables.insert(tables.end(), {tier.cached, tier.streaming});
    return tables;
}

// One seed that is new in every run, and then the same seeds in every run.
std::vector<std::uint32_t> Seeds(std::uint32_t count) {
#if defined(__SANITIZE_THREAD__) || defined(NUV_COVERAGE)
    count /= 20;  // instrumented code takes a minute for a thousand seeds
#endif
    std::vector<std::uint32_t> seeds{std::random_device()()};
    for (std::uint32_t seed = 0; seed < count; ++seed)
        seeds.push_back(seed);
    return seeds;
}

TEST(KernelChecker, ConversionsGiveTheBytesOfTheScalarTable) {
    GuardedMemory source(1 << 16), expected(1 << 16), actual(1 << 16);
    for (const std::uint32_t seed : Seeds(300)) {
        Random random(seed);
        for (const ConversionKernel& conversion : kConversions) {
            const int width = RandomWidth(random);
            const float scale = random.OneIn(2) ? 1.0f : random.Of({0.5f, -1.0f, 1e-38f, 0.0f, kInfinity, 3.7f});
            const bool atEnd = random.OneIn(2);
            // Most destinations are aligned as hosts align their rows: the streaming kernels need that.
            const int shift = random.OneIn(3) ? random.Below(64) : conversion.to * random.Below(8);
            std::byte* const from = source.Place(width * conversion.from, atEnd, RandomShift(random, 1));
            if (conversion.from == 16) {
                FillFloats(random, from, width * 4);
            } else {
                FillBytes(random, from, width * conversion.from);
            }
            std::byte* const scalar = expected.Place(width * conversion.to, atEnd, shift);
            (nuv::kScalarKernels.*conversion.kernel)(from, scalar, width, scale);
            for (const RowKernels* const table : VectorTables()) {
                SCOPED_TRACE(testing::Message() << table->name << " " << conversion.name << ", width " << width
                                                << ", scale " << scale << ", seed " << seed);
                std::byte* const target = actual.Place(width * conversion.to, atEnd, shift);
                (table->*conversion.kernel)(from, target, width, scale);
                ASSERT_EQ(std::memcmp(target, scalar, static_cast<std::size_t>(width * conversion.to)), 0);
                ASSERT_TRUE(actual.SurroundingsAreIntact());
            }
        }
    }
}

TEST(KernelChecker, ConversionsOfNoPixelsTouchNothing) {
    std::vector<const RowKernels*> tables = VectorTables();
    tables.push_back(&nuv::kScalarKernels);
    for (const RowKernels* const table : tables) {
        for (const ConversionKernel& conversion : kConversions) {
            for (const std::int32_t width : {0, -1, std::numeric_limits<std::int32_t>::min()})
                (table->*conversion.kernel)(nullptr, nullptr, width, 1.0f);
        }
    }
}

void CheckWorkers(std::uint32_t seed) {
    static GuardedMemory source(1 << 20), expected(1 << 20), actual(1 << 20);
    Random random(seed);
    nuv::RenderData job = RandomJob(random);
    const GuardedPicture input(random, source, job.input.width, job.input.height, job.input.bitsPerChannel / 2,
                               false);
    job.input.pixels = input.first;
    job.input.rowBytes = input.rowBytes;
    FillPicture(random, job.input);
    const int height = job.output.height;
    const int firstRow = random.OneIn(2) ? 0 : random.Below(height + 1);
    const int endRow = random.OneIn(2) ? height : random.Below(height + 1);

    const RowsAbove above = random.OneIn(4) ? MoveDown(random, job) : RowsAbove{};
    job.input.pixels = Displaced(job.input.pixels, job.input.rowBytes, -above.input);

    // Both results get the same layout, but their memory starts with different bytes. A pixel that nobody wrote
    // thus shows as a difference.
    const bool aligned = !random.OneIn(3);
    const std::uint32_t layout = random.Bits();
    const auto render = [&](const RowKernels& table, GuardedMemory& memory) {
        Random same(layout);
        const GuardedPicture result(same, memory, job.output.width, height, 16, aligned);
        nuv::RenderData own = job;
        own.output.pixels = Displaced(result.first, result.rowBytes, -above.output);
        own.output.rowBytes = result.rowBytes;
        table.renderRows(own, above.output + firstRow, above.output + endRow);
        return result;
    };
    expected.SetPoison(std::byte{0x5A});
    const GuardedPicture scalar = render(nuv::kScalarKernels, expected);
    for (const RowKernels* const table : VectorTables()) {
        SCOPED_TRACE(testing::Message() << table->name << ", seed " << seed << ", rows " << firstRow << " to "
                                        << endRow << "; " << Describe(job));
        const GuardedPicture vector = render(*table, actual);
        for (int y = 0; y < height; ++y) {
            const bool written = y >= firstRow && y < endRow;
            for (int x = 0; x < job.output.width; ++x) {
                const std::byte* const pixel = vector.Row(y) + x * 16;
                if (written) {
                    ASSERT_EQ(std::memcmp(pixel, scalar.Row(y) + x * 16, 16), 0) << "at " << x << ", " << y;
                }
            }
            if (written) actual.Repoison(vector.Row(y), job.output.width * 16);
        }
        ASSERT_TRUE(actual.IsPoison()) << "something beside the pixels of the rows was written";
    }
}

TEST(KernelChecker, RowWorkersGiveTheBytesOfTheScalarTable) {
    for (const std::uint32_t seed : Seeds(4000)) {
        CheckWorkers(seed);
        if (HasFatalFailure()) return;
    }
}

TEST(KernelChecker, EveryProcessorHasTheScalarTableAndTheBaseline) {
    const auto available = nuv::AvailableTiers();
    ASSERT_GE(available.size(), 2u);
    EXPECT_EQ(available[0].cached, &nuv::kScalarKernels);
    EXPECT_EQ(available[0].streaming, &nuv::kScalarKernels);
    EXPECT_EQ(available[1].cached, &nuv::kSse2Kernels);
    EXPECT_EQ(available[1].streaming, &nuv::kSse2StreamingKernels);
    std::printf("kernels: scalar");
    for (const RowKernels* const table : VectorTables())
        std::printf(" %s", table->name);
    std::printf("\n");
}

TEST(KernelChecker, EachTierHasTheTwoTablesOfOneInstructionSet) {
    for (const nuv::Tier& tier : nuv::AvailableTiers().subspan(1))
        EXPECT_EQ(tier.streaming->name, std::string(tier.cached->name) + "-streaming");
}

TEST(KernelChecker, TheWidestTierIsChosenAndStreamsLargeFrames) {
    const nuv::Tier& widest = nuv::AvailableTiers().back();
    EXPECT_EQ(&nuv::SelectKernels(64 * 64 * 16), widest.cached);
    EXPECT_EQ(&nuv::SelectKernels(std::uint64_t{3840} * 2160 * 16), widest.streaming);
}

}  // namespace
