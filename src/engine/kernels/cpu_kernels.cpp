#include "engine/kernels/cpu_kernels.h"

namespace nuv {
namespace {

// Instruction sets, each with all of those before it.
enum class Level { baseline, avx2, avx512 };

// What the processor has and the system keeps the registers of. AVX-512 counts where both VBMI and BF16 are:
// processors without the first lower the clock of all that runs on them when they meet it, and on those without the
// second microcode has made gathering slow to keep it safe.
Level LevelOfProcessor() {
    if (!__builtin_cpu_supports("avx2")) return Level::baseline;
    const bool wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bf16");
    return wide ? Level::avx512 : Level::avx2;
}

#if defined(NUV_SCALAR_ONLY)
constexpr bool kScalarOnly = true;  // a build to compare with
#else
constexpr bool kScalarOnly = false;
#endif

// A result of this size is out of the second-level cache long before it is converted.
constexpr std::uint64_t kStreamingBytes = std::uint64_t{4} << 20;

constexpr const RowKernels* kTables[] = {
    &kScalarKernels,        &kSse2Kernels,   &kSse2StreamingKernels,   &kAvx2Kernels,
    &kAvx2StreamingKernels, &kAvx512Kernels, &kAvx512StreamingKernels,
};

}  // namespace

std::span<const RowKernels* const> AvailableKernels() {
    if (kScalarOnly) return std::span(kTables).first(1);
    return std::span(kTables).first(3 + 2 * static_cast<std::size_t>(LevelOfProcessor()));
}

const RowKernels& SelectKernels(std::uint64_t resultBytes) {
    const auto available = AvailableKernels();
    const bool large = resultBytes >= kStreamingBytes;
    return *available[available.size() == 1 || large ? available.size() - 1 : available.size() - 2];
}

}  // namespace nuv
