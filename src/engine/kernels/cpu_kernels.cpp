#include "engine/kernels/cpu_kernels.h"

#include <algorithm>

namespace nuv {
namespace {

bool Everywhere() {
    return true;
}

bool WithAvx2() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

// AVX-512 is used only on processors that run it fast. A processor without VBMI lowers its clock for AVX-512, which
// slows down everything that runs on it. On a processor without BF16, the microcode protects gather instructions
// against an attack, and so makes them slow.
bool WithFastAvx512() {
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bf16");
}

// A processor that supports a tier also supports every earlier one.
constexpr Tier kTiers[] = {
    {&kScalarKernels, &kScalarKernels, Everywhere},
    {&kSse2Kernels, &kSse2StreamingKernels, Everywhere},
    {&kAvx2Kernels, &kAvx2StreamingKernels, WithAvx2},
    {&kAvx512Kernels, &kAvx512StreamingKernels, WithFastAvx512},
};
static_assert(std::ranges::all_of(kTiers, [](const Tier& tier) {
    return tier.cached != nullptr && tier.streaming != nullptr && tier.runsHere != nullptr;
}));

#if defined(NUV_TIER_COUNT)
constexpr std::size_t kTierCount = NUV_TIER_COUNT;  // for benchmarks
#else
constexpr std::size_t kTierCount = std::size(kTiers);
#endif

// A result of this size or more no longer fits into the second-level cache when it is converted.
constexpr std::uint64_t kStreamingBytes = std::uint64_t{4} << 20;

}  // namespace

std::span<const Tier> AvailableTiers() {
    const auto tiers = std::span(kTiers).first<kTierCount>();
    return {tiers.begin(), std::ranges::find_if_not(tiers, [](const Tier& tier) { return tier.runsHere(); })};
}

const RowKernels& SelectKernels(std::uint64_t resultBytes) {
    const Tier& widest = AvailableTiers().back();
    return resultBytes >= kStreamingBytes ? *widest.streaming : *widest.cached;
}

}  // namespace nuv
