// A few rows of a few pixels, without threads and without a host. A promise is broken when a table of kernels that
// runs here gives other bytes than the scalar table. Each buffer is a block of its own, so that the address
// sanitizer sees every step out of it.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/kernels/cpu_kernels.h"
#include "engine/kernels/row_conversions.h"
#include "fuzz_input.h"
#include "play.h"

namespace fuzz {
namespace {

using nuv::RowKernels;
using Block = std::vector<std::byte>;

constexpr int kMostPixels = 70;  // more than a run of the vector kernels and its two ends
constexpr int kMostRows = 3;

// Mostly few, so that the search goes through many rows.
std::int32_t Pixels(FuzzInput& input) {
    return input.Below(input.Below(4) == 0 ? kMostPixels + 1 : 20);
}

std::size_t Bytes(std::int32_t count) {
    return static_cast<std::size_t>(count);
}

// Repeats a few bytes of the input, each time changed a little, so that short inputs fill whole rows.
void Fill(FuzzInput& input, std::byte* to, std::size_t bytes) {
    const auto pattern = input.Take<std::uint64_t>();
    const auto change = input.Take<std::uint8_t>();
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<std::byte>((pattern >> i % 8 * 8) + i / 8 * change);
}

// Calls work(table, result) for every table, each time with a result of its own that lies `shift` bytes behind an
// address as allocators give it.
void Compare(const char* what, std::size_t bytes, std::size_t shift, auto work) {
    Block expected(shift + bytes);
    work(nuv::kScalarKernels, expected.data() + shift);
    for (const nuv::Tier& tier : nuv::AvailableTiers().subspan(1)) {
        for (const RowKernels* const table : {tier.cached, tier.streaming}) {
            Block actual(shift + bytes);
            work(*table, actual.data() + shift);
            if (actual == expected) continue;
            std::fprintf(stderr, "broken promise: %s of %s differs from the scalar kernel\n", what, table->name);
            std::abort();
        }
    }
}

void Convert(FuzzInput& input) {
    const ConversionKernel& conversion = input.Pick(kConversions);
    const std::int32_t width = Pixels(input);
    const auto anyScale = static_cast<float>(input.Real());
    const float scale = std::isnan(anyScale) ? 1.0f : anyScale;
    const std::size_t shift = input.Take<std::uint8_t>() % 64U;
    Block source(Bytes(width * conversion.from));
    Fill(input, source.data(), source.size());
    Compare(conversion.name, Bytes(width * conversion.to), shift, [&](const RowKernels& table, std::byte* result) {
        (table.*conversion.kernel)(source.data(), result, width, scale);
    });
}

float Offset(FuzzInput& input) {
    return input.Flag() ? 0.0f : static_cast<float>(input.Flag() ? input.Number() : input.Real());
}

void Render(FuzzInput& input) {
    nuv::RenderData job;
    job.input.width = Pixels(input);
    job.input.height = input.Below(kMostRows + 1);
    job.input.bitsPerChannel = input.Flag() ? 8 : 32;
    job.output.bitsPerChannel = 32;
    job.output.width = 1 + Pixels(input);
    job.output.height = 1 + input.Below(kMostRows);
    job.downsampleX = input.Flag() ? 1.0f : static_cast<float>(input.Real());
    job.downsampleY = input.Flag() ? 1.0f : static_cast<float>(input.Real());
    job.sourceOffsetX = Offset(input);
    job.sourceOffsetY = Offset(input);
    job.centerX = input.Number();
    job.centerY = input.Number();
    job.amount = static_cast<float>(input.Real());
    job.mode = input.Below(4) - 1;
    job.scaling = input.Below(4) - 1;
    job.show = input.Below(6) - 1;
    const std::size_t shift = input.Flag() ? 0 : Bytes(input.Below(4) * 4);

    const std::size_t sourceRow = Bytes(job.input.width * job.input.bitsPerChannel / 2);
    Block source(sourceRow * Bytes(job.input.height));
    Fill(input, source.data(), source.size());
    const bool upsideDown = input.Flag() && job.input.height > 0;
    job.input.pixels = source.data() + (upsideDown ? source.size() - sourceRow : 0);
    job.input.rowBytes = static_cast<std::int32_t>(sourceRow) * (upsideDown ? -1 : 1);
    job.output.rowBytes = job.output.width * 16;
    const std::size_t bytes = Bytes(job.output.height * job.output.width * 16);
    Compare("the row worker", bytes, shift, [&](const RowKernels& table, std::byte* result) {
        nuv::RenderData own = job;
        own.output.pixels = result;
        table.renderRows(own, 0, own.output.height);
    });
}

}  // namespace

void Play(std::span<const std::uint8_t> data) {
    FuzzInput input(data);
    input.Flag() ? Convert(input) : Render(input);
}

}  // namespace fuzz
