// Every table of kernels that this processor can run gives the bytes of the scalar table, for whatever a host may
// hand in, and touches nothing but the pixels.
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
#include "support/guarded_memory.h"

namespace {

using nuv::RowKernels;

// The vector tables. A processor that has none would leave nothing to check.
std::vector<const RowKernels*> VectorTables() {
    std::vector<const RowKernels*> tables;
    for (const nuv::Tier& tier : nuv::AvailableTiers().subspan(1))
        tables.insert(tables.end(), {tier.cached, tier.streaming});
    return tables;
}

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }
    int Below(int end) { return static_cast<int>(Bits() % static_cast<std::uint32_t>(end)); }
    int Between(int low, int high) { return low + Below(high - low + 1); }
    bool OneIn(int n) { return Below(n) == 0; }
    float Real(float low, float high) { return std::uniform_real_distribution(low, high)(engine_); }
    template <class T, std::size_t n>
    T Of(const T (&choices)[n]) {
        return choices[Below(static_cast<int>(n))];
    }

private:
    std::mt19937 engine_;
};

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kDenormal = std::numeric_limits<float>::denorm_min();

// Widths about every tail, about the ends of tiles, and about the least that holds eight neighbours.
int RandomWidth(Random& random) {
    if (random.OneIn(6)) return random.Between(6, 9);
    if (random.OneIn(4)) return random.Of({1023, 1024, 1025, 1031, 1032, 2047, 2048, 2051}) + random.Below(3);
    return random.Below(71);
}

// Bytes, in whole units, between the page that cannot be touched and the pixels; often none.
int RandomShift(Random& random, int unit) {
    return random.OneIn(2) ? 0 : random.Below(64 / unit) * unit;
}

float RandomChannel(Random& random) {
    switch (random.Below(8)) {
        case 0:
            return random.Of({0.0f, -0.0f, 1.0f, -1.0f, kInfinity, -kInfinity, kDenormal, -kDenormal, 1e38f});
        case 1:
            return std::bit_cast<float>(random.Bits());  // among them not-a-number with any payload
        case 2:
            return std::bit_cast<float>(0x7F800001 | (random.Bits() & 0x807FFFFF));
        case 3:  // about the steps of the integer formats
            return (static_cast<float>(random.Below(32769)) + random.Of({0.0f, 0.5f, 0.499f})) / 32768.0f;
        case 4:
            return (static_cast<float>(random.Below(256)) + random.Of({0.0f, 0.5f, 0.499f})) / 255.0f;
        default:
            return random.Real(-0.25f, 1.25f);
    }
}

void FillFloats(Random& random, std::byte* to, int count) {
    for (int i = 0; i < count; ++i) {
        const float value = RandomChannel(random);
        std::memcpy(to + i * 4, &value, sizeof value);
    }
}

void FillBytes(Random& random, std::byte* to, int count) {
    for (int i = 0; i < count; ++i)
        to[i] = static_cast<std::byte>(random.Bits());
}

struct Conversion {
    const char* name;
    nuv::RowConversion RowKernels::*kernel;
    int from, to;  // bytes of a pixel
};
#define NUV_CONVERSION(name, from, to) \
    { #name, &RowKernels::name, from, to }
constexpr Conversion kConversions[] = {
    NUV_CONVERSION(copyArgb8ToRgba8, 4, 4), NUV_CONVERSION(copyBgra8ToRgba8, 4, 4),
    NUV_CONVERSION(argb16ToRgbaF, 8, 16),   NUV_CONVERSION(argbFToRgbaF, 16, 16),
    NUV_CONVERSION(bgraFToRgbaF, 16, 16),   NUV_CONVERSION(rgbaFToArgb8, 16, 4),
    NUV_CONVERSION(rgbaFToBgra8, 16, 4),    NUV_CONVERSION(rgbaFToArgb16, 16, 8),
    NUV_CONVERSION(rgbaFToArgbF, 16, 16),   NUV_CONVERSION(rgbaFToBgraF, 16, 16),
};
#undef NUV_CONVERSION

// Seeds that are the same in every run, and one that is not.
std::vector<std::uint32_t> Seeds(std::uint32_t count) {
#if defined(__SANITIZE_THREAD__) || defined(NUV_COVERAGE)
    count /= 20;  // the instruments take a minute for every thousand, and find nothing in more of the same
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
        for (const Conversion& conversion : kConversions) {
            const int width = RandomWidth(random);
            const float scale = random.OneIn(2) ? 1.0f : random.Of({0.5f, -1.0f, 1e-38f, 0.0f, kInfinity, 3.7f});
            const bool atEnd = random.OneIn(2);
            // Mostly as hosts align their rows, which the streaming kernels need.
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
        for (const Conversion& conversion : kConversions) {
            for (const std::int32_t width : {0, -1, std::numeric_limits<std::int32_t>::min()})
                (table->*conversion.kernel)(nullptr, nullptr, width, 1.0f);
        }
    }
}

// A picture in guarded memory, with any stride.
struct Picture {
    Picture(Random& random, GuardedMemory& memory, int width, int height, int pixelBytes, bool aligned) {
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

// How alpha is spread over a picture.
enum class Alphas { opaque, none, any, allOrNone };

void FillPicture(Random& random, const nuv::ImageBuffer& picture) {
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

// Far from the centre single precision is coarse: a last bit that comes out otherwise moves a sample by a column,
// and neighbours may lie up to 16 columns apart. The offset brings the middle of the row back into the source.
void MoveCentreFar(Random& random, nuv::RenderData& job) {
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

nuv::RenderData RandomJob(Random& random) {
    nuv::RenderData job;
    job.output.width = RandomWidth(random);
    job.output.height = random.Between(1, job.output.width > 70 ? 4 : 24);
    const bool sameSize = random.OneIn(2);
    job.input.width = sameSize ? job.output.width : RandomWidth(random);
    job.input.height = sameSize ? job.output.height : random.Below(24);
    // What a host may claim of a layer without pixels.
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

std::string Describe(const nuv::RenderData& job) {
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

// Rows by which pictures lie further down in a buffer that has no memory above them.
struct RowsAbove {
    int input = 0, output = 0;
};

// Such a distance for either picture of a job: past 2^31 bytes, or about the 2^31 and 2^32 bytes where distances of
// 32 bits end. Every row in it is still an exact float. Only as long as the centre is among the rows, no row is
// read from above them.
RowsAbove MoveDown(Random& random, nuv::RenderData& job) {
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

// Through an integer: between both there is no memory.
std::byte* Displaced(std::byte* row, std::int32_t rowBytes, int rows) {
    const auto distance = static_cast<std::uintptr_t>(std::int64_t{rowBytes} * rows);
    return reinterpret_cast<std::byte*>(reinterpret_cast<std::uintptr_t>(row) + distance);
}

void CheckWorkers(std::uint32_t seed) {
    static GuardedMemory source(1 << 20), expected(1 << 20), actual(1 << 20);
    Random random(seed);
    nuv::RenderData job = RandomJob(random);
    const Picture input(random, source, job.input.width, job.input.height, job.input.bitsPerChannel / 2, false);
    job.input.pixels = input.first;
    job.input.rowBytes = input.rowBytes;
    FillPicture(random, job.input);
    const int height = job.output.height;
    const int firstRow = random.OneIn(2) ? 0 : random.Below(height + 1);
    const int endRow = random.OneIn(2) ? height : random.Below(height + 1);

    const RowsAbove above = random.OneIn(4) ? MoveDown(random, job) : RowsAbove{};
    job.input.pixels = Displaced(job.input.pixels, job.input.rowBytes, -above.input);

    // Scalar and vector results get the same layout, but different bytes to begin with: a pixel that nobody wrote
    // shows as a difference.
    const bool aligned = !random.OneIn(3);
    const std::uint32_t layout = random.Bits();
    const auto render = [&](const RowKernels& table, GuardedMemory& memory) {
        Random same(layout);
        const Picture result(same, memory, job.output.width, height, 16, aligned);
        nuv::RenderData own = job;
        own.output.pixels = Displaced(result.first, result.rowBytes, -above.output);
        own.output.rowBytes = result.rowBytes;
        table.renderRows(own, above.output + firstRow, above.output + endRow);
        return result;
    };
    expected.SetPoison(std::byte{0x5A});
    const Picture scalar = render(nuv::kScalarKernels, expected);
    for (const RowKernels* const table : VectorTables()) {
        SCOPED_TRACE(testing::Message() << table->name << ", seed " << seed << ", rows " << firstRow << " to "
                                        << endRow << "; " << Describe(job));
        const Picture vector = render(*table, actual);
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

TEST(KernelChecker, TheWidestTierIsChosenAndStreamsLargeFrames) {
    const nuv::Tier& widest = nuv::AvailableTiers().back();
    EXPECT_EQ(&nuv::SelectKernels(64 * 64 * 16), widest.cached);
    EXPECT_EQ(&nuv::SelectKernels(std::uint64_t{3840} * 2160 * 16), widest.streaming);
}

}  // namespace
