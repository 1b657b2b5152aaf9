// Random frames for the row workers, in guarded memory.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "engine/kernels/render_data.h"
#include "random.h"
#include "support/guarded_memory.h"

// A picture in guarded memory, with any stride.
struct GuardedPicture {
    GuardedPicture(Random& random, GuardedMemory& memory, int width, int height, int pixelBytes, bool aligned) {
        const int used = std::max(width, 0) * pixelBytes;
        const int stride = used + (random.OneIn(2) ? 0 : aligned ? 16 : random.Below(100));
        const bool bottomUp = random.OneIn(3);
        const int bytes = height > 0 ? stride * (height - 1) + used : 0;
        const int shift = RandomShift(random, aligned ? 16 : 1);
        std::byte* const memoryStart = memory.Place(bytes, !aligned && random.OneIn(2), shift);
        rowBytes = bottomUp ? -stride : stride;
        first = bottomUp && height > 0 ? memoryStart + std::ptrdiff_t{stride} * (height - 1) : memoryStart;
    }

    std::byte* Row(int y) const { return first + std::ptrdiff_t{rowBytes} * y; }

    std::byte* first;
    std::int32_t rowBytes;
};

// How alpha is distributed over a picture.
enum class Alphas { opaque, none, any, allOrNone };

inline void FillPicture(Random& random, const nuv::ImageBuffer& picture) {
    const auto alphas = static_cast<Alphas>(random.Below(4));
    if (picture.width <= 0) return;
    for (int y = 0; y < picture.height; ++y) {
        std::byte* const row = picture.pixels + std::ptrdiff_t{picture.rowBytes} * y;
        if (picture.bitsPerChannel == 8) {
            FillBytes(random, row, picture.width * 4);
        } else {
            FillFloats(random, row, picture.width * 4);
        }
        for (int x = 0; x < picture.width; ++x) {
            if (alphas == Alphas::any) continue;
            const bool covered = alphas == Alphas::opaque || (alphas == Alphas::allOrNone && random.OneIn(2));
            if (picture.bitsPerChannel == 8) {
                row[x * 4 + 3] = static_cast<std::byte>(covered ? 255 : 0);
            } else {
                const float alpha = covered ? 1.0f : random.Of({0.0f, -0.0f});
                std::memcpy(row + x * 16 + 12, &alpha, sizeof alpha);
            }
        }
    }
}

// Far from the centre, single precision is coarse. One wrong last bit moves a sample by a column, and neighbouring
// samples may lie up to 16 columns apart. The offset brings the middle of the row back into the source.
inline void MoveCentreFar(Random& random, nuv::RenderData& job) {
    const int away = random.Between(1 << 14, 1 << random.Between(15, 27));
    job.centerX = random.OneIn(2) ? away : -away;
    job.centerY = job.output.height / 2;
    job.downsampleX = job.downsampleY = 1.0f;
    job.amount = random.Real(-100, 100);
    job.sourceOffsetY = 0.0f;
    const double dx = job.output.width / 2 - job.centerX;
    const double t = std::abs(dx) / std::max(std::abs(job.centerX), std::abs(job.output.width - job.centerX));
    const double s = std::abs(job.amount) * (job.scaling == 1 ? t : job.scaling == 2 ? t * t : 1);
    job.sourceOffsetX = static_cast<float>(std::trunc(dx / (1 + 0.02 * s) + job.centerX) - job.input.width / 2);
}

inline nuv::RenderData RandomJob(Random& random) {
    nuv::RenderData job;
    job.output.width = RandomWidth(random);
    job.output.height = random.Between(1, job.output.width > 70 ? 4 : 24);
    const bool sameSize = random.OneIn(2);
    job.input.width = sameSize ? job.output.width : RandomWidth(random);
    job.input.height = sameSize ? job.output.height : random.Below(24);
    // A host may claim anything about a layer without pixels.
    constexpr int kLeast = std::numeric_limits<int>::min();
    if (random.OneIn(16)) job.input.width = random.Of({-1, -8, kLeast, kLeast + 7});
    if (random.OneIn(32)) job.input.height = random.Of({-1, kLeast});
    job.input.bitsPerChannel = random.Of({8, 32});
    job.output.bitsPerChannel = 32;

    const auto downsample = [&] {
        return random.OneIn(2)
                   ? 1.0f
                   : random.Of({0.5f, 1.0f / 3, 0.25f, 2.0f, 0.0f, -1.0f, kNaN, kInfinity, random.Real(0, 1.1f)});
    };
    job.downsampleX = downsample();
    job.downsampleY = downsample();
    const auto offset = [&] {
        if (random.OneIn(2)) return 0.0f;
        return random.Of({static_cast<float>(random.Between(-80, 80)), random.Real(-3, 3), random.Real(-80, 80),
                          0.5f, -0.5f, 1.0f, 1e6f, -1e9f, -2147483648.0f, 2147483648.0f, kInfinity, kNaN,
                          kDenormal});
    };
    job.sourceOffsetX = offset();
    job.sourceOffsetY = offset();

    job.amount = random.OneIn(2) ? random.Real(-100, 100)
                                 : random.Of({0.0f, -0.0f, 25.0f, -25.0f, 1e-6f, -1e-4f, 50.0f, -100.0f, kDenormal,
                                              1e20f, -3e38f, kInfinity, -kInfinity, kNaN});
    const auto centre = [&](int size) {
        if (random.OneIn(2)) return size / 2;
        return random.Of({0, size, size - 1, random.Between(-100, 3000), 20000, -20000,
                          std::numeric_limits<int>::max(), std::numeric_limits<int>::min()});
    };
    job.centerX = centre(job.output.width);
    job.centerY = centre(job.output.height);
    job.mode = random.OneIn(8) ? random.Of({-1, 3, std::numeric_limits<int>::min()}) : random.Below(3);
    job.scaling = random.OneIn(8) ? random.Of({-1, 3, std::numeric_limits<int>::max()}) : random.Below(3);
    job.show = random.OneIn(8) ? random.Of({-1, 5, 256, std::numeric_limits<int>::min()}) : random.Below(5);
    if (random.OneIn(6)) MoveCentreFar(random, job);
    return job;
}

inline std::string Describe(const nuv::RenderData& job) {
    const auto buffer = [](const nuv::ImageBuffer& of) {
        return std::to_string(of.width) + " x " + std::to_string(of.height) + ", " +
               std::to_string(of.bitsPerChannel) + " bits, stride " + std::to_string(of.rowBytes);
    };
    return (testing::Message() << "input " << buffer(job.input) << "; output " << buffer(job.output)
                               << "; downsample " << job.downsampleX << " " << job.downsampleY << "; offset "
                               << job.sourceOffsetX << " " << job.sourceOffsetY << "; amount " << job.amount
                               << "; centre " << job.centerX << " " << job.centerY << "; mode " << job.mode
                               << "; scaling " << job.scaling << "; show " << job.show)
        .GetString();
}

// How many rows the pictures of a job are moved down, in a buffer that has no memory above them.
struct RowsAbove {
    int input = 0, output = 0;
};

// Moves the pictures of a job down. Some distances are 0, some are large, and some lie near 2^31 or 2^32 bytes,
// where 32-bit distances end. Every row number is still an exact float. The centre is put among the pictures' rows,
// so that no row above them is read.
inline RowsAbove MoveDown(Random& random, nuv::RenderData& job) {
    constexpr int kMostRows = 1 << 23;
    const auto rows = [&] { return random.OneIn(3) ? 0 : (1 << 22) + random.Below(1 << 20); };
    RowsAbove above{rows(), rows()};
    const std::int64_t stride = std::abs(std::int64_t{job.input.rowBytes});
    const std::int64_t edge = stride == 0 ? kMostRows : (std::int64_t{1} << random.Of({31, 32})) / stride;
    if (edge < kMostRows && random.OneIn(2)) {
        above.input = static_cast<int>(std::max<std::int64_t>(edge + random.Between(-30, 30), 0));
    }
    job.sourceOffsetY = static_cast<float>(above.output - above.input);
    job.downsampleY = 1.0f;
    job.centerY = random.Between(0, job.output.height);
    job.output.height += above.output;
    job.input.height = std::max(job.input.height, 0) + above.input;
    return above;
}

// Computes with integers, because there is no memory between the two rows.
inline std::byte* Displaced(std::byte* row, std::int32_t rowBytes, int rows) {
    const auto distance = static_cast<std::uintptr_t>(std::int64_t{rowBytes} * rows);
    return reinterpret_cast<std::byte*>(reinterpret_cast<std::uintptr_t>(row) + distance);
}
