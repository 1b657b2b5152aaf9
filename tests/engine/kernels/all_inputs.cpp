// Every row conversion of every table gives the scalar table's bytes for all inputs: each byte, each 16-bit word
// and each of the 2^32 floats, at every position that a pixel's channel can have in the vectors of the conversion.
// Scale is 1; other scales are the business of checker_test.cpp.
#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "engine/kernels/cpu_kernels.h"
#include "row_conversions.h"

namespace {

using nuv::RowKernels;

constexpr int kChannels = 4;
constexpr int kMostPixels = 16;   // the widest conversion treats 16 pixels at a time
constexpr int kRowPixels = 1024;  // source and results stay in the first-level cache

// A table, and how many float pixels its registers hold.
struct Table {
    const RowKernels* kernels;
    int pixels;
};

// Each tier's registers are twice as wide as those of the tier before.
std::vector<Table> VectorTables() {
    std::vector<Table> tables;
    int pixels = 1;
    for (const nuv::Tier& tier : nuv::AvailableTiers().subspan(1)) {
        tables.insert(tables.end(), {{tier.cached, pixels}, {tier.streaming, pixels}});
        pixels *= 2;
    }
    return tables;
}

// Converts rows of consecutive values. Each value gets into each lane, because the rows begin at each channel of
// each of the pixels of a register.
template <class Value>
class AllInputs {
public:
    explicit AllInputs(const ConversionKernel& row)
        : row_(row),
          source_((kRowPixels + kMostPixels + 1) * kChannels),
          scalar_(static_cast<std::size_t>((kRowPixels + kMostPixels) * row.to)),
          vector_(scalar_.size() + 64) {}

    // Tries the values from `first` on that a row has. Returns how many rows differed.
    int TryFrom(std::uint64_t first) {
        for (std::size_t i = 0; i < source_.size(); ++i)
            source_[i] = static_cast<Value>(first + i);
        int wrong = 0;
        for (int channel = 0; channel < kChannels; ++channel) {
            const auto* const from = reinterpret_cast<const std::byte*>(source_.data() + channel);
            (nuv::kScalarKernels.*row_.kernel)(from, scalar_.data(), kRowPixels + kMostPixels, 1.0f);
            for (const auto& [kernels, floatPixels] : tables_) {
                const int pixels = floatPixels * 4 / static_cast<int>(sizeof(Value));
                for (int pixel = 0; pixel < pixels; ++pixel)
                    wrong += !IsEqual(*kernels, from, pixel);
            }
        }
        return wrong;
    }

    static constexpr std::uint64_t kStep = std::uint64_t{kRowPixels} * kChannels;

private:
    bool IsEqual(const RowKernels& table, const std::byte* from, int pixel) {
        // Streaming stores need results that are aligned to a cache line.
        const std::uintptr_t beyond = reinterpret_cast<std::uintptr_t>(vector_.data()) % 64;
        std::byte* const to = vector_.data() + (64 - beyond) % 64;
        (table.*row_.kernel)(from + pixel * row_.from, to, kRowPixels, 1.0f);
        return std::memcmp(to, scalar_.data() + pixel * row_.to, static_cast<std::size_t>(kRowPixels * row_.to)) ==
               0;
    }

    const ConversionKernel& row_;
    const std::vector<Table> tables_ = VectorTables();
    std::vector<Value> source_;
    std::vector<std::byte> scalar_, vector_;
};

// Goes through all values on all processors.
template <class Value>
void TryAll(const ConversionKernel& row) {
    constexpr std::uint64_t kValues = std::uint64_t{1} << (8 * sizeof(Value));
    std::atomic<std::uint64_t> next{0}, wrong{0};
    const auto work = [&] {
        AllInputs<Value> inputs(row);
        for (std::uint64_t first; (first = next.fetch_add(inputs.kStep)) < kValues;)
            wrong += static_cast<std::uint64_t>(inputs.TryFrom(first));
    };
    std::vector<std::thread> threads(std::thread::hardware_concurrency());
    for (std::thread& thread : threads)
        thread = std::thread(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0U) << "rows";
}

class AllInputsOf : public testing::TestWithParam<ConversionKernel> {};
INSTANTIATE_TEST_SUITE_P(Each, AllInputsOf, testing::ValuesIn(kConversions),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(AllInputsOf, GiveTheBytesOfTheScalarTable) {
    const ConversionKernel& conversion = GetParam();
    switch (conversion.channelBytes) {
        case 1:
            return TryAll<std::uint8_t>(conversion);
        case 2:
            return TryAll<std::uint16_t>(conversion);
        default:
            return TryAll<std::uint32_t>(conversion);
    }
}

}  // namespace
